#include "plan/sound_shape.h"

#include <filesystem>
#include <memory>
#include <stdexcept>

#include <sndfile.h>

namespace plan {

namespace {

constexpr std::int64_t longest_sound = std::int64_t{1} << 31;        // frames
constexpr std::int64_t largest_length = (std::int64_t{1} << 32) - 2; // that is taken for one

// Opening it a second time would find its beginning gone.
bool reads_once(const std::string& path)
{
    std::error_code unknown;
    const std::filesystem::file_status status = std::filesystem::status(path, unknown);
    return std::filesystem::is_fifo(status) || std::filesystem::is_character_file(status) ||
           std::filesystem::is_socket(status);
}

sound_shape shape_of(const std::string& path)
{
    SF_INFO info{};
    const std::unique_ptr<SNDFILE, decltype(&sf_close)> file(sf_open(path.c_str(), SFM_READ, &info), sf_close);
    if (file == nullptr)
        throw std::runtime_error("error opening file '" + path + "': " + sf_strerror(nullptr));
    return {info.samplerate, info.frames, {info.channels}};
}

void check_length(const std::string& path, std::int64_t frames)
{
    if (frames < 0 || frames > largest_length)
        throw std::runtime_error("the length of '" + path + "' is unknown: decode it to a WAV file and analyse that");
    if (frames > longest_sound)
        throw std::runtime_error("'" + path + "' announces " + std::to_string(frames) + " frames, more than " +
                                 std::to_string(longest_sound) +
                                 ": cut it into shorter sounds or, if its header is damaged, decode it to a WAV file");
}

void check_fit(const std::vector<std::string>& paths, std::size_t i, const sound_shape& first, const sound_shape& shape)
{
    const std::string files = "invalid split files: '" + paths[0] + "' and '" + paths[i] + "' have different ";
    if (shape.rate_hz != first.rate_hz)
        throw std::runtime_error(files + "sampling rates " + std::to_string(first.rate_hz) + " and " +
                                 std::to_string(shape.rate_hz));
    if (shape.frames != first.frames)
        throw std::runtime_error(files + "lengths " + std::to_string(first.frames) + " and " +
                                 std::to_string(shape.frames));
}

} // namespace

std::optional<sound_shape> look_at_input(const std::vector<std::string>& paths)
{
    std::optional<sound_shape> first;
    for (std::size_t i = 0; i < paths.size(); ++i) {
        if (reads_once(paths[i]))
            return {};
        const sound_shape shape = shape_of(paths[i]);
        check_length(paths[i], shape.frames);
        if (!first) {
            first = shape;
            continue;
        }
        check_fit(paths, i, *first, shape);
        first->channels.push_back(shape.channels[0]);
    }
    return first;
}

} // namespace plan
