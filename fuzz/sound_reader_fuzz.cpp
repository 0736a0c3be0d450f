// Any bytes as a sound file, read at any places: what comes must be the plainly decoded sound, and zeros around it.
#include <sndfile.h>

#include <algorithm>
#include <stdexcept>
#include <vector>

#include "audio/file_obj.h"
#include "fuzz/input.h"

namespace {

constexpr int reads = 6;
constexpr std::size_t walk_bytes = reads * (sizeof(std::int32_t) + 1); // in front of the sound
constexpr sf_count_t longest = 20000;                                  // frames
constexpr int most_channels = 8;

// Where each frame has a place that libsndfile finds exactly.
constexpr int containers[] = {SF_FORMAT_WAV, SF_FORMAT_WAVEX, SF_FORMAT_AIFF, SF_FORMAT_AU,
                              SF_FORMAT_W64, SF_FORMAT_RF64,  SF_FORMAT_CAF,  SF_FORMAT_FLAC};
constexpr int encodings[] = {SF_FORMAT_PCM_S8, SF_FORMAT_PCM_U8, SF_FORMAT_PCM_16, SF_FORMAT_PCM_24, SF_FORMAT_PCM_32,
                             SF_FORMAT_FLOAT,  SF_FORMAT_DOUBLE, SF_FORMAT_ULAW,   SF_FORMAT_ALAW};

bool seeks_exactly(const SF_INFO& info)
{
    return info.seekable != 0 && std::ranges::count(containers, info.format & SF_FORMAT_TYPEMASK) > 0 &&
           std::ranges::count(encodings, info.format & SF_FORMAT_SUBMASK) > 0;
}

std::vector<double> decode_from_here(SNDFILE* file, const SF_INFO& info)
{
    std::vector<double> samples(static_cast<std::size_t>(info.frames * info.channels));
    const sf_count_t frames = sf_readf_double(file, samples.data(), info.frames);
    samples.resize(static_cast<std::size_t>(std::max<sf_count_t>(0, frames) * info.channels));
    return samples;
}

bool same(const std::vector<double>& a, const std::vector<double>& b)
{
    return a.size() == b.size() && (a.empty() || std::memcmp(a.data(), b.data(), a.size() * sizeof(double)) == 0);
}

// The whole sound; false if it is none, or larger than a run can take. Where header and data overlap, libsndfile
// itself gives other samples after a seek to the start: no model for anybody. Nor does it find any frame of a cut FLAC
// file again, once it was sent behind the cut.
bool decode(const char* path, SF_INFO& info, std::vector<double>& samples, bool& is_model)
{
    SNDFILE* const file = sf_open(path, SFM_READ, &info);
    if (file == nullptr)
        return false;
    const bool fits = info.frames <= longest && info.channels <= most_channels;
    if (fits) {
        samples = decode_from_here(file, info);
        const bool is_whole = samples.size() == static_cast<std::size_t>(info.frames * info.channels);
        is_model = seeks_exactly(info) && (is_whole || (info.format & SF_FORMAT_TYPEMASK) != SF_FORMAT_FLAC) &&
                   sf_seek(file, 0, SEEK_SET) == 0 && same(decode_from_here(file, info), samples);
    }
    sf_close(file);
    return fits;
}

} // namespace

// Stands before libsndfile's own: touches all the room that it is lent, where no sanitizer watches it write.
extern "C" sf_count_t __real_sf_readf_double(SNDFILE* file, double* room, sf_count_t frames);
extern "C" sf_count_t __wrap_sf_readf_double(SNDFILE* file, double* room, sf_count_t frames)
{
    SF_INFO info{};
    sf_command(file, SFC_GET_CURRENT_SF_INFO, &info, sizeof info);
    std::fill_n(room, frames * info.channels, 7.0);
    return __real_sf_readf_double(file, room, frames);
}

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const memory_file file;
    fuzz_input walk(data, size);
    file.fill({data + std::min(size, walk_bytes), data + size});
    SF_INFO info{};
    std::vector<double> samples;
    bool is_model = false;
    if (!decode(file.path().c_str(), info, samples, is_model))
        return 0;

    readsnd::FileObj reader;
    if (!reader.open(file.path().c_str(), 0, -1))
        return 0;
    const auto channels = static_cast<std::size_t>(reader.channels());
    const auto frames = static_cast<std::int64_t>(samples.size() / channels);
    for (int i = 0; i < reads; ++i) {
        auto start = walk.take<std::int32_t>();
        int count = walk.take<std::uint8_t>();
        if (start % 16 != 0) // near the sound more often than anywhere
            start %= static_cast<int>(frames) + 4000;
        if (count < 250)
            count %= 50;
        std::vector<double> got(static_cast<std::size_t>(count) * channels, 7.0);
        int delivered = 0;
        try {
            delivered = reader.read(got.data(), start, count);
        } catch (const std::runtime_error&) { // a damaged file
            return 0;
        }
        EXPECT_LAW(delivered >= 0 && delivered <= count);
        if (!is_model)
            continue;
        std::vector<double> expected(got.size());
        for (std::int64_t f = 0; f < count; ++f)
            if (start + f >= 0 && start + f < frames)
                std::copy_n(&samples[static_cast<std::size_t>(start + f) * channels], channels,
                            &expected[static_cast<std::size_t>(f) * channels]);
        EXPECT_LAW(same(got, expected));
        EXPECT_LAW(delivered >= std::clamp<std::int64_t>(frames - start, 0, count));
    }
    return 0;
}
