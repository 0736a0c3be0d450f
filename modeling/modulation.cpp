#include "modeling/modulation.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <numeric>

#include "fft/realfft_vec.h"
#include "modeling/frame_grid.h"
#include "tavel/error.h"
#include "tavel/saturate.h"

namespace veloria {

namespace {

struct frequency_band {
    double low_hz, high_hz;
};

// No band covers 2 to 3 Hz, and the bin of 15 Hz belongs to two bands.
constexpr std::array<frequency_band, 3> frequency_bands{{{1.0, 2.0}, {3.0, 15.0}, {15.0, 25.0}}};

constexpr int largest_transform = 1 << 30;

// The smallest power of two that holds the window, if there is one.
int transform_size(int modeling_frames)
{
    return static_cast<int>(std::bit_ceil(static_cast<unsigned>(std::clamp(modeling_frames, 1, largest_transform))));
}

// sqrt(re^2 + im^2) with the larger part taken out of the root, so that no square overflows.
double magnitude(double re, double im)
{
    const double a = std::fabs(re);
    const double c = std::fabs(im);
    if (c == 0.0)
        return a;
    if (c > a)
        return c * std::sqrt(1.0 + (a / c) * (a / c));
    return a * std::sqrt(1.0 + (c / a) * (c / a));
}

double sum_of_magnitudes(const double* bins, const modulation_band& band)
{
    double sum = 0.0;
    for (int k = band.first_bin; k <= band.last_bin; ++k)
        sum += magnitude(bins[2 * k], bins[2 * k + 1]);
    return sum;
}

} // namespace

std::vector<modulation_band> modulation_bands(double frame_rate, int fft_size)
{
    const auto bin = [=](double hz) { return tavel::saturate_cast<int>(std::round(hz / frame_rate * fft_size)); };
    const int nyquist_bin = fft_size / 2;
    std::vector<modulation_band> bands;
    for (const frequency_band& band : frequency_bands) {
        if (bin(band.low_hz) > nyquist_bin)
            break;
        bands.push_back({bin(band.low_hz), std::min(nyquist_bin, bin(band.high_hz))});
    }
    return bands;
}

void model_spectrum(const tavel::Matrix<double>& stream, double frame_rate, int modeling_frames,
                    const tavel::Vector<int>& frame_centers, tavel::Matrix<double>& modeled,
                    const progress_record& progress)
{
    const int fft_size = transform_size(modeling_frames);
    const std::vector<modulation_band> bands = modulation_bands(frame_rate, fft_size);
    const int group_size = static_cast<int>(bands.size()) + 1;
    modeled.resize(frame_centers.size, group_size * stream.columns);
    if (modeled.rows == 0)
        return;
    if (modeling_frames > largest_transform)
        throw tavel::error("realfft_vec:: Error in realfft");

    const progress_record rows = progress.counting(modeled.rows);
    tavel::Vector<double> buffer(fft_size + 2);
    for (int row = 0; row < modeled.rows; ++row) {
        const frame_window window = window_around(frame_centers[row], modeling_frames, stream.rows);
        const tavel::range frames{window.first, window.first + window.count - 1};
        for (int feature = 0; feature < stream.columns; ++feature) {
            const double* values = stream.column_data(feature) + window.first;
            const double mean = std::accumulate(values, values + window.count, 0.0) / window.count;
            buffer(tavel::range{0, window.count - 1}) = (stream(frames, feature) - mean) * (1.0 / window.count);
            // A window cut short at an end of the stream keeps the length, and so the frequencies of the bins.
            std::fill(buffer.begin() + window.count, buffer.end(), 0.0);
            tavel::realfft_vec(buffer, fft_size);

            int column = feature * group_size;
            modeled(row, column) = std::fabs(mean);
            for (const modulation_band& band : bands)
                modeled(row, ++column) = sum_of_magnitudes(buffer.data, band);
        }
        report_progress(rows, row + 1);
    }
}

} // namespace veloria
