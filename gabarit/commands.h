#pragma once

#include <string>

// What the subcommands do beside drawing. Each throws Quillon::FormatError where the file is no whole gabarit, and
// std::runtime_error for a failing read or write.

/// Table, information frame, size, times and settings: a line "name: value" each, or one JSON object.
std::string describe_gabarit(const std::string& path, bool as_json);

/// Goes through the whole file; a gabarit must be symmetric, with 255 on the diagonal.
/// @return n
int verify_gabarit(const std::string& path);

/// Whether the path ends in .npy or .csv.
bool is_export_path(const std::string& path);

/// Writes the numbers: `NAME.npy`, an array of n by n bytes, a row per frame, with their times as float64 in
/// `NAME.times.npy`; or `NAME.csv`, a row "time, v0 ... v(n-1)" per frame under a header of times.
void export_gabarit(const std::string& sdif_path, const std::string& path);
