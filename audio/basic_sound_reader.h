#pragma once

#include "audio/abstract_reader.h"
#include "audio/file_obj.h"

namespace corvane {

/// One sound file.
class BasicSoundReader final : public AbstractReader {
public:
    bool open(const char* path, int channels, int format) override { return file.open(path, channels, format); }
    void close(bool force) override { file.close(force); }
    int read(double* buffer, int start_frame, int n_frames) override
    {
        return file.read(buffer, start_frame, n_frames);
    }
    int sample_rate() const override { return file.sample_rate(); }
    int channels() const override { return file.channels(); }
    int frames() const override { return file.frames_of_reader(); }

private:
    readsnd::FileObj file;
};

} // namespace corvane
