#include "picture/box_average.h"

#include <algorithm>
#include <cstddef>

namespace picture {

namespace {

// Sums of the cells under each pixel. On a line of `cells` times `pixels` units a cell takes `pixels` of them and a
// pixel `cells`: so all weights are whole numbers.
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

} // namespace

box_average::box_average(int cells, int pixels)
    : cells_(static_cast<std::uint64_t>(cells)), pixels_(static_cast<std::uint64_t>(pixels)), reduced_(pixels_),
      sums_(pixels_)
{
    result_.reserve(pixels_ * pixels_);
}

void box_average::add_column(const unsigned char* column)
{
    reduce_column(column, cells_, pixels_, reduced_.data());
    const std::uint64_t end = position_ + pixels_;
    while (position_ < end) {
        const std::uint64_t pixel_end = (position_ / cells_ + 1) * cells_;
        const std::uint64_t stop = std::min(end, pixel_end);
        const std::uint64_t width = stop - position_;
        for (std::size_t i = 0; i < sums_.size(); ++i)
            sums_[i] += width * reduced_[i];
        position_ = stop;
        if (stop == pixel_end)
            finish_column();
    }
}

void box_average::finish_column()
{
    const std::uint64_t area = cells_ * cells_; // sums reach 255 times this: below 2^57 for 2^24 cells
    for (std::uint64_t& sum : sums_) {
        result_.push_back(static_cast<unsigned char>((sum + area / 2) / area));
        sum = 0;
    }
}

} // namespace picture
