#include "gabarit/page/recording.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <stdexcept>
#include <utility>

#include <sndfile.h>
#include <soxr.h>

namespace gabarit {

namespace {

using sound_ptr = std::unique_ptr<SNDFILE, decltype(&sf_close)>;

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
        : info{0, rate_hz, channels, SF_FORMAT_OGG | SF_FORMAT_OPUS, 0, 0},
          file(sf_open_virtual(&callbacks, SFM_WRITE, &info, &encoded), sf_close)
    {
        // libsndfile's level 0 is 256 kbit/s for each channel, its level 1 6 kbit/s.
        double level = std::clamp(1.0 - (1000.0 * kilobits_per_second / channels - 6000.0) / 250000.0, 0.0, 1.0);
        if (!file || sf_command(file.get(), SFC_SET_COMPRESSION_LEVEL, &level, sizeof level) != SF_TRUE)
            fail();
    }

    void write(const std::vector<float>& samples, std::int64_t frames)
    {
        if (sf_writef_float(file.get(), samples.data(), frames) != frames)
            fail();
    }

    std::string finish()
    {
        if (sf_close(file.release()) != 0)
            fail();
        return std::move(encoded);
    }

private:
    [[noreturn]] void fail()
    {
        throw std::runtime_error(std::string("the sound can't be encoded: ") + sf_strerror(file.get()));
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

    std::string encoded;
    SF_INFO info;
    sound_ptr file;
};

// Largest samples of equal stretches of a sound.
class peak_meter {
public:
    peak_meter(std::int64_t frames, int rate_hz) : length(std::max<std::int64_t>(frames, 1))
    {
        constexpr std::int64_t per_second = 20, most = 20000;
        peaks.resize(static_cast<std::size_t>(std::clamp<std::int64_t>(length * per_second / rate_hz, 1, most)));
    }

    void add(const std::vector<float>& samples, std::int64_t frames, int channels)
    {
        for (std::int64_t i = 0; i < frames && position < length; ++i, ++position) {
            float& peak = peaks[static_cast<std::size_t>(static_cast<double>(position) / static_cast<double>(length) *
                                                         static_cast<double>(peaks.size()))];
            for (int c = 0; c < channels; ++c)
                peak = std::max(peak, std::fabs(samples[static_cast<std::size_t>(i * channels + c)]));
        }
    }

    // Of the stretches that were reached: a sound may be shorter than it says.
    std::vector<unsigned char> bytes() const
    {
        const double reached = static_cast<double>(position) / static_cast<double>(length);
        std::vector<unsigned char> levels(
            static_cast<std::size_t>(std::ceil(reached * static_cast<double>(peaks.size()))));
        std::ranges::transform(peaks.begin(), peaks.begin() + std::ssize(levels), levels.begin(), [](float peak) {
            return static_cast<unsigned char>(std::lround(255.0f * std::min(peak, 1.0f)));
        });
        return levels;
    }

private:
    std::int64_t length, position = 0;
    std::vector<float> peaks;
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
    rate_converter(int from_hz, int to_hz, int channel_count) : channels(channel_count)
    {
        const soxr_io_spec_t floats = soxr_io_spec(SOXR_FLOAT32_I, SOXR_FLOAT32_I);
        const soxr_quality_spec_t quality = soxr_quality_spec(SOXR_HQ, 0);
        const soxr_runtime_spec_t one_thread = soxr_runtime_spec(1);
        soxr_error_t error = nullptr;
        state.reset(
            soxr_create(from_hz, to_hz, static_cast<unsigned>(channels), &error, &floats, &quality, &one_thread));
        check(error);
    }

    // Hands each converted block to `write`. No frames end the sound.
    void convert(const std::vector<float>& samples, std::int64_t frames, const auto& write)
    {
        const auto count = static_cast<std::size_t>(frames), width = static_cast<std::size_t>(channels);
        const std::size_t room = samples.size() / width;
        converted.resize(samples.size());
        for (std::size_t used = 0, taken = 0, made = room; used < count || made == room; used += taken) {
            check(soxr_process(state.get(), count == 0 ? nullptr : samples.data() + used * width, count - used, &taken,
                               converted.data(), room, &made));
            write(converted, static_cast<std::int64_t>(made));
        }
    }

private:
    static void check(soxr_error_t error)
    {
        if (error != nullptr)
            throw std::runtime_error(std::string("the sound can't be resampled: ") + soxr_strerror(error));
    }

    int channels;
    std::unique_ptr<soxr, decltype(&soxr_delete)> state{nullptr, soxr_delete};
    std::vector<float> converted;
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
            converter.convert(samples, frames, write);
        progress(static_cast<double>(done + frames) / static_cast<double>(std::max<std::int64_t>(info.frames, 1)));
    }
    return {static_cast<double>(done) / info.samplerate, encoder.finish(), peaks.bytes()};
}

} // namespace gabarit
