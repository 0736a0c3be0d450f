// Stands between the library and what it calls. The allocator takes the place of the C library's for the whole
// process; the other calls are caught where the library's own objects make them (--wrap of the linker).
#include "fuzz/faults/fault_plan.h"

#include <fcntl.h>
#include <pthread.h>
#include <sndfile.h>
#include <sys/types.h>

#include <atomic>
#include <cerrno>
#include <cstddef>

namespace {

std::atomic<const fault_plan*> plan{nullptr};
std::int64_t* hits = nullptr;
std::atomic<std::int64_t> calls, blocks;
std::atomic<bool> sound_is_bad;
thread_local bool opening = false;
pthread_t host;

bool fails(fault what)
{
    const fault_plan* const current = plan;
    if (current == nullptr || current->what != what || (what == fault::allocation && opening))
        return false;
    const std::int64_t call = calls++;
    if (call != current->index && !(current->lasting && call > current->index))
        return false;
    ++std::atomic_ref(*hits);
    errno = what == fault::allocation ? ENOMEM : current->error;
    return true;
}

void* counted(void* block)
{
    if (block != nullptr)
        ++blocks;
    return block;
}

} // namespace

void arm(const fault_plan& new_plan, std::int64_t& new_hits)
{
    host = pthread_self();
    calls = 0;
    hits = &new_hits;
    plan = &new_plan;
}

void disarm()
{
    plan = nullptr;
    sound_is_bad = false;
}

std::int64_t living_blocks()
{
    return blocks;
}

extern "C" {

void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);
void __libc_free(void* block);

void* malloc(std::size_t size)
{
    return fails(fault::allocation) ? nullptr : counted(__libc_malloc(size));
}

void* calloc(std::size_t count, std::size_t size)
{
    return fails(fault::allocation) ? nullptr : counted(__libc_calloc(count, size));
}

void* realloc(void* block, std::size_t size)
{
    if (fails(fault::allocation))
        return nullptr;
    void* const moved = __libc_realloc(block, size);
    return block == nullptr ? counted(moved) : moved;
}

void free(void* block)
{
    if (block != nullptr)
        --blocks;
    __libc_free(block);
}

int __real_pthread_create(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);
int __wrap_pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*entry)(void*), void* argument)
{
    return fails(fault::thread_create) ? EAGAIN : __real_pthread_create(thread, attributes, entry, argument);
}

int __real_pthread_mutex_init(pthread_mutex_t*, const pthread_mutexattr_t*);
int __wrap_pthread_mutex_init(pthread_mutex_t* mutex, const pthread_mutexattr_t* attributes)
{
    return fails(fault::mutex_init) ? ENOMEM : __real_pthread_mutex_init(mutex, attributes);
}

int __real_pthread_mutex_lock(pthread_mutex_t*);
int __wrap_pthread_mutex_lock(pthread_mutex_t* mutex)
{
    const bool on_host = pthread_equal(host, pthread_self()) != 0;
    return fails(on_host ? fault::host_lock : fault::worker_lock) ? EAGAIN : __real_pthread_mutex_lock(mutex);
}

// libsndfile 1.2.0 crashes where an allocation fails while it opens.
SNDFILE* __real_sf_open(const char*, int, SF_INFO*);
SNDFILE* __wrap_sf_open(const char* path, int mode, SF_INFO* info)
{
    if (fails(fault::sound_open))
        return nullptr;
    opening = true;
    SNDFILE* const file = __real_sf_open(path, mode, info);
    opening = false;
    return file;
}

sf_count_t __real_sf_readf_double(SNDFILE*, double*, sf_count_t);
sf_count_t __wrap_sf_readf_double(SNDFILE* file, double* samples, sf_count_t frames)
{
    const bool bad = fails(fault::bad_read);
    if (bad)
        sound_is_bad = true;
    return __real_sf_readf_double(file, samples, bad || fails(fault::short_read) ? frames / 2 : frames);
}

int __real_sf_error(SNDFILE*);
int __wrap_sf_error(SNDFILE* file)
{
    return sound_is_bad ? static_cast<int>(SF_ERR_SYSTEM) : __real_sf_error(file);
}

int __real_open(const char*, int, ...);
int __wrap_open(const char* path, int flags, mode_t mode)
{
    return fails(fault::file_open) ? -1 : __real_open(path, flags, mode);
}

ssize_t __real_write(int, const void*, std::size_t);
ssize_t __wrap_write(int file, const void* bytes, std::size_t count)
{
    if (fails(fault::file_write))
        return -1;
    return __real_write(file, bytes, fails(fault::short_write) ? count / 2 : count);
}

int __real_close(int);
int __wrap_close(int file)
{
    const int answer = __real_close(file);
    return fails(fault::file_close) ? -1 : answer;
}

} // extern "C"
