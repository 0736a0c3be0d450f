#pragma once

#include <array>
#include <cstdint>

namespace veloria {

// Histogram equalization of distances: each is replaced by its place in the distribution of all of them.
// R. C. Gonzalez, R. E. Woods, "Digital Image Processing", 2nd ed., Prentice Hall 2002, section 3.3.1.

constexpr int bin_count = 51;

/// Equally wide bins around the centers k * width, k from 0 to 50, for distances scaled to a largest of 1.
struct distance_bins {
    double scale; ///< what a distance is multiplied by before it is looked up
    double width; ///< from center to center; 0.0 if there is no largest distance to scale by (0 or infinite)

    /// @param largest largest distance that will be looked up, NaN apart; not negative
    explicit distance_bins(double largest);
};

/// Counts how many distances fall in each bin. A distance half way between two centers belongs to the lower bin, a NaN
/// to none.
class distance_histogram {
public:
    void add(const double* distances, int count, const distance_bins& bins);
    /// The counts, integers.
    std::array<double, bin_count> counts() const;

private:
    // Neighboring distances often share a bin. They are counted in turns, so that no addition waits for the one before.
    static constexpr int turns = 4;
    std::int64_t counters[turns][bin_count + 1] = {}; // the last counter of each turn takes the NaN
};

/// Replaces distances by the linear interpolation of a table at the bins' centers.
class distance_mapping {
public:
    /// @param values value at each center, finite
    distance_mapping(const distance_bins& bins, const std::array<double, bin_count>& values);
    /// In place. A distance beyond the last center and a NaN get the last value.
    void map(double* distances, int count);
    /// The largest value mapped to so far, at least 0.0.
    double largest() const;

private:
    static constexpr int block = 64;
    distance_bins bins;
    std::array<double, bin_count + 1> values; // one more than there are centers: it is loaded, but never used
    std::array<double, block> largest_values{};
};

} // namespace veloria
