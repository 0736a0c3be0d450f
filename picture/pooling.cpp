#include "picture/pooling.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace picture {

namespace {

// Sums of the cells under each pixel. Both sides of the square are cells * pixels units long: a cell takes `pixels` of
// them and a pixel takes `cells`, so that all weights are whole numbers.
void reduce_column(const unsigned char* column, std::uint64_t cells, std::uint64_t pixels, std::uint64_t* sums)
{
    std::uint64_t cell = 0;
    std::uint64_t cell_end = pixels;
    for (std::uint64_t pixel = 0, begin = 0; pixel < pixels; ++pixel, begin += cells) {
        const std::uint64_t end = begin + cells;
        std::uint64_t from = begin, sum = 0;
        while (cell_end < end) {
            sum += (cell_end - from) * column[cell];
            from = cell_end;
            cell_end += pixels;
            ++cell;
        }
        sums[pixel] = sum + (end - from) * column[cell];
    }
}

// The pixel in which the center of a cell lies.
std::uint64_t home_of(std::uint64_t cell, std::uint64_t cells, std::uint64_t pixels)
{
    return (2 * cell + 1) * pixels / (2 * cells);
}

} // namespace

pooling::pooling(int cell_count, int pixel_count)
    : cells(static_cast<std::uint64_t>(cell_count)), pixels(static_cast<std::uint64_t>(pixel_count)), reduced(pixels),
      sums(pixels), brightest(pixels)
{
    result.reserve(pixels * pixels);
}

void pooling::add_column(const unsigned char* column)
{
    reduce_column(column, cells, pixels, reduced.data());
    const std::uint64_t center = position + pixels / 2, end = position + pixels;
    bool is_compared = cells <= pixels; // then every pixel is a mean
    while (position < end) {
        const std::uint64_t pixel_end = (position / cells + 1) * cells;
        const std::uint64_t stop = std::min(end, pixel_end);
        add_to_sums(stop - position);
        if (!is_compared && center < stop) {
            for (std::uint64_t i = 0; i < cells; ++i) {
                unsigned char& most = brightest[home_of(i, cells, pixels)];
                most = std::max(most, column[i]);
            }
            is_compared = true;
        }
        position = stop;
        if (stop == pixel_end)
            finish_column();
    }
}

void pooling::add_to_sums(std::uint64_t width)
{
    for (std::size_t i = 0; i < sums.size(); ++i)
        sums[i] += width * reduced[i];
}

void pooling::finish_column()
{
    const double area = static_cast<double>(cells * cells); // a sum reaches 255 times this, below 2^56
    for (std::size_t i = 0; i < sums.size(); ++i) {
        const double mean = static_cast<double>(sums[i]) / area;
        const double excess = cells > pixels ? brightest[i] - mean : 0.0;
        result.push_back(static_cast<unsigned char>(std::lround(mean + excess * excess / 510.0)));
        sums[i] = 0;
        brightest[i] = 0;
    }
}

} // namespace picture
