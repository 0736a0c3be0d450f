#include "audio/split_reader.h"

#include <algorithm>
#include <cstdint>
#include <stdexcept>
#include <string>

#include "audio/sum_channels.h"

namespace corvane {

using readsnd::FileObj;

namespace {

void open_file(FileObj& file, std::size_t number, const char* path)
{
    if (path == nullptr)
        throw std::invalid_argument("invalid path at position " + std::to_string(number));
    if (!file.open(path, 0, -1))
        throw std::runtime_error("error opening file '" + std::string(path) + "'");
}

void check_alike(const FileObj& first, const char* first_path, const FileObj& other, const char* other_path)
{
    const std::string pair =
        "invalid split files: '" + std::string(first_path) + "' and '" + other_path + "' have different ";
    if (other.sample_rate() != first.sample_rate())
        throw std::runtime_error(pair + "sampling rates " + std::to_string(first.sample_rate()) + " and " +
                                 std::to_string(other.sample_rate()));
    if (other.frames() != first.frames())
        throw std::runtime_error(pair + "lengths " + std::to_string(first.frames()) + " and " +
                                 std::to_string(other.frames()));
}

} // namespace

SplitReader::SplitReader(int n_paths, const char* const* paths) : file_count(static_cast<std::size_t>(n_paths))
{
    if (n_paths < 2)
        throw std::logic_error("internal error: invalid path count for split file");
    files = std::make_unique<FileObj[]>(file_count);
    std::int64_t total = 0;
    for (std::size_t i = 0; i < file_count; ++i) {
        FileObj& file = files[i];
        open_file(file, i, paths[i]);
        if (i > 0)
            check_alike(files[0], paths[0], file, paths[i]);
        max_channels = std::max(max_channels, file.channels());
        total += file.channels();
    }
    scale = 1.0 / static_cast<double>(total);
}

bool SplitReader::open(const char*, int, int)
{
    throw std::logic_error("internal error: unexpected open");
}

void SplitReader::close(bool)
{
    throw std::logic_error("internal error: unexpected close");
}

int SplitReader::read(double* buffer, int start_frame, int n_frames)
{
    if (n_frames <= 0)
        return 0;
    scratch.resize(static_cast<std::size_t>(n_frames) * static_cast<std::size_t>(max_channels));

    double* const values = scratch.data();
    FileObj& first = files[0];
    const bool direct = first.channels() == 1;
    const int got = first.read(direct ? buffer : values, start_frame, n_frames);
    if (!direct)
        sum_channels(values, first.channels(), n_frames, buffer);

    for (std::size_t f = 1; f < file_count; ++f) {
        FileObj& file = files[f];
        if (file.read(values, start_frame, n_frames) != got)
            throw std::runtime_error("error reading split files: inconsistent eof");
        if (file.channels() > 1)
            sum_channels(values, file.channels(), n_frames, values);
        for (int i = 0; i < n_frames; ++i)
            buffer[i] += values[i];
    }
    for (int i = 0; i < n_frames; ++i)
        buffer[i] *= scale;
    return got;
}

int SplitReader::sample_rate() const
{
    return files[0].sample_rate();
}

int SplitReader::frames() const
{
    return files[0].frames_of_reader();
}

} // namespace corvane
