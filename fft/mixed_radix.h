#pragma once

#include <vector>

namespace libfft {

/// Transforms of one length, any from 1 on, after P. N. Swarztrauber, "Vectorizing the FFTs", in G. Rodrigue (ed.),
/// Parallel Computations, Academic Press, 1982: a pass per factor, with a butterfly of its own for 2, 3, 4 and 5, and
/// one for all other odd factors. An object holds scratch: one transform at a time. Instantiated for float and double.
template <class T>
class mixed_radix_real {
public:
    /// @throws std::bad_alloc
    explicit mixed_radix_real(int size);

    /// In place on `size` values, from and to the packed spectrum of realfft. The inverse carries the factor 1 / size.
    /// The values at both special frequencies share the first slot, so the size must be even.
    void forward(T* data) noexcept;
    void inverse(T* data) noexcept;

private:
    std::vector<int> factors;
    std::vector<T> twiddles, scratch;
};

/// The same for complex values.
template <class T>
class mixed_radix_complex {
public:
    /// @throws std::bad_alloc
    explicit mixed_radix_complex(int size);

    /// In place on `size` interleaved complex values. The inverse carries the factor 1 / size.
    void forward(T* data) noexcept;
    void inverse(T* data) noexcept;

private:
    template <bool INVERSE>
    void run_passes(T* data);

    std::vector<int> factors;
    std::vector<T> twiddles, scratch;
};

} // namespace libfft
