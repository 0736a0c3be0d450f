// Composes a short piece of the form A A B A and writes it as a WAV file. A is a plucked tune over four chords, B a
// held organ chord in a distant key: in the piece's gabarit the repeats of A are stripes beside the diagonal, and B is
// a block.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <iostream>
#include <numbers>
#include <vector>

#include <sndfile.h>

namespace {

constexpr int rate_hz = 44100;
constexpr double beat_seconds = 0.25;
constexpr int section_beats = 48;

struct instrument {
    std::array<double, 8> partials; // amplitudes of the harmonics
    double attack_seconds;
    double decay_seconds; // of the first partial; the k-th decays k times as fast
    double release_seconds;
};

constexpr instrument pluck{{1.0, 0.5, 0.35, 0.2, 0.12, 0.08, 0.05, 0.03}, 0.004, 0.9, 0.05};
constexpr instrument bass{{1.0, 0.6, 0.15, 0.05, 0.0, 0.0, 0.0, 0.0}, 0.01, 2.5, 0.1};
constexpr instrument organ{{0.8, 1.0, 0.7, 0.9, 0.1, 0.6, 0.05, 0.5}, 0.15, 1e9, 0.3};

struct note {
    double beat, beats;
    int key; // 60 is the middle C, one step a semitone
    double level;
    double pan; // 0 left, 1 right
};

class score {
public:
    explicit score(int beats) : stereo(2 * frame_of(beats + 1)) {} // a beat more, for the last notes to end

    void play(const instrument& voice, const note& played)
    {
        const double frequency = 440.0 * std::exp2((played.key - 69) / 12.0);
        const double seconds = played.beats * beat_seconds;
        const std::size_t first = frame_of(played.beat);
        const std::size_t count = static_cast<std::size_t>((seconds + voice.release_seconds) * rate_hz);
        for (std::size_t i = 0; i < count; ++i) {
            const double t = static_cast<double>(i) / rate_hz;
            const double value = played.level * envelope(voice, t, seconds) * tone(voice, frequency, t);
            stereo[2 * (first + i)] += value * std::sqrt(1.0 - played.pan);
            stereo[2 * (first + i) + 1] += value * std::sqrt(played.pan);
        }
    }

    const std::vector<double>& mix()
    {
        constexpr double peak = 0.7;
        double largest = 0.0;
        for (const double value : stereo)
            largest = std::max(largest, std::abs(value));
        for (double& value : stereo)
            value *= peak / largest;
        return stereo;
    }

private:
    static std::size_t frame_of(double beat) { return static_cast<std::size_t>(beat * beat_seconds * rate_hz); }

    static double envelope(const instrument& voice, double t, double seconds)
    {
        const double rise = std::min(1.0, t / voice.attack_seconds);
        const double fall = std::clamp(1.0 - (t - seconds) / voice.release_seconds, 0.0, 1.0);
        return rise * fall;
    }

    static double tone(const instrument& voice, double frequency, double t)
    {
        double sum = 0.0;
        for (std::size_t k = 1; k <= voice.partials.size(); ++k) {
            const double order = static_cast<double>(k);
            sum += voice.partials[k - 1] * std::exp(-t * order / voice.decay_seconds) *
                   std::sin(2.0 * std::numbers::pi * frequency * order * t);
        }
        return sum;
    }

    std::vector<double> stereo;
};

// Twelve beats a chord: a broken chord, its root below, and a tune above.
void play_tune(score& piece, double start)
{
    struct bar {
        int root;
        std::array<int, 3> chord;
        std::array<int, 6> tune;
    };
    constexpr bar bars[] = {
        {48, {60, 64, 67}, {79, 76, 72, 74, 76, 79}}, // C
        {45, {57, 60, 64}, {81, 76, 72, 76, 81, 84}}, // A minor
        {41, {57, 60, 65}, {84, 81, 77, 81, 79, 77}}, // F
        {43, {55, 59, 62}, {83, 79, 74, 79, 77, 74}}, // G
    };
    for (const bar& played : bars) {
        piece.play(bass, {start, 12.0, played.root, 0.8, 0.5});
        for (std::size_t i = 0; i < 12; ++i)
            piece.play(pluck, {start + static_cast<double>(i), 1.0, played.chord[i % 3], 0.4, 0.3});
        for (std::size_t i = 0; i < played.tune.size(); ++i)
            piece.play(pluck, {start + 2.0 * static_cast<double>(i), 2.0, played.tune[i], 0.5, 0.7});
        start += 12.0;
    }
}

void play_held_chord(score& piece, double start)
{
    for (const int key : {42, 54, 61, 66, 70, 73}) // F sharp major, as far from C as there is
        piece.play(organ, {start, section_beats, key, 0.2, 0.5});
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 2) {
        std::cerr << "usage: compose OUT.wav\n";
        return 2;
    }
    score piece(4 * section_beats);
    for (const int section : {0, 1, 3})
        play_tune(piece, section * section_beats);
    play_held_chord(piece, 2 * section_beats);
    const std::vector<double>& samples = piece.mix();

    SF_INFO info{};
    info.samplerate = rate_hz;
    info.channels = 2;
    info.format = SF_FORMAT_WAV | SF_FORMAT_PCM_16;
    SNDFILE* file = sf_open(argv[1], SFM_WRITE, &info);
    const auto count = static_cast<sf_count_t>(samples.size());
    if (file == nullptr || sf_write_double(file, samples.data(), count) != count || sf_close(file) != 0) {
        std::cerr << argv[1] << ": " << sf_strerror(file) << '\n';
        return 1;
    }
}
