#pragma once

#include <algorithm>
#include <cstdint>
#include <random>
#include <vector>

#include "tavel/tavel_dense_vector.h"

/// White noise between -1 and 1, the same for each call of one count.
template <class T>
std::vector<T> noise(std::int64_t count)
{
    std::mt19937 generator(static_cast<unsigned>(count));
    std::uniform_real_distribution<double> values(-1.0, 1.0);
    std::vector<T> samples(static_cast<std::size_t>(count));
    std::generate(samples.begin(), samples.end(), [&] { return static_cast<T>(values(generator)); });
    return samples;
}

/// A stream of features without structure.
inline tavel::Matrix<double> noise_matrix(int rows, int columns)
{
    tavel::Matrix<double> stream(rows, columns);
    std::ranges::copy(noise<double>(std::int64_t{rows} * columns), stream.data);
    return stream;
}
