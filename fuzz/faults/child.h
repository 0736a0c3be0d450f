#pragma once

#include <sys/mman.h>

#include <cstdint>
#include <functional>
#include <new>
#include <string>

#include "fuzz/faults/fault_plan.h"

/// A new object that child processes share with their parent. It stays to the end of the process.
template <class T>
T& make_shared_object()
{
    return *new (mmap(nullptr, sizeof(T), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0)) T;
}

struct child_end {
    int signal = 0;          ///< that killed the process
    int status = 0;          ///< with which it exited
    std::int64_t hits = 0;   ///< calls that failed
    std::int64_t blocks = 0; ///< memory and files still held after all jobs
    int descriptors = 0;
};

/// Runs one job in a child process that meets the faults of `plan`, and two more that meet none. The functions must not
/// allocate for themselves, and leave their results in shared objects.
/// @param printed  path of a file for what is written to the standard error stream
child_end run_in_child(const fault_plan& plan, const std::string& printed, const std::function<void()>& faulty_job,
                       const std::function<void()>& clean_job);

/// The step from one point of failure to the next: FAULT_STRIDE in the environment, else 1.
int fault_stride();
