#include "features/pitch_map.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>
#include <vector>

#include "tavel/min_max_elem.h"
#include "tavel/saturate.h"

namespace veloria {

namespace {

// A bin between two semitones.
struct pitch_bin {
    int lower_class; // 1 is C, 12 is B
    int upper_class;
    double lower_weight;
    double upper_weight;
};

// Semitones above the C below: pitch - 12 floor(pitch (1 + epsilon) / 12), with pitch = 69 + 12 log2(f / 440). The
// epsilon is for a C whose pitch was rounded down: without it, that C would be nearly 12 semitones above the C before.
double position_in_octave(double frequency)
{
    const double pitch = 69.0 + 12.0 * std::log2(frequency / 440.0);
    return pitch - std::floor((pitch + std::numeric_limits<double>::epsilon() * pitch) / 12.0) * 12.0;
}

// Near 1 next to the semitone, 0.5 at the quarter tone.
double closeness(double distance)
{
    return 0.5 * std::tanh(std::numbers::pi * (1.0 - 2.0 * distance)) + 0.5;
}

int class_of(double semitone)
{
    return tavel::saturate_cast<int>(semitone == 12.0 ? 0.0 : semitone) + 1;
}

pitch_bin classify(double frequency)
{
    const double position = position_in_octave(frequency);
    const double lower = std::floor(position);
    const double upper = std::ceil(position);
    return {class_of(lower), class_of(upper), closeness(position - lower), closeness(upper - position)};
}

} // namespace

pitch_map build_pitch_map(int transform_size, double sr, double f_low, double f_high)
{
    const int half_size = transform_size / 2;
    const auto frequency = [=](int bin) { return static_cast<double>(bin) / transform_size * sr; };
    int first_bin = 0;
    while (first_bin < half_size && !(frequency(first_bin) > f_low))
        ++first_bin;
    std::vector<pitch_bin> bins;
    for (int bin = first_bin; bin < half_size && frequency(bin) < f_high; ++bin)
        bins.push_back(classify(frequency(bin)));

    std::vector<int> classes;
    for (const pitch_bin& bin : bins)
        classes.push_back(bin.lower_class);
    std::sort(classes.begin(), classes.end());
    classes.erase(std::unique(classes.begin(), classes.end()), classes.end());
    const auto band_of = [&classes](int pitch_class) {
        return static_cast<int>(std::lower_bound(classes.begin(), classes.end(), pitch_class) - classes.begin());
    };

    pitch_map map;
    map.first_bin = first_bin;
    for (const pitch_bin& bin : bins) {
        map.bin_bands.push_back(band_of(bin.lower_class));
        map.bin_weights.push_back(static_cast<float>(bin.lower_weight));
        map.bin_bands.push_back(band_of(bin.upper_class));
        map.bin_weights.push_back(static_cast<float>(bin.upper_weight));
    }
    map.band_count = tavel::max_elem(map.bin_bands) + 1;
    return map;
}

void add_pitch_powers(const pitch_map& map, const float* power, float bound, float gain, double* column)
{
    const int* bands = map.bin_bands.data;
    const float* weights = map.bin_weights.data;
    const int bins = map.bin_bands.size / 2;
    const float* mapped = power + map.first_bin;
    for (int j = 0; j < bins; ++j) {
        if (mapped[j] >= bound) {
            const float relative = mapped[j] * gain;
            column[bands[2 * j]] += relative * weights[2 * j];
            column[bands[2 * j + 1]] += relative * weights[2 * j + 1];
        }
    }
}

} // namespace veloria
