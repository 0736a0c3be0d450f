// The transforms of every kind of size against direct sums, and from many threads at once.
#include "fft/realfft.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <complex>
#include <cstddef>
#include <limits>
#include <numbers>
#include <thread>
#include <vector>

#include "fft/mixed_radix_pass.h"
#include "fft/registry.h"
#include "tests/support/noise.h"

namespace {

// Interleaved complex values by the definition.
template <class T>
std::vector<double> direct_transform(const std::vector<T>& interleaved)
{
    const std::size_t size = interleaved.size() / 2;
    std::vector<std::complex<double>> roots;
    for (std::size_t k = 0; k < size; ++k)
        roots.push_back(std::polar(1.0, -2.0 * std::numbers::pi * static_cast<double>(k) / static_cast<double>(size)));
    std::vector<double> spectrum;
    for (std::size_t k = 0; k < size; ++k) {
        std::complex<double> sum;
        for (std::size_t n = 0; n < size; ++n)
            sum += std::complex<double>(interleaved[2 * n], interleaved[2 * n + 1]) * roots[n * k % size];
        spectrum.insert(spectrum.end(), {sum.real(), sum.imag()});
    }
    return spectrum;
}

template <class T>
std::vector<double> direct_packed_transform(const std::vector<T>& samples)
{
    std::vector<T> interleaved;
    for (const T sample : samples)
        interleaved.insert(interleaved.end(), {sample, T(0)});
    std::vector<double> spectrum = direct_transform(interleaved);
    spectrum[1] = spectrum[samples.size()];
    spectrum.resize(samples.size());
    return spectrum;
}

template <class T, class U>
double relative_rms(const std::vector<T>& values, const std::vector<U>& expected)
{
    double error = 0.0, power = 0.0;
    for (std::size_t i = 0; i < expected.size(); ++i) {
        error += std::pow(static_cast<double>(values[i]) - static_cast<double>(expected[i]), 2);
        power += std::pow(static_cast<double>(expected[i]), 2);
    }
    return std::sqrt(error / power);
}

// An FFT errs by at most about epsilon * log2(N) (J. C. Schatzman, SIAM J. Sci. Comput. 17(5), 1996). A pass by a large
// prime sums as many terms one after the other and errs by the root of their number.
template <class T>
double bound(int size, int largest_prime)
{
    const double passes = std::log2(size) + (largest_prime > 5 ? std::sqrt(largest_prime) : 0.0);
    return 4.0 * std::numeric_limits<T>::epsilon() * passes;
}

int largest_prime_of(int size)
{
    int prime = 1;
    for (int factor = 2; size > 1; ++factor)
        for (; size % factor == 0; size /= factor)
            prime = factor;
    return prime;
}

template <class T>
class Fft : public testing::Test {};
using precisions = testing::Types<float, double>;
TYPED_TEST_SUITE(Fft, precisions);

std::vector<int> even_sizes()
{
    std::vector<int> sizes{256, 512, 1000, 1024, 2018, 2048, 4096, 4410};
    for (int size = 2; size <= 4096; size += size < 132 ? 2 : 466)
        sizes.push_back(size);
    return sizes;
}

TYPED_TEST(Fft, TransformsRealSignalsOfEveryEvenSizeAndBack)
{
    for (const int size : even_sizes()) {
        SCOPED_TRACE(size);
        const double limit = bound<TypeParam>(size, largest_prime_of(size));
        const auto samples = noise<TypeParam>(size);
        auto input = samples, spectrum = samples, in_place = samples;
        ASSERT_TRUE(libfft::realfft(input.data(), spectrum.data(), size, 1));
        ASSERT_TRUE(libfft::realfft(in_place.data(), in_place.data(), size, 1));
        EXPECT_EQ(input, samples);
        EXPECT_EQ(in_place, spectrum);
        EXPECT_LT(relative_rms(spectrum, direct_packed_transform(samples)), limit);

        const auto stored = spectrum;
        ASSERT_TRUE(libfft::realfft(input.data(), spectrum.data(), size, -1));
        ASSERT_TRUE(libfft::realfft(in_place.data(), in_place.data(), size, -1));
        EXPECT_EQ(spectrum, stored);
        EXPECT_EQ(in_place, input);
        EXPECT_LT(relative_rms(input, samples), limit);
    }
}

TYPED_TEST(Fft, TransformsComplexSignalsOfEverySizeAndBack)
{
    std::vector<int> sizes{1000, 1009, 1024};
    for (int size = 1; size <= 66; ++size)
        sizes.push_back(size);
    for (const int size : sizes) {
        SCOPED_TRACE(size);
        const double limit = bound<TypeParam>(size + 1, largest_prime_of(size));
        const auto values = noise<TypeParam>(2 * size);
        auto input = values, spectrum = values;
        ASSERT_TRUE(libfft::complexfft(input.data(), spectrum.data(), size, 1));
        EXPECT_LT(relative_rms(spectrum, direct_transform(values)), limit);
        ASSERT_TRUE(libfft::complexfft(input.data(), spectrum.data(), size, -1));
        EXPECT_LT(relative_rms(input, values), limit);
    }
}

TYPED_TEST(Fft, RefusesWhatItCannotDoAndTouchesNothing)
{
    struct refused_case {
        int size, direction;
    };
    constexpr refused_case cases[] = {
        {8, 0}, {8, 2}, {12, -2}, {0, 1}, {-8, 1}, {7, 1}, {9, -1}, {1, 0}, {std::numeric_limits<int>::min(), 1}};
    for (const refused_case& c : cases) {
        SCOPED_TRACE(testing::Message() << c.size << ' ' << c.direction);
        auto time = noise<TypeParam>(16), spectrum = noise<TypeParam>(32);
        const auto time_before = time, spectrum_before = spectrum;
        EXPECT_FALSE(libfft::realfft(time.data(), spectrum.data(), c.size, c.direction));
        EXPECT_EQ(time, time_before);
        EXPECT_EQ(spectrum, spectrum_before);
    }
    TypeParam single = 3, result = 0;
    EXPECT_TRUE(libfft::realfft(&single, &result, 1, 1));
    EXPECT_EQ(result, 3);
}

TYPED_TEST(Fft, GivesEachThreadAWorkspaceOfItsOwn)
{
    for (const int size : {2048, 1000}) {
        const auto samples = noise<TypeParam>(size);
        auto expected = samples;
        libfft::realfft(expected.data(), expected.data(), size, 1);
        std::vector<std::thread> threads;
        for (int i = 0; i < 4; ++i)
            threads.emplace_back([&] {
                for (int turn = 0; turn < 200; ++turn) {
                    auto spectrum = samples;
                    libfft::realfft(spectrum.data(), spectrum.data(), size, 1);
                    ASSERT_EQ(spectrum, expected);
                }
            });
        for (std::thread& thread : threads)
            thread.join();
    }
}

struct counted_setup {
    static inline int made = 0;
    explicit counted_setup(int) { ++made; }
};

struct counted_workspace {
    static inline int made = 0;
    int value = 7;
    explicit counted_workspace(const counted_setup&) { ++made; }
};

TEST(Registry, MakesASetupForEachSizeAndAWorkspaceForEachTransformAtOnce)
{
    libfft::registry<counted_setup, counted_workspace> workspaces;
    for (int turn = 0; turn < 3; ++turn) {
        const auto first = workspaces.acquire(8), second = workspaces.acquire(8), other = workspaces.acquire(12);
        EXPECT_TRUE(&*first != &*second && &*first != &*other);
        EXPECT_TRUE(counted_setup::made == 2 && counted_workspace::made == 3) << turn;
    }
    const auto held = workspaces.acquire(8);
    workspaces.clear();
    EXPECT_EQ((*held).value, 7);
    workspaces.acquire(8);
    EXPECT_EQ(counted_setup::made, 3);
}

struct factor_case {
    int size;
    std::array<int, 4> tries;
    std::vector<int> factors;
};

constexpr std::array<int, 4> real_tries = {4, 2, 3, 5}, complex_tries = {3, 4, 2, 5};

const factor_case factor_cases[] = {
    {1, real_tries, {}},
    {2, real_tries, {2}},
    {12, real_tries, {4, 3}},
    {12, complex_tries, {3, 4}},
    {14, real_tries, {2, 7}},
    {24, complex_tries, {2, 3, 4}},
    {1000, real_tries, {2, 4, 5, 5, 5}},
    {4410, real_tries, {2, 3, 3, 5, 7, 7}},
    {2018, real_tries, {2, 1009}},
    {1162261467, real_tries, std::vector<int>(19, 3)},
    {2147117569, complex_tries, {46337, 46337}},
};

TEST(MixedRadix, FactorsInTheOrderOfThePasses)
{
    for (const factor_case& c : factor_cases) {
        SCOPED_TRACE(c.size);
        EXPECT_EQ(libfft::factorize(c.size, c.tries), c.factors);
    }
}

} // namespace
