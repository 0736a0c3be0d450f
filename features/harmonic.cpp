#include "features/harmonic.h"

#include <algorithm>
#include <bit>
#include <cmath>

#include "features/pitch_map.h"
#include "features/power_spectrum.h"
#include "features/running_median.h"
#include "fft/window.h"
#include "tavel/min_max_elem.h"

namespace veloria {

namespace {

constexpr double median_share = 0.25; // of the frames
constexpr int longest_median = 10;    // frames

// Twice the smallest power of two that isn't below the length.
int transform_size_of(int length)
{
    return 2 * static_cast<int>(std::bit_ceil(static_cast<unsigned>(std::max(length, 1))));
}

// Eight running maxima side by side, which all begin with the first power. If that is NaN, so is the result; a NaN
// further on is passed over.
float largest_power(const float* power, int count)
{
    constexpr int lanes = 8;
    float largest[lanes];
    for (float& value : largest)
        value = power[0];
    int k = 0;
    for (; k + lanes <= count; k += lanes)
        for (int lane = 0; lane < lanes; ++lane)
            largest[lane] = power[k + lane] > largest[lane] ? power[k + lane] : largest[lane];
    float result = power[0];
    for (const float value : largest)
        result = value > result ? value : result;
    for (; k < count; ++k)
        result = power[k] > result ? power[k] : result;
    return result;
}

void scale_to_peak(tavel::VectorRange<double> column)
{
    const double peak = tavel::max_elem(column);
    if (peak != 0.0)
        column = column * (1.0 / peak);
}

void profile_of_frame(const pitch_map& map, const tavel::Vector<float>& power, float floor_ratio,
                      tavel::VectorRange<double> column)
{
    column = 0.0;
    const float largest = largest_power(power.data, power.size);
    if (largest == 0.0f)
        return;
    add_pitch_powers(map, power.data, largest * floor_ratio, 1.0f / largest, &column[0]);
    scale_to_peak(column);
}

} // namespace

void extract_harmonic(const tavel::Vector<double>& samples, double sr, int window, int hop, double f_low, double f_high,
                      double floor_ratio, tavel::Matrix<double>& matrix, tavel::Slice<int>& frame_slice,
                      const progress_record& progress)
{
    int half = 0;
    tavel::Vector<double> window_values;
    libfft::make_analysis_window(libfft::analysis_window::blackman, window, hop, half, window_values);
    tavel::Vector<float> window_single;
    window_single = window_values;
    const int length = window_single.size;

    frame_slice = tavel::Slice<int>(half, samples.size - half - 1, hop);
    const int transform_size = transform_size_of(length);
    tavel::Vector<float> buffer(transform_size + 2);
    tavel::Vector<float> power(transform_size / 2 + 1);
    const pitch_map map = build_pitch_map(transform_size, sr, f_low, f_high);
    const progress_record frames = progress.counting(frame_slice.count);
    matrix.resize(map.band_count, frame_slice.count);

    for (int i = 0; i < frame_slice.count; ++i) {
        const int center = frame_slice.start + frame_slice.step * i;
        buffer(tavel::range{0, length - 1}) = samples(tavel::range{center - half, center + half});
        power_spectrum(window_single, transform_size, buffer, power);
        profile_of_frame(map, power, static_cast<float>(floor_ratio), matrix(tavel::all, i));
        report_progress(frames, i + 1);
    }

    const double share = std::round(frame_slice.count * median_share);
    median_filter_rows(matrix, static_cast<int>(std::min(share, static_cast<double>(longest_median))));
    for (int i = 0; i < frame_slice.count; ++i)
        scale_to_peak(matrix(tavel::all, i));
}

} // namespace veloria
