#pragma once

#include <atomic>
#include <cstdint>

/// What can be made to fail: calls of the C library, of libsndfile and of LAPACK, as the library makes them.
enum class fault : int {
    allocation, ///< malloc, calloc, realloc and the aligned ones, by whomever: operator new, libsndfile, threads
    thread_create,
    mutex_init,
    host_lock,   ///< pthread_mutex_lock of the library on the thread that armed the plan
    worker_lock, ///< and on all others
    sound_open,
    short_read, ///< sf_readf_double gives half
    bad_read,   ///< sf_readf_double gives half and sf_error tells of an error from then on
    sound_seek,
    decomposition, ///< dgesvd_ doesn't converge
    file_open,
    file_write,
    short_write, ///< write takes half of the bytes
    file_close
};

struct fault_plan {
    fault what;
    std::int64_t index = 0; ///< which call fails, counted from arming
    bool lasting = false;   ///< and all behind it
    int error = 0;          ///< errno of a failing call of the system
};

/// What came of a plan.
struct fault_record {
    std::atomic<std::int64_t> hits{0};      ///< calls that failed
    std::atomic<bool> while_loading{false}; ///< whether one of them was made by load_sound
};

/// From now on calls fail as told. Plan and record must outlive disarm().
void arm(const fault_plan& plan, fault_record& record);

/// All calls work again.
void disarm();

/// Blocks of memory that were given out and not given back.
std::int64_t living_blocks();
