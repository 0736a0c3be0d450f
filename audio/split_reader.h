#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include "audio/abstract_reader.h"
#include "audio/file_obj.h"

namespace corvane {

/// Several files that belong together, typically one per channel, as one mono sound: the mean of all channels of
/// all files. The files are open for the life of the reader.
class SplitReader final : public AbstractReader {
public:
    /// Opens all files, which must agree in rate and length; their channel counts may differ.
    /// @throws std::logic_error "internal error: invalid path count for split file" for fewer than 2 paths
    /// @throws std::invalid_argument "invalid path at position N" for a null path
    /// @throws std::runtime_error "error opening file 'PATH'", "invalid split files: 'PATH' and 'PATH' have different
    ///         sampling rates N and N", "invalid split files: 'PATH' and 'PATH' have different lengths N and N"
    SplitReader(int n_paths, const char* const* paths);

    /// @throws std::logic_error "internal error: unexpected open", always
    bool open(const char* path, int channels, int format) override;

    /// @throws std::logic_error "internal error: unexpected close", always
    void close(bool force) override;

    /// @throws std::runtime_error "error reading split files: inconsistent eof" where the files end at different
    ///         frames; the errors of readsnd::FileObj::read
    int read(double* buffer, int start_frame, int n_frames) override;

    int sample_rate() const override;
    int channels() const override { return 1; }
    int frames() const override;

private:
    std::unique_ptr<readsnd::FileObj[]> files;
    std::vector<double> scratch; // interleaved frames of one file
    double scale = 0.0;          // 1 / channels of all files
    std::size_t file_count;
    int max_channels = 0;
};

} // namespace corvane
