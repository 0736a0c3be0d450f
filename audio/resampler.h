#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace corvane {

/// A fraction of whole numbers.
struct rational {
    std::uint32_t numerator, denominator;
};

/// Develops `x` into a continued fraction by nearest integers and returns the first of its fractions that lies within
/// 1e-12 of `x`, or within its rounding error if that is larger. For an infinite number or NaN, some fraction.
rational rational_ratio(double x);

/// The sizes of a resampling filter. It works on the input with `up` - 1 zeros after each sample; the output takes each
/// `down`-th value of the result.
struct filter_sizes {
    std::int64_t up = 1, down = 1;
    std::int64_t length = 0;  ///< coefficients, those for the padding included
    std::int64_t padding = 0; ///< zeros in front, so that an output falls on the center
    std::int64_t taps = 0;    ///< length of one phase, even
    std::int64_t latency = 0; ///< outputs of the filter's delay, dropped at the start and made up by flush()
};

/// Converts a mono signal, block by block, to another rate by a rational factor: a polyphase FIR filter, a Kaiser
/// window over a least-squares lowpass, with its delay taken out. Where a block ends changes no bit of the result.
/// R. E. Crochiere, L. R. Rabiner, "Multirate Digital Signal Processing", Prentice-Hall 1983.
class Resampler {
public:
    static constexpr int block_size = 16384; ///< samples that the input area has room for

    /// Designs the filter. Equal rates need none: the samples pass as they are.
    /// @throws tavel::error "The resampler can't operate with sampling rates equal to zero.\n..." for a rate below 1;
    ///         "The resampling ratio is too low for this frame size: increase the frame size" if a whole first block
    ///         would yield nothing and is no multiple of the step; std::length_error for a filter of more than 2^31
    ///         coefficients; std::bad_alloc
    Resampler(int target_hz, int source_hz);

    const filter_sizes& sizes() const { return filter; }

    /// Where the caller puts the next block, up to `block_size` samples. Zero at first.
    double* input_area() { return input.data() + input.size() - block_size; }

    /// Outputs that a block of `n` samples will yield now.
    /// @throws tavel::error "The resampling ratio is too low for this frame size: increase the frame size"
    std::int64_t output_count(int n) const;

    /// Filters the `n` samples in the input area into the first output_count(n) elements of `out`.
    /// @throws tavel::error "Output vector too small."; the error of output_count()
    void run(int n, std::span<double> out);

    /// Writes the last `latency` outputs, after the last block, to the start of `out`.
    /// @throws tavel::error "Output vector too small."
    void flush(std::span<double> out) const;

private:
    std::int64_t positions(int n) const;

    filter_sizes filter;
    std::vector<double> phases; // up rows of taps coefficients, reversed in time
    std::vector<double> input;  // the last taps - 1 samples of the block before, then the block
    std::int64_t phase = 0;     // of the next output, from the first sample of the next block, on the upsampled grid
    bool first_block = true;
};

} // namespace corvane
