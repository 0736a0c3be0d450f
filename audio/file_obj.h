#pragma once

#include <cstdint>
#include <vector>

#include <sndfile.h>

#include "tavel/zeroed_allocator.h"

namespace readsnd {

/// A sound file behind a cache of three consecutive blocks, each at least ten times as long as the longest request yet.
/// Reading on costs one call of libsndfile per ten requests or more; a step back inside the cache costs none.
class FileObj {
public:
    FileObj() = default;
    FileObj(const FileObj&) = delete;
    FileObj& operator=(const FileObj&) = delete;
    ~FileObj() { close(false); }

    /// Opens a file in place of the one before.
    /// @param path     fewer than 1024 bytes: libsndfile cuts longer ones without a word and would open another
    ///                 file. A FIFO that nobody writes to is no sound and is not waited for.
    /// @param channels other than 0 for headerless input of that many channels and of `format`. Its rate is that of
    ///                 the file before, so that it opens only after another one.
    /// @return whether the file is open
    bool open(const char* path, int channels, int format);

    /// Closes the file if open() opened it or `force` is set; otherwise only forgets it.
    void close(bool force);

    /// Fills `buffer` with `n_frames` interleaved frames from `start_frame` on; those outside the file are zero.
    /// @param start_frame may be negative
    /// @return `n_frames` while the end of the file hasn't been met; then the frames from `start_frame` to the end
    ///         of the file, at most `n_frames`
    /// @throws std::runtime_error "readsnd::FileObj::read error \n", "readsnd::FileObj::seek error \n";
    ///         std::logic_error "readsnd::FileObj: no open file"; std::bad_alloc
    int read(double* buffer, int start_frame, int n_frames);

    int sample_rate() const { return handle != nullptr ? info.samplerate : -1; } ///< Hz, -1 without an open file
    int channels() const { return handle != nullptr ? info.channels : -1; }      ///< -1 without an open file
    std::int64_t frames() const { return handle != nullptr ? info.frames : -1; } ///< per channel, as announced; or -1

    /// The frames in the 32 bits of a reader. A count that they don't hold, as some formats announce for a length that
    /// isn't known, is -1.
    int frames_of_reader() const { return frames() < unknown_length ? static_cast<int>(frames()) : -1; }

private:
    static constexpr std::int64_t unknown_length = 0xffffffff;

    int find_block(std::int64_t frame) const;
    double* block(int slot);
    void reset(std::int64_t start);
    void refill(int slot, std::int64_t start);
    void fill(double* destination, std::int64_t start, std::int64_t count);
    bool position(std::int64_t frame);
    void record_end(std::int64_t frame);

    SNDFILE* handle = nullptr;
    bool owned = false; // whether open() made the handle
    SF_INFO info{};
    std::int64_t end_frame = -1;      // where the file turned out to end; -1 while unknown
    std::int64_t file_pos = 0;        // frame at which libsndfile stands
    std::int64_t block_frames = 0;    // 0 before the first read
    std::int64_t block_start[3] = {}; // a ring: each block continues the one before
    // The three blocks, all of them written at each reset: the allocator spares zeroing them first.
    std::vector<double, tavel::zeroed_allocator<double>> storage;
};

} // namespace readsnd
