// Transforms of any size: against the sum itself at some bins, and back to the signal.
#include <bit>
#include <cmath>
#include <complex>
#include <limits>
#include <numbers>
#include <numeric>
#include <vector>

#include "fft/realfft.h"
#include "fuzz/input.h"

namespace {

constexpr int longest = 4096;

// As in tests/fft_test.cpp, with the root of the size in the place of that of its largest prime.
double error_bound(unsigned size, double epsilon)
{
    return 4.0 * epsilon * (1.0 + std::log2(size) + (std::has_single_bit(size) ? 0.0 : std::sqrt(size)));
}

template <class T>
double norm(const std::vector<T>& values)
{
    return std::sqrt(std::inner_product(values.begin(), values.end(), values.begin(), 0.0));
}

template <class T>
std::complex<double> direct_bin(const std::vector<T>& signal, int bin)
{
    const auto size = static_cast<std::int64_t>(signal.size());
    std::complex<double> sum;
    for (std::int64_t i = 0; i < size; ++i)
        sum +=
            static_cast<double>(signal[static_cast<std::size_t>(i)]) *
            std::polar(1.0, -2.0 * std::numbers::pi * static_cast<double>(i * bin % size) / static_cast<double>(size));
    return sum;
}

template <class T>
void check(int size, fuzz_input input)
{
    std::vector<T> signal(static_cast<std::size_t>(size)), spectrum(signal.size(), T{5}), back(signal.size());
    for (T& value : signal)
        value = static_cast<T>(input.take<std::int16_t>()) / T{256};
    const bool done = libfft::realfft(signal.data(), spectrum.data(), size, 1);
    EXPECT_LAW(done == (size == 1 || size % 2 == 0));
    if (!done) {
        EXPECT_LAW(spectrum == std::vector<T>(spectrum.size(), T{5}));
        return;
    }
    const double bound = error_bound(static_cast<unsigned>(size), std::numeric_limits<T>::epsilon()) * norm(signal);
    for (int i = 0; i < 2 && size > 1; ++i) {
        const int bin = i == 0 ? size / 2 * (size / 2 % 2) : input.take<std::uint16_t>() % (size / 2 + 1);
        const auto at = static_cast<std::size_t>(2 * bin);
        const std::complex<double> value = bin == 0          ? std::complex<double>(spectrum[0])
                                           : bin == size / 2 ? std::complex<double>(spectrum[1])
                                                             : std::complex<double>(spectrum[at], spectrum[at + 1]);
        EXPECT_LAW(std::abs(value - direct_bin(signal, bin)) <= bound * std::sqrt(size));
    }
    EXPECT_LAW(libfft::realfft(back.data(), spectrum.data(), size, -1));
    for (std::size_t i = 0; i < signal.size(); ++i)
        back[i] -= signal[i];
    EXPECT_LAW(norm(back) <= 2.0 * bound);
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz_input input(data, size);
    const int length = 1 + input.take<std::uint16_t>() % longest;
    check<float>(length, input);
    check<double>(length, input);
    float untouched[2] = {1.0F, 2.0F};
    EXPECT_LAW(!libfft::realfft(untouched, untouched, -length, 1) && untouched[0] == 1.0F);
    return 0;
}
