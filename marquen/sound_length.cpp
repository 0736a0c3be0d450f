#include "marquen/sound_length.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <memory>
#include <optional>

#include <sndfile.h>

#include "marquen/failure.h"
#include "marquen/sound_header.h"

namespace marquen {

namespace {

using sound_file = std::unique_ptr<SNDFILE, decltype(&sf_close)>;

sound_file open_sound(const std::string& path, SF_INFO& info)
{
    return {sf_open(path.c_str(), SFM_READ, &info), sf_close};
}

// How many of the announced frames can be read. A read error is no end: the analysis will report it.
std::int64_t count_frames(const std::string& path, std::int64_t announced)
{
    SF_INFO info{};
    const sound_file file = open_sound(path, info);
    if (!file)
        return announced;
    std::vector<double> frames(4096 * static_cast<std::size_t>(info.channels));
    if (info.seekable != 0 && sf_seek(file.get(), announced - 1, SEEK_SET) == announced - 1 &&
        sf_readf_double(file.get(), frames.data(), 1) == 1)
        return announced;
    SF_INFO again{};
    const sound_file whole = open_sound(path, again);
    std::int64_t count = 0;
    while (const sf_count_t read = whole ? sf_readf_double(whole.get(), frames.data(), 4096) : 0)
        count += read;
    return !whole || sf_error(whole.get()) != SF_ERR_NO_ERROR ? announced : std::min(count, announced);
}

double share_of_bytes(const std::string& path)
{
    // Headers that are written before the length is known announce about as much as their 32 bits can.
    constexpr std::uint64_t placeholder = 0x7fff0000;
    const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (file < 0)
        return 1.0;
    const std::optional<data_bytes> bytes = look_at_header(file);
    close(file);
    if (!bytes || bytes->announced == 0 || bytes->announced >= placeholder)
        return 1.0;
    return static_cast<double>(bytes->present) / static_cast<double>(bytes->announced);
}

} // namespace

bool sound_length::is_short() const
{
    constexpr double worth_a_word = 0.1; // seconds: headers of MP3 files may be off by a frame
    return found < announced - worth_a_word;
}

sound_length measure_length(const std::vector<std::string>& paths, const plan::sound_shape& shape)
{
    const double seconds = shape.seconds();
    sound_length length{seconds, seconds};
    for (const std::string& path : paths) {
        const double share = share_of_bytes(path);
        if (share < 1.0 && share > 0.0)
            length.announced = std::max(length.announced, seconds / share);
        const std::int64_t found = shape.frames == 0 ? 0 : count_frames(path, shape.frames);
        if (share == 0.0 || (found == 0 && shape.frames > 0))
            throw failure(cause::sound,
                          "'" + path + "' announces sound and holds none: it was cut, or its header is wrong");
        length.found = std::min(length.found, static_cast<double>(found) / shape.rate_hz);
    }
    return length;
}

} // namespace marquen
