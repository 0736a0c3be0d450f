#pragma once

#include <atomic>
#include <list>
#include <memory>
#include <mutex>
#include <utility>

namespace libfft {

/// Set-ups and workspaces of the transforms of one kind, by size; made on first use and kept. Lock order: the
/// registry's mutex, then an entry's; none is held during a transform.
/// @tparam SETUP      what all transforms of a size share; made from the size, may throw
/// @tparam WORKSPACE  what one transform at a time needs; made from a SETUP, may throw
template <class SETUP, class WORKSPACE>
class registry {
    struct slot {
        explicit slot(const SETUP& setup) : workspace(setup) {}

        WORKSPACE workspace;
        std::atomic<bool> busy = true;
    };

    struct size_entry {
        explicit size_entry(int entry_size) : size(entry_size), setup(entry_size) {}

        const int size;
        const SETUP setup;
        std::mutex lock;
        std::list<slot> slots;
    };

public:
    /// A workspace for one transform. It keeps its entry alive, should the registry be cleared meanwhile.
    class lease {
    public:
        lease(std::shared_ptr<size_entry> owner, slot& taken) : entry(std::move(owner)), held(taken) {}
        lease(const lease&) = delete;
        lease& operator=(const lease&) = delete;

        /// Without a lock: one that failed here would end the process.
        ~lease() { held.busy.store(false, std::memory_order_release); }

        WORKSPACE& operator*() const { return held.workspace; }

    private:
        std::shared_ptr<size_entry> entry;
        slot& held;
    };

    /// A free workspace for `size`, or a new one.
    /// @throws what SETUP and WORKSPACE throw
    lease acquire(int size)
    {
        std::unique_lock registry_guard(lock);
        std::shared_ptr<size_entry> entry = find(size);
        const std::lock_guard entry_guard(entry->lock);
        registry_guard.unlock();
        return {entry, free_slot(*entry)};
    }

    /// Frees all entries; those in use go with their last lease.
    void clear()
    {
        const std::lock_guard guard(lock);
        entries.clear();
    }

    /// The registry of the process. It is cleared at exit but never destroyed: exit handlers and detached threads
    /// of a host may still transform after that.
    static registry& shared()
    {
        static registry& instance = *new registry;
        static const struct clearer {
            ~clearer() { instance.clear(); }
        } at_exit;
        return instance;
    }

private:
    const std::shared_ptr<size_entry>& find(int size)
    {
        for (const std::shared_ptr<size_entry>& entry : entries)
            if (entry->size == size)
                return entry;
        return entries.emplace_front(std::make_shared<size_entry>(size));
    }

    static slot& free_slot(size_entry& entry)
    {
        for (slot& candidate : entry.slots)
            if (!candidate.busy.exchange(true, std::memory_order_acquire))
                return candidate;
        return entry.slots.emplace_back(entry.setup);
    }

    std::mutex lock;
    std::list<std::shared_ptr<size_entry>> entries;
};

} // namespace libfft
