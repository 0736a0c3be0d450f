#include "gabarit/page/recording.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <stdexcept>
#include <utility>

#include <samplerate.h>
#include <sndfile.h>

namespace gabarit {

namespace {

using sound_ptr = std::unique_ptr<SNDFILE, decltype(&sf_close)>;
using converter_ptr = std::unique_ptr<SRC_STATE, decltype(&src_delete)>;

sound_ptr open_sound(const std::string& path, SF_INFO& info)
{
    sound_ptr sound(sf_open(path.c_str(), SFM_READ, &info), sf_close);
    if (!sound)
        throw std::runtime_error("the sound '" + path + "' can't be opened: " + sf_strerror(nullptr));
    return sound;
}

// Rates that libsndfile encodes Opus at.
constexpr std::array<int, 5> opus_rates_hz{8000, 12000, 16000, 24000, 48000};

int opus_rate_for(int rate_hz)
{
    const auto* const next = std::ranges::find_if(opus_rates_hz, [&](int rate) { return rate >= rate_hz; });
    return next == opus_rates_hz.end() ? opus_rates_hz.back() : *next;
}

// An encoder that writes to a string.
class opus_encoder {
public:
    opus_encoder(int rate_hz, int channels, int kilobits_per_second)
        : info_{0, rate_hz, channels, SF_FORMAT_OGG | SF_FORMAT_OPUS, 0, 0},
          file_(sf_open_virtual(&callbacks, SFM_WRITE, &info_, &ogg_), sf_close)
    {
        // libsndfile's level 0 is 256 kbit/s for each channel, its level 1 6 kbit/s.
        double level = std::clamp(1.0 - (1000.0 * kilobits_per_second / channels - 6000.0) / 250000.0, 0.0, 1.0);
        if (!file_ || sf_command(file_.get(), SFC_SET_COMPRESSION_LEVEL, &level, sizeof level) != SF_TRUE)
            fail();
    }

    void write(const std::vector<float>& samples, std::int64_t frames)
    {
        if (sf_writef_float(file_.get(), samples.data(), frames) != frames)
            fail();
    }

    std::string finish()
    {
        if (sf_close(file_.release()) != 0)
            fail();
        return std::move(ogg_);
    }

private:
    [[noreturn]] void fail()
    {
        throw std::runtime_error(std::string("the sound can't be encoded: ") + sf_strerror(file_.get()));
    }

    static sf_count_t write_bytes(const void* bytes, sf_count_t count, void* ogg)
    {
        static_cast<std::string*>(ogg)->append(static_cast<const char*>(bytes), static_cast<std::size_t>(count));
        return count;
    }

    static sf_count_t size(void* ogg) { return static_cast<sf_count_t>(static_cast<std::string*>(ogg)->size()); }

    // Ogg is written from its start to its end: nothing is read, and no place but the end is asked for.
    static inline SF_VIRTUAL_IO callbacks{size, [](sf_count_t, int, void* ogg) { return size(ogg); },
                                          [](void*, sf_count_t, void*) { return sf_count_t{0}; }, write_bytes, size};

    std::string ogg_;
    SF_INFO info_;
    sound_ptr file_;
};

// Largest samples of equal stretches of a sound.
class peak_meter {
public:
    peak_meter(std::int64_t frames, int rate_hz) : frames_(std::max<std::int64_t>(frames, 1))
    {
        constexpr std::int64_t per_second = 20, most = 20000;
        peaks_.resize(static_cast<std::size_t>(std::clamp<std::int64_t>(frames_ * per_second / rate_hz, 1, most)));
    }

    void add(const std::vector<float>& samples, std::int64_t frames, int channels)
    {
        for (std::int64_t i = 0; i < frames && position_ < frames_; ++i, ++position_) {
            float& peak = peaks_[static_cast<std::size_t>(
                static_cast<double>(position_) / static_cast<double>(frames_) * static_cast<double>(peaks_.size()))];
            for (int c = 0; c < channels; ++c)
                peak = std::max(peak, std::fabs(samples[static_cast<std::size_t>(i * channels + c)]));
        }
    }

