#pragma once

#include <cstdint>
#include <string>

#include "fuzz/faults/fault_plan.h"
#include "veloria/veloria.h"

struct job_settings {
    std::string input; ///< an absolute path
    veloria::features_type features = veloria::mixed;
    veloria::modeling_type modeling = veloria::mean;
    double window = 1.0; ///< seconds
    double step = 0.5;   ///< seconds
};

/// How a job ended.
enum class job_end { finished, failed, canceled, thrown, thrown_as_pointer, process_exited, process_killed };

struct job_outcome {
    job_end end = job_end::process_killed;
    int status = 0;          ///< of a process that exited, or the signal that killed it
    char message[256] = {};  ///< what was thrown or stored
    int refused_calls = 0;   ///< calls of the host that threw "error locking mutex" and were made again
    std::int64_t hits = 0;   ///< calls that failed
    std::int64_t blocks = 0; ///< memory and files still held after the job and two good ones behind it
    int descriptors = 0;
};

/// Runs a job in a child process that meets the faults of `plan`, and two more that meet none. The first leaves
/// FOLDER/faulty/out.sdif, the others FOLDER/clean/out.sdif, both under the name "out.sdif"; FOLDER/stderr has what was
/// printed.
/// @param size_limit bytes that a file may have (RLIMIT_FSIZE), negative for no limit
job_outcome run_in_child(const job_settings& settings, const fault_plan& plan, const std::string& folder,
                         std::int64_t size_limit = -1);
