#pragma once

#include <array>

#include "features/mel_filter_bank.h"

namespace veloria {

constexpr int cepstrum_size = 13;

/// First columns of the orthonormal DCT-II over the filters of the mel bank: a row per filter.
using cepstrum_table = std::array<std::array<double, cepstrum_size>, mel_filter_count>;

cepstrum_table make_cepstrum_table();

/// Cepstrum of mel energies under the power law (e^0.1 - 1) / 0.1, which stands in for the logarithm and stays
/// finite at 0. Energies that are all 0 give zeros.
/// @param energies      mel_filter_count values
/// @param coefficients  cepstrum_size values, coefficient 0 first
/// Power law: G. E. P. Box and D. R. Cox, "An analysis of transformations", J. R. Stat. Soc. B 26(2), 1964.
void mel_cepstrum(const cepstrum_table& table, const float* energies, double* coefficients);

} // namespace veloria
