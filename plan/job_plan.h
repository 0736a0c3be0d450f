#pragma once

#include <cstdint>
#include <string>

#include "plan/sound_shape.h"
#include "veloria/veloria.h"

/// What a job of the library will take, known before it starts: for hosts that would rather refuse a job than run out
/// of memory in it, where the library can only end the process.
namespace plan {

struct job_plan {
    double sound_seconds;
    std::int64_t moments;      ///< n: rows and columns of the gabarit, exactly
    std::int64_t memory_bytes; ///< resident at the peak, the library's code and tables included, about
    std::int64_t file_bytes;   ///< about: the texts at the file's head depend on the paths
};

/// The memory is that of the reader, of the sound, and of the largest stage: the reader's blocks where there are many
/// channels or files, the features up to some ten minutes, the n by n distances from there on.
/// @param step_seconds  above 0
job_plan plan_job(const sound_shape& sound, veloria::features_type features, veloria::modeling_type modeling,
                  double step_seconds);

/// Bytes for people: "12.3 MB".
std::string readable_size(std::int64_t bytes);

} // namespace plan
