// Any bytes as a sound file, read at any places: what comes must be the plainly decoded sound, and zeros around it.
#include <sndfile.h>

#include <algorithm>
#include <stdexcept>
#include <vector>

#include "audio/file_obj.h"
#include "fuzz/input.h"

namespace {

constexpr int reads = 6;
constexpr sf_count_t longest = 20000; // frames
constexpr int most_channels = 8;

// Whether libsndfile finds any frame of such a file exactly: where a frame has a fixed place.
bool seeks_exactly(const SF_INFO& info)
{
    switch (info.format & SF_FORMAT_SUBMASK) {
    case SF_FORMAT_PCM_S8:
    case SF_FORMAT_PCM_U8:
    case SF_FORMAT_PCM_16:
    case SF_FORMAT_PCM_24:
    case SF_FORMAT_PCM_32:
    case SF_FORMAT_FLOAT:
    case SF_FORMAT_DOUBLE:
    case SF_FORMAT_ULAW:
    case SF_FORMAT_ALAW:
        break;
    default:
        return false;
    }
    const int container = info.format & SF_FORMAT_TYPEMASK;
    for (const int exact :
         {SF_FORMAT_WAV, SF_FORMAT_WAVEX, SF_FORMAT_AIFF, SF_FORMAT_AU, SF_FORMAT_W64, SF_FORMAT_RF64, SF_FORMAT_CAF})
        if (container == exact)
            return info.seekable != 0;
    return false;
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
// itself gives other samples after a seek to the start: no model for anybody.
bool decode(const char* path, SF_INFO& info, std::vector<double>& samples, bool& is_model)
{
    SNDFILE* const file = sf_open(path, SFM_READ, &info);
    if (file == nullptr)
        return false;
    const bool fits = info.frames <= longest && info.channels <= most_channels;
    if (fits) {
        samples = decode_from_here(file, info);
        is_model =
            seeks_exactly(info) && sf_seek(file, 0, SEEK_SET) == 0 && same(decode_from_here(file, info), samples);
    }
    sf_close(file);
    return fits;
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const memory_file file;
    fuzz_input input(data, size);
    std::int32_t starts[reads];
    int counts[reads];
    for (int i = 0; i < reads; ++i) {
        starts[i] = input.take<std::int32_t>();
        const int count = input.take<std::uint8_t>();
        counts[i] = count < 250 ? count % 50 : count;
    }
    file.fill(input.rest());
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
        // Near the sound more often than anywhere.
        const std::int32_t start = starts[i] % 16 == 0 ? starts[i] : starts[i] % (static_cast<int>(frames) + 4000);
        std::vector<double> got(static_cast<std::size_t>(counts[i]) * channels, 7.0);
        int delivered = 0;
        try {
            delivered = reader.read(got.data(), start, counts[i]);
        } catch (const std::runtime_error&) { // a damaged file
            return 0;
        }
        EXPECT_LAW(delivered >= 0 && delivered <= counts[i]);
        if (!is_model)
            continue;
        std::vector<double> expected(got.size());
        for (std::int64_t f = 0; f < counts[i]; ++f)
            if (start + f >= 0 && start + f < frames)
                std::copy_n(&samples[static_cast<std::size_t>(start + f) * channels], channels,
                            &expected[static_cast<std::size_t>(f) * channels]);
        EXPECT_LAW(same(got, expected));
        EXPECT_LAW(delivered >= std::clamp<std::int64_t>(frames - start, 0, counts[i]));
    }
    return 0;
}
