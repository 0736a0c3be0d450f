// Makes seeds for the fuzz targets: make_corpus FOLDER. Sounds and gabarits as libsndfile and the library write them,
// cut and with extreme fields; settings and lists of calls. The same bytes each time, but for the time of writing that
// some headers hold.
#include <sndfile.h>

#include <cmath>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <vector>

#include "similarity/write_gabarit.h"
#include "tests/support/files.h"
#include "tests/support/noise.h"

namespace {

std::filesystem::path corpus;
std::mt19937 generator(1);

void keep(const std::string& target, const std::string& name, const std::string& bytes)
{
    std::filesystem::create_directories(corpus / target);
    std::ofstream(corpus / target / name, std::ios::binary) << bytes;
}

// As a target takes them from the front of its input.
template <class... T>
std::string packed(T... values)
{
    std::string bytes;
    (bytes.append(reinterpret_cast<const char*>(&values), sizeof values), ...);
    return bytes;
}

std::string random_bytes(std::size_t count)
{
    std::string bytes(count, '\0');
    std::generate(bytes.begin(), bytes.end(), [] { return static_cast<char>(generator()); });
    return bytes;
}

// Nothing where libsndfile doesn't write such a sound.
std::string sound(int format, int channels, int frames)
{
    SF_INFO info{};
    info.samplerate = 8000;
    info.channels = channels;
    info.format = format;
    const std::string path = corpus / "sound";
    SNDFILE* const file = sf_format_check(&info) != 0 ? sf_open(path.c_str(), SFM_WRITE, &info) : nullptr;
    if (file == nullptr)
        return {};
    sf_writef_double(file, noise<double>(channels * frames).data(), frames);
    sf_close(file);
    const std::string bytes = contents(path);
    std::filesystem::remove(path);
    return bytes;
}

// A few reads each: near the sound's start and end, before and behind it; through all of a long one.
void keep_sounds(int format, int channels)
{
    const std::string name = std::to_string(format) + "-" + std::to_string(channels);
    const std::string brief = sound(format, channels, 300), lasting = sound(format, channels, 10000 / channels);
    if (brief.empty())
        return;
    std::string reads, walk;
    for (const auto& [start, count] : {std::pair{0, 50}, {290, 50}, {-20, 255}, {100, 7}, {1600000000, 9}, {4, 250}}) {
        reads += packed(std::int32_t{start}, static_cast<std::uint8_t>(count));
        walk += packed((static_cast<std::int32_t>(generator() % 14000) - 3000) * 16 + 1) + random_bytes(1);
    }
    keep("sound_reader", name + "-long", walk + lasting);
    keep("sound_reader", name, reads + brief);
    keep("sound_reader", name + "-cut", reads + brief.substr(0, brief.size() / 2));
    for (std::size_t place = 4; place < 64; place += 9) { // extreme sizes, counts and rates in the header
        std::string extreme = brief;
        keep("sound_reader", name + "-" + std::to_string(place), reads + extreme.replace(place, 4, "\xff\xff\xff\x7f"));
    }
}

void keep_gabarit(int n)
{
    const std::string path = corpus / "gabarit";
    tavel::Matrix<unsigned char> similarity(n, n);
    tavel::Vector<double> times(n);
    for (int i = 0; i < n; ++i) {
        times[i] = 0.5 * (i + 1);
        for (int j = 0; j < n; ++j)
            similarity(j, i) = static_cast<unsigned char>(i == j ? 255 : i * j % 250);
    }
    veloria::write_gabarit(similarity, times, "a", "marquen --input a", 11025.0, 1, path);
    const std::string bytes = contents(path);
    std::filesystem::remove(path);
    keep("sdif_reader", std::to_string(n), bytes);
    keep("sdif_reader", std::to_string(n) + "-cut", bytes.substr(0, bytes.size() - 20));
}

} // namespace

int main(int count, char** arguments)
{
    if (count != 2)
        return 2;
    corpus = arguments[1];
    std::filesystem::create_directories(corpus);
    for (const int container : {SF_FORMAT_WAV, SF_FORMAT_AIFF, SF_FORMAT_AU, SF_FORMAT_W64, SF_FORMAT_RF64,
                                SF_FORMAT_CAF, SF_FORMAT_FLAC, SF_FORMAT_MPEG})
        for (const int encoding : {SF_FORMAT_PCM_U8, SF_FORMAT_PCM_16, SF_FORMAT_PCM_24, SF_FORMAT_DOUBLE,
                                   SF_FORMAT_ULAW, SF_FORMAT_IMA_ADPCM, SF_FORMAT_MPEG_LAYER_III})
            for (const int channels : {1, 2, 7})
                keep_sounds(container | encoding, channels);
    for (const int n : {0, 1, 2, 9})
        keep_gabarit(n);
    constexpr double values[] = {1.0, 0.5, 0.05, 1e-300, 1e300, HUGE_VAL, NAN, -1.0, 1e10, 5e-324};
    constexpr std::size_t sizes[] = {0, 3, 400, 9000, 30000};
    for (std::uint8_t i = 0; i < 60; ++i) {
        const std::string kind = packed(static_cast<std::uint8_t>(i % 3), static_cast<std::uint8_t>(i % 4));
        const std::string settings = packed(values[i % 10], values[i * 7 % 10]);
        keep("job", std::to_string(i), kind + settings + random_bytes(4) + random_bytes(sizes[generator() % 5]));
        keep("interface_calls", std::to_string(i), random_bytes(30));
        keep("c_calls", std::to_string(i), random_bytes(120));
    }
}
