#include "gabarit/verify.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <random>
#include <vector>

namespace gabarit {

using Quillon::FormatError;

namespace {

// Finds out whether a square is symmetric without holding it: each row and each column gets the sum of its values times
// weights of their places. A single pair of unequal values never escapes, several do with a chance of about 2^-31.
class symmetry_check {
public:
    explicit symmetry_check(int size) : weights(static_cast<std::size_t>(size)), rows(weights), columns(weights)
    {
        std::mt19937 random; // the same weights each time
        std::ranges::generate(weights, [&] { return (random() >> 1) + 1; });
    }

    void add_column(std::size_t index, const std::vector<unsigned char>& values)
    {
        // 2^24 values of 8 bits with weights of 31 bits: no sum passes 2^63.
        for (std::size_t i = 0; i < values.size(); ++i) {
            rows[i] += weights[index] * values[i];
            columns[index] += weights[i] * values[i];
        }
    }

    // The first index whose row and column differ, or the size.
    std::size_t first_difference() const
    {
        return static_cast<std::size_t>(std::ranges::mismatch(rows, columns).in1 - rows.begin());
    }

private:
    std::vector<std::uint64_t> weights, rows, columns;
};

} // namespace

void verify(reader& gabarit, const std::function<void(const column&)>& take)
{
    symmetry_check symmetry(gabarit.size());
    std::vector<std::uint64_t> offsets;
    for (column read{}; gabarit.next_column(read);) {
        const std::size_t i = offsets.size();
        if (read.similarity[i] != 255)
            throw FormatError(read.offset, "frame " + std::to_string(i) + " is not like itself: the diagonal has " +
                                               std::to_string(read.similarity[i]) + " instead of 255");
        symmetry.add_column(i, read.similarity);
        offsets.push_back(read.offset);
        take(read);
    }
    if (const std::size_t i = symmetry.first_difference(); i < offsets.size())
        throw FormatError(offsets[i], "not symmetric: the values of frame " + std::to_string(i) +
                                          " differ from those of the others for it");
}

int verify(const std::string& path)
{
    reader gabarit(path);
    verify(gabarit, [](const column&) {});
    return gabarit.size();
}

} // namespace gabarit
