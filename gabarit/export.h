#pragma once

#include <string>
#include <vector>

#include "picture/whole_file.h"

namespace gabarit {

/// Whether the path ends in .npy or .csv.
bool is_export_path(const std::string& path);

/// Writes the numbers: `NAME.npy`, an array of n by n bytes, a row per moment, with the times of the moments as float64
/// in `NAME.times.npy`; or `NAME.csv`, a row "time, v0 ... v(n-1)" per moment under a header "#time" of times.
/// @throws Quillon::FormatError where it is no whole gabarit; std::runtime_error for a failing read or write
/// Both files of NumPy appear, or none.
void export_numbers(const std::string& sdif_path, const std::string& path, picture::existing treatment);

/// The files that it writes.
std::vector<std::string> exported_files(const std::string& path);

} // namespace gabarit
