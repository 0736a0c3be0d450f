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
void preemphasise(const double* __restrict samples, int length, float* __restrict frame)
{
    for (int n = 0; n < length; ++n)
        frame[n] = static_cast<float>(samples[n - 1] * -0.97 + samples[n]);
}

// A frame is filtered as if the sound were continuous: only the sound's first sample has nothing before it.
void read_frame(const tavel::Vector<double>& samples, std::ptrdiff_t first, int length, float* frame)
{
    if (first == 0) {
        frame[0] = static_cast<float>(samples.data[0]);
        preemphasise(samples.data + 1, length - 1, frame + 1);
    } else {
        preemphasise(samples.data + first, length, frame);
    }
}

// Tables and buffers of one call.
class timbre_analyser {
public:
    timbre_analyser(int length, double sr)
        : window_(scaled_blackman(length)), transform_size_(transform_size_of(length)),
          filters_(design_mel_filter_bank(transform_size_, sr)), bands_(make_octave_bands(transform_size_)),
          cepstrum_table_(make_cepstrum_table()), buffer_(transform_size_ + 2), power_(transform_size_ / 2 + 1),
          keys_(static_cast<std::size_t>(bands_.back().size()))
    {}

    // Takes the frame that begins at the sample `first`.
    void analyse(const tavel::Vector<double>& samples, std::ptrdiff_t first)
    {
        read_frame(samples, first, window_.size, buffer_.data);
        power_spectrum(window_, transform_size_, buffer_, power_);
    }

    void store_contrast(tavel::Matrix<double>& contrast, int row)
    {
        constexpr double epsilon = std::numeric_limits<double>::epsilon(); // keeps the level of silence finite
        for (int b = 0; b < octave_band_count; ++b) {
            const band_extremes extremes = measure_band(power_.data, bands_[static_cast<std::size_t>(b)], keys_.data());
            const double peak_level = std::log(extremes.peak + epsilon);
            const double valley_level = std::log(extremes.valley + epsilon);
            contrast(row, b) = peak_level;
            contrast(row, octave_band_count + b) = peak_level - valley_level;
        }
    }

    void store_cepstrum(tavel::Matrix<double>& cepstrum, int row) const
    {
        std::array<float, mel_filter_count> energies;
        mel_energies(filters_, power_.data, energies.data());
        std::array<double, cepstrum_size> coefficients;
        mel_cepstrum(cepstrum_table_, energies.data(), coefficients.data());
        for (int r = 0; r < cepstrum_size; ++r)
            cepstrum(row, r) = coefficients[static_cast<std::size_t>(r)];
    }

private:
    tavel::Vector<float> window_;
    int transform_size_;
    mel_filter_bank filters_;
    std::array<octave_band, octave_band_count> bands_;
    cepstrum_table cepstrum_table_;
    tavel::Vector<float> buffer_;
    tavel::Vector<float> power_;
    std::vector<std::int32_t> keys_;
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
    timbre_analyser analyser(length, sr);
    for (int i = 0; i < frame_slice.count; ++i) {
        analyser.analyse(samples, frame_slice.start - half + std::ptrdiff_t{frame_slice.step} * i);
        if (contrast != nullptr)
            analyser.store_contrast(*contrast, i);
        analyser.store_cepstrum(cepstrum, i);
        report_progress(frames, i + 1);
    }
}

} // namespace veloria
