#include "features/timbre.h"

#include <array>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

#include "features/mel_cepstrum.h"
#include "features/mel_filter_bank.h"
#include "features/octave_bands.h"
#include "features/power_spectrum.h"
#include "fft/window.h"

namespace veloria {

namespace {

// Twice the smallest power of two above the length.
int transform_size_of(int length)
{
    return 2 * static_cast<int>(std::bit_ceil(static_cast<unsigned>(length) + 1));
}

tavel::Vector<float> scaled_blackman(int length)
{
    tavel::Vector<float> window(length);
    libfft::make_window(libfft::window_kind::blackman, length, window.data);
    float sum = 0.0f;
    for (const float value : window)
        sum += value;
    window = window * (2.0f / sum);
    return window;
}

// First-order high-pass y[n] = x[n] - 0.97 x[n - 1]; reads the sample before the first one.
void preemphasize(const double* __restrict samples, int length, float* __restrict frame)
{
    for (int n = 0; n < length; ++n)
        frame[n] = static_cast<float>(samples[n - 1] * -0.97 + samples[n]);
}

// A frame is filtered as if the sound were continuous: only the sound's first sample has nothing before it.
void read_frame(const tavel::Vector<double>& samples, std::ptrdiff_t first, int length, float* frame)
{
    if (first == 0) {
        frame[0] = static_cast<float>(samples.data[0]);
        preemphasize(samples.data + 1, length - 1, frame + 1);
    } else {
        preemphasize(samples.data + first, length, frame);
    }
}

// Tables and buffers of one call.
class timbre_analyzer {
public:
    timbre_analyzer(int length, double sr)
        : window(scaled_blackman(length)), transform_size(transform_size_of(length)),
          filters(design_mel_filter_bank(transform_size, sr)), bands(make_octave_bands(transform_size)),
          cosines(make_cepstrum_table()), buffer(transform_size + 2), power(transform_size / 2 + 1),
          keys(static_cast<std::size_t>(bands.back().size()))
    {}

    // Takes the frame that begins at the sample `first`.
    void analyze(const tavel::Vector<double>& samples, std::ptrdiff_t first)
    {
        read_frame(samples, first, window.size, buffer.data);
        power_spectrum(window, transform_size, buffer, power);
    }

    void store_contrast(tavel::Matrix<double>& contrast, int row)
    {
        constexpr double epsilon = std::numeric_limits<double>::epsilon(); // keeps the level of silence finite
        for (int b = 0; b < octave_band_count; ++b) {
            const band_extremes extremes = measure_band(power.data, bands[static_cast<std::size_t>(b)], keys.data());
            const double peak_level = std::log(extremes.peak + epsilon);
            const double valley_level = std::log(extremes.valley + epsilon);
            contrast(row, b) = peak_level;
            contrast(row, octave_band_count + b) = peak_level - valley_level;
        }
    }

    void store_cepstrum(tavel::Matrix<double>& cepstrum, int row) const
    {
        std::array<float, mel_filter_count> energies;
        mel_energies(filters, power.data, energies.data());
        std::array<double, cepstrum_size> coefficients;
        mel_cepstrum(cosines, energies.data(), coefficients.data());
        for (int r = 0; r < cepstrum_size; ++r)
            cepstrum(row, r) = coefficients[static_cast<std::size_t>(r)];
    }

private:
    tavel::Vector<float> window;
    int transform_size;
    mel_filter_bank filters;
    std::array<octave_band, octave_band_count> bands;
    cepstrum_table cosines;
    tavel::Vector<float> buffer;
    tavel::Vector<float> power;
    std::vector<std::int32_t> keys;
};

} // namespace

void extract_timbre(const tavel::Vector<double>& samples, double sr, int window, const tavel::Slice<int>& frame_slice,
                    tavel::Matrix<double>& cepstrum, tavel::Matrix<double>* contrast, const progress_record& progress)
{
    const int length = window % 2 == 0 ? window - 1 : window;
    const int half = (length - 1) / 2;
    if (frame_slice.count == 0)
        return;
    const progress_record frames = progress.counting(frame_slice.count);
    timbre_analyzer analyzer(length, sr);
    for (int i = 0; i < frame_slice.count; ++i) {
        analyzer.analyze(samples, frame_slice.start - half + std::ptrdiff_t{frame_slice.step} * i);
        if (contrast != nullptr)
            analyzer.store_contrast(*contrast, i);
        analyzer.store_cepstrum(cepstrum, i);
        report_progress(frames, i + 1);
    }
}

} // namespace veloria
