#include "audio/basic_sound_reader.h"
#include "audio/make_reader.h"

#include <algorithm>
#include <fstream>
#include <functional>
#include <numeric>
#include <random>

#include <gmock/gmock.h>
#include <sys/stat.h>

#include "tests/support/files.h"
#include "tests/support/sound.h"

// As libsndfile's, but for errors that no file can be made to have.
static bool errors_reported = false, seeks_fail = false;
extern "C" int __real_sf_error(SNDFILE* file);
extern "C" int __wrap_sf_error(SNDFILE* file)
{
    return errors_reported ? SF_ERR_SYSTEM : __real_sf_error(file);
}

extern "C" sf_count_t __real_sf_seek(SNDFILE* file, sf_count_t frames, int whence);
extern "C" sf_count_t __wrap_sf_seek(SNDFILE* file, sf_count_t frames, int whence)
{
    return seeks_fail ? -1 : __real_sf_seek(file, frames, whence);
}

namespace {

constexpr int mp3 = SF_FORMAT_MPEG | SF_FORMAT_MPEG_LAYER_III;

class Reader : public testing::Test {
protected:
    std::string path(const std::string& name) const { return folder.path(name); }

    std::string cut_sound(const std::string& name, int format) const
    {
        write_sound(path(name), 48000, 1, 60000, format);
        std::filesystem::resize_file(path(name), std::filesystem::file_size(path(name)) / 2);
        return path(name);
    }

    std::vector<double> decode(const std::string& name) const
    {
        SF_INFO info{};
        const std::unique_ptr<SNDFILE, int (*)(SNDFILE*)> file(sf_open(path(name).c_str(), SFM_READ, &info), sf_close);
        std::vector<double> samples(static_cast<std::size_t>(info.frames * info.channels));
        sf_readf_double(file.get(), samples.data(), info.frames);
        return samples;
    }

    bool open(const std::string& name) { return reader.open(path(name).c_str(), 0, -1); }

