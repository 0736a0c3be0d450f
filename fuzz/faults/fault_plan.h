#pragma once

#include <cstdint>

/// What can be made to fail: calls of the C library and of libsndfile, as the library makes them.
enum class fault : int {
    allocation, ///< malloc, calloc and realloc, by whomever but sf_open
    thread_create,
    mutex_init,
    host_lock,   ///< pthread_mutex_lock of the library on the thread that armed the plan
    worker_lock, ///< and on all others
    sound_open,
    short_read, ///< sf_readf_double gives half
    bad_read,   ///< sf_readf_double gives half and sf_error reports an error from then on
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

/// From now on calls fail by the plan and are counted in `hits`. Both must outlive disarm().
void arm(const fault_plan& plan, std::int64_t& hits);

/// All calls work again.
void disarm();

/// Blocks of memory that were given out and not given back.
std::int64_t living_blocks();
