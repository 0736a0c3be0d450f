#include "features/power_spectrum.h"

#include <algorithm>

#include "fft/realfft_vec.h"

namespace veloria {

namespace {

// Eight sums side by side: one after the other, the additions would take longer than all else here but the
// transform.
float sum_of_frame(const float* frame, int length)
{
    constexpr int lanes = 8;
    float sums[lanes] = {};
    int i = 0;
    for (; i + lanes <= length; i += lanes)
        for (int lane = 0; lane < lanes; ++lane)
            sums[lane] += frame[i + lane];
    float sum = 0.0f;
    for (const float lane_sum : sums)
        sum += lane_sum;
    for (; i < length; ++i)
        sum += frame[i];
    return sum;
}

void apply_window(const float* __restrict window, float mean, int length, float* __restrict frame)
{
    for (int i = 0; i < length; ++i)
        frame[i] = (frame[i] - mean) * window[i];
}

void powers_of_bins(const float* __restrict spectrum, int count, float* __restrict power)
{
    for (int k = 0; k < count; ++k) {
        const float re = spectrum[2 * k];
        const float im = spectrum[2 * k + 1];
        power[k] = re * re + im * im;
    }
}

} // namespace

void power_spectrum(const tavel::Vector<float>& window, int transform_size, tavel::Vector<float>& buffer,
                    tavel::Vector<float>& power)
{
    const int length = window.size;
    const float mean = sum_of_frame(buffer.data, length) / static_cast<float>(length);
    apply_window(window.data, mean, length, buffer.data);
    std::fill(buffer.data + length, buffer.data + transform_size, 0.0f);
    tavel::realfft_vec(buffer, transform_size);
    powers_of_bins(buffer.data, transform_size / 2 + 1, power.data);
}

} // namespace veloria
