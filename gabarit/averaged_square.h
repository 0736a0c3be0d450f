#pragma once

#include <string>
#include <vector>

/// What is drawn of a gabarit.
struct averaged_square {
    int cells = 0;                         ///< n
    int pixels = 0;                        ///< side of the square
    std::vector<unsigned char> similarity; ///< pixels by pixels, column after column
    double begin_seconds = 0.0;            ///< half a step before the first moment
    double end_seconds = 0.0;              ///< half a step after the last one
    std::string title;                     ///< name of the sound's file
    std::string subtitle;                  ///< settings, empty if they are unknown
};

/// How many pixels a square of n cells is brought to.
struct square_size {
    int pixels;
    bool enlarge; ///< also where there are fewer cells than pixels
};

/// Reads a gabarit, column by column. Without frames there are no similarities.
/// @throws Quillon::FormatError, std::runtime_error, see gabarit_reader
averaged_square read_averaged_square(const std::string& path, const square_size& size);
