#pragma once

#include <cstdint>
#include <string>

#include "marquen/options.h"
#include "marquen/sound_shape.h"

namespace marquen {

/// What a job will take, known before it starts.
struct job_plan {
    double sound_seconds;
    std::int64_t rows;         ///< n: rows and columns of the picture
    std::int64_t memory_bytes; ///< at its peak, about
    std::int64_t file_bytes;   ///< about: the texts at the file's head depend on the paths
};

job_plan plan_job(const sound_shape& sound, const options& chosen);

/// @throws std::runtime_error a plan beyond `chosen.max_memory`, with what to do
void check_memory(const job_plan& plan, const options& chosen);

/// Bytes for people: "12.3 MB".
std::string readable_size(std::int64_t bytes);

} // namespace marquen