    std::vector<unsigned char> bytes() const
    {
        std::vector<unsigned char> levels;
        for (const float peak : peaks_)
            levels.push_back(static_cast<unsigned char>(std::lround(255.0f * std::min(peak, 1.0f))));
        return levels;
    }

private:
    std::int64_t frames_, position_ = 0;
    std::vector<float> peaks_;
};

void mix_to_mono(std::vector<float>& samples, std::int64_t frames, int channels)
{
    for (std::int64_t i = 0; i < frames; ++i) {
        float sum = 0.0f;
        for (int c = 0; c < channels; ++c)
            sum += samples[static_cast<std::size_t>(i * channels + c)];
        samples[static_cast<std::size_t>(i)] = sum / static_cast<float>(channels);
    }
}

// Samples at another rate, block by block.
class rate_converter {
public:
    rate_converter(int from_hz, int to_hz, int channels)
        : ratio_(static_cast<double>(to_hz) / from_hz), channels_(channels),
          state_(src_new(SRC_SINC_MEDIUM_QUALITY, channels, &error_), src_delete)
    {
        check();
    }

    // Hands each converted block to `write`. `last` ends the sound.
    void convert(std::vector<float>& samples, std::int64_t frames, bool last, const auto& write)
    {
        converted_.resize(samples.size());
        SRC_DATA data{};
        data.data_in = samples.data();
        data.input_frames = static_cast<long>(frames);
        data.data_out = converted_.data();
        data.output_frames = static_cast<long>(converted_.size()) / channels_;
        data.end_of_input = last ? 1 : 0;
        data.src_ratio = ratio_;
        do {
            error_ = src_process(state_.get(), &data);
            check();
            write(converted_, data.output_frames_gen);
            data.data_in += data.input_frames_used * channels_;
            data.input_frames -= data.input_frames_used;
        } while (data.input_frames > 0 || data.output_frames_gen > 0);
    }

private:
    void check() const
    {
        if (error_ != 0 || !state_)
            throw std::runtime_error(std::string("the sound can't be resampled: ") + src_strerror(error_));
    }

    double ratio_;
    int channels_, error_ = 0;
    converter_ptr state_;
    std::vector<float> converted_;
};

} // namespace

double announced_seconds(const std::string& path)
{
    SF_INFO info{};
    open_sound(path, info);
    return static_cast<double>(info.frames) / info.samplerate;
}

recording encode_recording(const std::string& path, int kilobits_per_second,
                           const std::function<void(double)>& progress)
{
    constexpr std::int64_t block_frames = 16384;
    SF_INFO info{};
    const sound_ptr sound = open_sound(path, info);
    const int channels = info.channels > 2 ? 1 : info.channels;
    opus_encoder encoder(opus_rate_for(info.samplerate), channels, kilobits_per_second);
    rate_converter converter(info.samplerate, opus_rate_for(info.samplerate), channels);
    const bool same_rate = opus_rate_for(info.samplerate) == info.samplerate;
    peak_meter peaks(info.frames, info.samplerate);
    const auto write = [&](const std::vector<float>& samples, std::int64_t frames) { encoder.write(samples, frames); };

    std::vector<float> samples(static_cast<std::size_t>(block_frames * info.channels));
    std::int64_t done = 0;
    for (std::int64_t frames = block_frames; frames > 0; done += frames) {
        frames = sf_readf_float(sound.get(), samples.data(), block_frames);
        peaks.add(samples, frames, info.channels);
        if (channels < info.channels)
            mix_to_mono(samples, frames, info.channels);
        if (same_rate)
            write(samples, frames);
        else
            converter.convert(samples, frames, frames == 0, write);
        progress(static_cast<double>(done + frames) / static_cast<double>(std::max<std::int64_t>(info.frames, 1)));
    }
    return {static_cast<double>(done) / info.samplerate, encoder.finish(), peaks.bytes()};
}

} // namespace gabarit