    test_folder folder;
    corvane::BasicSoundReader reader;
    std::vector<double> room = std::vector<double>(50000);
};

// Reads, and compares with the sound between endless zeros.
int read_and_compare(corvane::AbstractReader& reader, const std::vector<double>& sound, int start, int n)
{
    std::vector<double> buffer(static_cast<std::size_t>(n * reader.channels() + 1), -77.0), expected;
    const int count = reader.read(buffer.data(), start, n);
    for (std::ptrdiff_t i = 0, from = std::ptrdiff_t{start} * reader.channels(); i < n * reader.channels(); ++i)
        expected.push_back(from + i < 0 || from + i >= std::ssize(sound) ? 0.0
                                                                         : sound[static_cast<std::size_t>(from + i)]);
    expected.push_back(-77.0);
    EXPECT_EQ(buffer, expected) << n << " frames from " << start;
    return count;
}

template <class EXCEPTION>
void expect_failure(const std::function<void()>& call, const std::string& text)
{
    EXPECT_THAT(call, testing::ThrowsMessage<EXCEPTION>(testing::StrEq(text)));
}

TEST_F(Reader, ReadsLikeThePlainlyDecodedSoundAtAnyPosition)
{
    write_sound(path("a"), 8000, 2, 20000, SF_FORMAT_FLAC | SF_FORMAT_PCM_16);
    const std::vector<double> sound = decode("a");
    ASSERT_TRUE(open("a"));
    std::mt19937 engine(7);
    bool end_is_known = false;
    for (int i = 0, start = 0; i < 1000 && !HasFailure(); ++i) {
        const int n = std::uniform_int_distribution(1, i < 500 ? 51 : 500)(engine); // the blocks grow half way
        const int reach = i % 10 == 0 ? 40000 : 3000;
        start = std::clamp(start + std::uniform_int_distribution(-reach, reach)(engine), -9000, 29000);
        const int count = read_and_compare(reader, sound, start, n);
        end_is_known = end_is_known || count < n;
        EXPECT_EQ(count, end_is_known ? std::clamp(20000 - start, 0, n) : n) << n << " frames from " << start;
    }
}

// Of lengths beyond 32 bits the low ones would be the length of another sound.
TEST_F(Reader, HasNoLengthWhereTheAnnouncedOneIsTooLarge)
{
    constexpr std::tuple<char, std::string_view, int> cases[] = {
        {'\xf0', std::string_view("\xff\xff\xff\xfe", 4), -2}, // 2^32 - 2, in the 32 bits of an int
        {'\xf0', std::string_view("\xff\xff\xff\xff", 4), -1},
        {'\xf1', std::string_view("\0\0\0\5", 4), -1},
    };
    for (const auto& [high, low, frames] : cases) {
        write_sound(path("a"), 8000, 1, 3000, SF_FORMAT_FLAC | SF_FORMAT_PCM_16);
        std::fstream(path("a"), std::ios::in | std::ios::out | std::ios::binary).seekp(21).put(high) << low;
        ASSERT_TRUE(open("a"));
        EXPECT_EQ(reader.frames(), frames);
        const std::string both = path("a");
        const char* const paths[] = {both.c_str(), both.c_str()};
        EXPECT_EQ(corvane::make_reader(2, paths)->frames(), frames);
    }
}

TEST_F(Reader, CountsTheFramesUpToTheEndAsFarAsItIsKnown)
{
    write_sound(path("a"), 8000, 1, 3000);
    write_sound(path("b"), 11025, 1, 8000, SF_FORMAT_AU | SF_FORMAT_PCM_16);
    ASSERT_TRUE(open("a"));
    constexpr std::tuple<int, int, int> steps[] = {
        {-10, 20, 20},  {600, 20, 20}, {100, 20, 20},           {-20, 20, 20}, {2990, 0, 0},
        {2990, 20, 10}, {3000, 5, 0},  {-2147483647 - 1, 7, 7}, {0, 20, 20},
    };
    for (const auto& [start, n, count] : steps)
        EXPECT_EQ(read_and_compare(reader, decode("a"), start, n), count) << start;

    // A pipe only goes forward. With blocks of 512 frames the fourth read finds its own in the cache, but the block
    // before is out of reach, which counts as the end of the file.
    ASSERT_EQ(mkfifo(path("pipe").c_str(), 0600), 0);
    std::fstream pipe(path("pipe"), std::ios::in | std::ios::out | std::ios::binary); // in: opens at once
    pipe << std::ifstream(path("b"), std::ios::binary).rdbuf() << std::flush;
    ASSERT_TRUE(open("pipe"));
    pipe.close();
    for (const auto& [start, count] : {std::pair{0, 50}, {1000, 50}, {2990, 50}, {2500, 0}, {7990, 0}})
        EXPECT_EQ(read_and_compare(reader, decode("b"), start, 50), count) << start;
    EXPECT_EQ(read_and_compare(reader, {}, 1600, 50), 0);
    errors_reported = true;
    expect_failure<std::runtime_error>([&] { reader.read(room.data(), 20000, 1); }, "readsnd::FileObj::seek error \n");
    errors_reported = false;
}

TEST_F(Reader, TakesAFailedSeekForTheEndOfTheSound)
{
    write_sound(path("a"), 8000, 1, 3000);
    ASSERT_TRUE(open("a"));
    EXPECT_EQ(read_and_compare(reader, decode("a"), 2000, 5), 5);
    seeks_fail = true;
    EXPECT_EQ(read_and_compare(reader, {}, 100, 5), 0);
    seeks_fail = false;
}

TEST_F(Reader, OpensNothingButSounds)
{
    write_sound(path("a"), 22050, 3, 10);
    std::ofstream(path("empty"));
    std::ofstream(path("text")) << "no sound\n";
    ASSERT_EQ(mkfifo(path("unwritten_pipe").c_str(), 0600), 0);
    const std::string folders(1022 - path("a").size(), '/'); // "a" behind them has a path of 1023 bytes
    const auto answers = [this] { return std::vector{reader.sample_rate(), reader.channels(), reader.frames()}; };
    const std::string names[] = {"none", "", "empty", "text", "unwritten_pipe", folders + "/aa"};
    for (const std::string& name : names) {
        EXPECT_FALSE(open(name)) << name;
        EXPECT_EQ(answers(), std::vector(3, -1)) << name;
        expect_failure<std::logic_error>([&] { reader.read(room.data(), 0, 1); }, "readsnd::FileObj: no open file");
        EXPECT_TRUE(open(folders + "/a"));
        EXPECT_EQ(answers(), (std::vector{22050, 3, 10}));
    }
    EXPECT_TRUE(reader.open(path("text").c_str(), 1, SF_FORMAT_RAW | SF_FORMAT_PCM_S8)) << "as headerless";
    read_and_compare(reader, {'n' / 128.0, 'o' / 128.0}, 0, 2);
    ASSERT_TRUE(reader.open(cut_sound("cut", SF_FORMAT_FLAC | SF_FORMAT_PCM_16).c_str(), 0, -1));
    expect_failure<std::runtime_error>([&] { reader.read(room.data(), 0, 50000); }, "readsnd::FileObj::read error \n");
}

std::unique_ptr<corvane::AbstractReader> open_all(const std::vector<std::string>& paths)
{
    std::vector<const char*> names;
    for (const std::string& path : paths)
        names.push_back(path.empty() ? nullptr : path.c_str());
    return corvane::make_reader(static_cast<int>(names.size()), names.data());
}

TEST_F(Reader, TakesTheMeanOfAllChannelsOfSeveralFiles)
{
    const auto sums_of = [this](int channels) {
        std::vector<double> sums, samples = decode(std::to_string(channels));
        for (auto frame = samples.begin(); frame != samples.end(); frame += channels)
            sums.push_back(std::accumulate(frame, frame + channels, 0.0));
        return sums;
    };
    for (const int channels : {1, 2, 3})
        write_sound(path(std::to_string(channels)), 44100, channels, 2000);
    for (const auto& [first, second] : {std::pair{1, 2}, {2, 1}, {1, 3}, {2, 3}, {3, 1}}) {
        SCOPED_TRACE(testing::Message() << first << " channels and " << second);
        std::vector<double> mean = sums_of(first);
        const std::vector<double> others = sums_of(second);
        for (std::size_t i = 0; i < mean.size(); ++i)
            mean[i] = (mean[i] + others[i]) * (1.0 / (first + second));
        const auto split = open_all({path(std::to_string(first)), path(std::to_string(second))});
        EXPECT_EQ(read_and_compare(*split, mean, -5, 20), 20);
        EXPECT_EQ(read_and_compare(*split, mean, 1990, 20), 10);
        expect_failure<std::logic_error>([&] { split->open("", 0, -1); }, "internal error: unexpected open");
        expect_failure<std::logic_error>([&] { split->close(true); }, "internal error: unexpected close");
    }
}

TEST_F(Reader, RefusesFilesThatDontAgree)
{
    const std::string a = path("a"), fast = path("fast"), longer = path("longer"), none = path("none");
    write_sound(a, 48000, 1, 60000, mp3);
    write_sound(fast, 96000, 1, 60001);
    write_sound(longer, 48000, 1, 60001);
    const std::string begin = "invalid split files: '" + a + "' and '";
    expect_failure<std::logic_error>([&] { open_all({}); }, "internal error: invalid path count for split file");
    expect_failure<std::invalid_argument>([&] { open_all({""}); }, "invalid path at position 0");
    expect_failure<std::invalid_argument>([&] { open_all({a, "", none}); }, "invalid path at position 1");
    for (const auto& c : {
             std::pair{std::vector{none}, "error opening file '" + none + "'"},
             {{a, none, fast}, "error opening file '" + none + "'"},
             {{a, fast}, begin + fast + "' have different sampling rates 48000 and 96000"},
             {{a, a, longer}, begin + longer + "' have different lengths 60000 and 60001"},
         })
        expect_failure<std::runtime_error>([&] { open_all(c.first); }, c.second);
    const auto split = open_all({a, cut_sound("cut", mp3)});
    EXPECT_EQ(split->read(room.data(), 0, 1000), 1000);
    expect_failure<std::runtime_error>([&] { split->read(room.data(), 40000, 1000); },
                                       "error reading split files: inconsistent eof");
}

} // namespace
