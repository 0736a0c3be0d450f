#include "c/job_table.h"

#include <pthread.h>

#include <cstdint>
#include <map>
#include <mutex>
#include <new>

namespace veloria_c {

namespace {

struct job_table {
    std::mutex mutex;
    std::map<std::uintptr_t, std::shared_ptr<job>> jobs;
    std::uintptr_t next = 1;
    std::uintptr_t first = 1; // names below it are those of a parent process
};

// Not destroyed at the end of the process: threads of the host may still call.
job_table& table()
{
    static job_table& only = *[] {
        auto made = std::make_unique<job_table>();
        const auto lock = [] { table().mutex.lock(); };
        const auto unlock = [] { table().mutex.unlock(); };
        const auto forget = [] {
            table().first = table().next;
            table().mutex.unlock();
        };
        if (pthread_atfork(lock, unlock, forget) != 0)
            throw std::bad_alloc();
        return made.release();
    }();
    return only;
}

std::uintptr_t number_of(const veloria_job* name)
{
    return reinterpret_cast<std::uintptr_t>(name);
}

} // namespace

veloria_job* enter(const std::shared_ptr<job>& entered)
{
    job_table& all = table();
    const std::lock_guard lock(all.mutex);
    const std::uintptr_t number = all.next;
    all.jobs.emplace(number, entered);
    all.next += 2;
    return reinterpret_cast<veloria_job*>(number);
}

std::shared_ptr<job> find(const veloria_job* name)
{
    job_table& all = table();
    const std::lock_guard lock(all.mutex);
    const auto found = number_of(name) < all.first ? all.jobs.end() : all.jobs.find(number_of(name));
    return found == all.jobs.end() ? nullptr : found->second;
}

void remove(const veloria_job* name)
{
    job_table& all = table();
    std::shared_ptr<job> removed; // frees what it holds after the lock
    const std::lock_guard lock(all.mutex);
    if (const auto found = all.jobs.find(number_of(name)); found != all.jobs.end()) {
        removed = std::move(found->second);
        all.jobs.erase(found);
    }
}

} // namespace veloria_c
