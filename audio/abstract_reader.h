#pragma once

namespace corvane {

/// A sound that can be read at any frame as interleaved doubles.
class AbstractReader {
public:
    AbstractReader() = default;
    AbstractReader(const AbstractReader&) = delete;
    AbstractReader& operator=(const AbstractReader&) = delete;
    virtual ~AbstractReader() = default;

    /// Opens a file in place of the one before.
    /// @param channels other than 0 for headerless input, which it then describes together with `format`, a format
    ///                 of libsndfile
    /// @return whether the file is open
    virtual bool open(const char* path, int channels, int format) = 0;

    /// Closes the file if this reader opened it itself or `force` is set; otherwise only forgets it.
    virtual void close(bool force) = 0;

    /// Fills `buffer` with `n_frames` * channels() values from `start_frame` on, which may be negative. Frames
    /// outside the sound are zero.
    /// @return frames that lie inside the sound, as far as its end is known by then
    /// @throws std::runtime_error when the file can't be read; std::bad_alloc
    virtual int read(double* buffer, int start_frame, int n_frames) = 0;

    virtual int sample_rate() const = 0; ///< Hz, -1 without an open file
    virtual int channels() const = 0;    ///< -1 without an open file
    virtual int frames() const = 0;      ///< per channel, in 32 bits; -1 if they don't hold it, or without a file
};

} // namespace corvane
