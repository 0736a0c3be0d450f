#include "fft/mixed_radix.h"

#include <algorithm>
#include <cstddef>

#include "fft/mixed_radix_pass.h"

namespace libfft {

pass_factors factorize(int size, const std::array<int, 4>& first_tries)
{
    pass_factors result{size};
    const auto factors = result.begin() + 2;
    int count = 0;
    int divisor = 0;
    int rest = size;
    for (std::size_t attempt = 0; rest > 1; ++attempt) {
        divisor = attempt < first_tries.size() ? first_tries[attempt] : divisor + 2;
        for (; rest % divisor == 0; rest /= divisor) {
            factors[count++] = divisor;
            if (divisor == 2)
                std::rotate(factors, factors + count - 1, factors + count);
        }
    }
    result[1] = count;
    return result;
}

} // namespace libfft
