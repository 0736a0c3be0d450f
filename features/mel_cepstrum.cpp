#include "features/mel_cepstrum.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numbers>

namespace veloria {

namespace {

// (energy^0.1 - 1) / 0.1, rounded to single precision at each step; -10 at 0.
float compress(float energy)
{
    return (std::exp(std::log(energy) * 0.1f) - 1.0f) * 10.0f;
}

} // namespace

cepstrum_table make_cepstrum_table()
{
    constexpr double half_step = std::numbers::pi / (2 * mel_filter_count);
    cepstrum_table table;
    for (std::size_t n = 0; n < table.size(); ++n) {
        for (std::size_t r = 0; r < table[n].size(); ++r) {
            const double norm = std::sqrt((r == 0 ? 1.0 : 2.0) / mel_filter_count);
            table[n][r] = std::cos(static_cast<double>((2 * n + 1) * r) * half_step) * norm;
        }
    }
    return table;
}

void mel_cepstrum(const cepstrum_table& table, const float* energies, double* coefficients)
{
    std::fill_n(coefficients, cepstrum_size, 0.0);
    if (std::all_of(energies, energies + mel_filter_count, [](float energy) { return energy == 0.0f; }))
        return;
    for (std::size_t n = 0; n < table.size(); ++n) {
        const double level = compress(energies[n]);
        for (std::size_t r = 0; r < table[n].size(); ++r)
            coefficients[r] += level * table[n][r];
    }
}

} // namespace veloria
