#include "features/mel_filter_bank.h"

#include <cmath>
#include <numbers>

namespace veloria {

namespace {

// A filter while it is designed.
struct filter_draft {
    int first_bin = 0;
    std::vector<double> weights;
    double sum = 0.0;

    // A weight of 0 is met at the two ends of a filter only: the bins of a filter have no gap.
    void add(int bin, double weight)
    {
        if (weight == 0.0)
            return;
        if (weights.empty())
            first_bin = bin;
        weights.push_back(weight);
        sum += weight;
    }
};

using filter_drafts = std::array<filter_draft, mel_filter_count>;

double raised_cosine(double phase)
{
    return 1.0 - std::cos(2.0 * std::numbers::pi * phase);
}

// Filter i covers the mel scale from i / 2 to i / 2 + 1 steps, so that a bin lies under two filters: the one that
// begins with the step of the bin, and the one half a step before or behind. Compared as a double, a NaN lies under
// none.
void add_bin(int bin, double position, filter_drafts& drafts)
{
    const double step = std::floor(position);
    const double phase = position - step;
    const double even = 2.0 * step;
    const auto draft = [&drafts](double index) -> filter_draft& { return drafts[static_cast<std::size_t>(index)]; };
    if (even < mel_filter_count)
        draft(even).add(bin, raised_cosine(phase));
    if (phase >= 0.5) {
        if (even + 1.0 < mel_filter_count)
            draft(even + 1.0).add(bin, raised_cosine(phase - 0.5));
    } else if (step > 0.0) {
        draft(even - 1.0).add(bin, raised_cosine(phase + 0.5));
    }
}

} // namespace

mel_filter_bank design_mel_filter_bank(int transform_size, double sr)
{
    const double mel_step = 2.0 * std::log(1.0 + sr / 1400.0) / 41.0;
    const double bin_width = sr / transform_size;
    filter_drafts drafts;
    for (int bin = 1; bin < transform_size / 2; ++bin)
        add_bin(bin, std::log(bin * bin_width / 700.0 + 1.0) / mel_step, drafts);

    mel_filter_bank bank;
    for (std::size_t n = 0; n < drafts.size(); ++n) {
        const filter_draft& draft = drafts[n];
        bank.filters[n] = {draft.first_bin, static_cast<int>(draft.weights.size()), bank.weights.size()};
        for (const double weight : draft.weights)
            bank.weights.push_back(static_cast<float>(weight / draft.sum));
    }
    return bank;
}

void mel_energies(const mel_filter_bank& bank, const float* power, float* energies)
{
    for (std::size_t n = 0; n < bank.filters.size(); ++n) {
        const mel_filter& filter = bank.filters[n];
        const float* powers = power + filter.first_bin;
        const float* weights = bank.weights.data() + filter.first_weight;
        float energy = 0.0f;
        for (int i = 0; i < filter.bin_count; ++i)
            energy += weights[i] * powers[i];
        energies[n] = energy;
    }
}

} // namespace veloria
