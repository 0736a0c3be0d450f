#pragma once

#include <string>

#include "tavel/tavel_dense_vector.h"

namespace veloria {

/// Writes a similarity picture as a gabarit: an SDIF file laid out like a spectrogram: a frame for each moment, with
/// n bytes where a spectrum has its bins.
/// @param similarity  n by n
/// @param frame_times n, seconds, ascending
/// @param command     the command line that repeats the analysis
/// @param sample_rate of the input, Hz
/// @param channels    of the input
/// @throws std::runtime_error "Error opening file 'PATH' for writing"; "error writing file 'PATH': REASON", which
///         leaves the file as far as it came
void write_gabarit(const tavel::Matrix<unsigned char>& similarity, const tavel::Vector<double>& frame_times,
                   const std::string& input_path, const std::string& command, double sample_rate, int channels,
                   const std::string& output_path);

} // namespace veloria
