#include "c/memory_check.h"

#include <cstddef>
#include <string>
#include <vector>

#include "c/memory_file.h"
#include "plan/free_memory.h"
#include "plan/job_plan.h"

namespace veloria_c {

known_sound look(int path_count, const char* const* paths)
{
    require(path_count > 0, "invalid number of input paths");
    require(paths != nullptr, "invalid input paths");
    std::vector<std::string> names;
    for (int i = 0; i < path_count; ++i) {
        require(paths[i] != nullptr, "invalid input paths");
        names.emplace_back(paths[i]);
    }
    if (const std::optional<plan::sound_shape> shape = plan::look_at_input(names))
        return {*shape, 0};
    throw std::runtime_error("what can be read only once can't be looked at");
}

std::optional<known_sound> try_to_look(int path_count, const char* const* paths)
{
    try {
        return look(path_count, paths);
    } catch (const std::runtime_error&) {
        return {};
    } catch (const std::invalid_argument&) {
        return {};
    }
}

known_sound shape_of(const veloria_samples& samples)
{
    const auto channels = static_cast<std::uint64_t>(samples.channels);
    const auto frames = static_cast<std::int64_t>(samples.frames);
    return {{samples.rate_hz, frames, {samples.channels}}, samples.frames * channels * sample_bytes(samples)};
}

std::uint64_t memory_of(const known_sound& sound, const analysis& chosen)
{
    const plan::job_plan planned = plan::plan_job(sound.shape, chosen.features, chosen.modeling, chosen.step_seconds);
    return static_cast<std::uint64_t>(planned.memory_bytes) + static_cast<std::uint64_t>(planned.file_bytes) +
           sound.copy_bytes;
}

void check_memory(const std::optional<known_sound>& sound, const analysis& chosen)
{
    if (!sound)
        return;
    const std::uint64_t wanted = memory_of(*sound, chosen);
    const std::uint64_t most =
        chosen.max_memory != 0 ? chosen.max_memory : static_cast<std::uint64_t>(plan::free_memory());
    if (wanted <= most)
        return;
    const auto readable = [](std::uint64_t bytes) { return plan::readable_size(static_cast<std::int64_t>(bytes)); };
    throw too_large("the job needs about " + readable(wanted) + " of memory, of which " + readable(most) +
                    " may be used: take a longer step or a shorter sound");
}

} // namespace veloria_c
