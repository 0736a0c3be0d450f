#pragma once

#include <array>
#include <memory>

namespace libfft {

/// Length, number of factors, then the factors in the order of the passes. No length has more than 3^19 has.
using pass_factors = std::array<int, 21>;

/// Tables and scratch for transforms of one length. A table set belongs to one transform at a time.
template <class T>
struct transform_tables {
    std::unique_ptr<T[]> data; ///< scratch values for the passes, then as many twiddle values
    pass_factors factors;
};

/// Mixed-radix transforms of any length from 1 on, after P. N. Swarztrauber, "Vectorizing the FFTs", in G. Rodrigue
/// (ed.), Parallel Computations, Academic Press, 1982: a pass per factor, with a butterfly of its own for 2, 3, 4
/// and 5, and one for all other odd factors. Instantiated for float and double.
/// @throws std::bad_alloc
template <class T>
transform_tables<T> real_setup(int size);
template <class T>
transform_tables<T> complex_setup(int size);

/// In place on `size` values, from and to the packed spectrum of realfft. The inverse carries the factor 1 / size.
/// The values at both special frequencies share the first slot, so the size must be even.
template <class T>
void real_forward(int size, T* data, transform_tables<T>& tables) noexcept;
template <class T>
void real_inverse(int size, T* data, transform_tables<T>& tables) noexcept;

/// In place on `size` interleaved complex values. The inverse carries the factor 1 / size.
template <class T>
void complex_forward(int size, T* data, transform_tables<T>& tables) noexcept;
template <class T>
void complex_inverse(int size, T* data, transform_tables<T>& tables) noexcept;

} // namespace libfft
