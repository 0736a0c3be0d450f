#include "veloria/numeric_environment.h"

#if defined(__x86_64__)
#    include <xmmintrin.h>
#else
#    include <cfenv>
#endif

namespace veloria {

#if defined(__x86_64__)

namespace {

// Fields of the control registers; Intel 64 and IA-32 Architectures Software Developer's Manual, volume 1,
// sections 8.1.5 and 10.2.3.
constexpr std::uint32_t vector_rounding = 0x6000, vector_flush_to_zero = 0x8000;
constexpr std::uint32_t vector_mask = vector_rounding | vector_flush_to_zero;
constexpr std::uint16_t extended_mask = 0x0f00, extended_double_precision = 0x0200;

void set_vector_fields(std::uint32_t fields)
{
    _mm_setcsr((_mm_getcsr() & ~vector_mask) | fields);
}

std::uint16_t extended_control()
{
    std::uint16_t word = 0;
    __asm__ __volatile__("fnstcw %0" : "=m"(word));
    return word;
}

void set_extended_fields(std::uint16_t fields)
{
    const auto word = static_cast<std::uint16_t>((extended_control() & ~extended_mask) | fields);
    __asm__ __volatile__("fldcw %0" : : "m"(word));
}

} // namespace

numeric_environment::numeric_environment()
    : vector_fields(_mm_getcsr() & vector_mask),
      extended_fields(static_cast<std::uint16_t>(extended_control() & extended_mask))
{
    set_vector_fields(vector_flush_to_zero);
    set_extended_fields(extended_double_precision);
}

numeric_environment::~numeric_environment()
{
    set_extended_fields(extended_fields);
    set_vector_fields(vector_fields);
}

#else

// The rounding is what the standard library can set.
numeric_environment::numeric_environment()
    : vector_fields(static_cast<std::uint32_t>(std::fegetround())), extended_fields(0)
{
    std::fesetround(FE_TONEAREST);
}

numeric_environment::~numeric_environment()
{
    std::fesetround(static_cast<int>(vector_fields));
}

#endif

} // namespace veloria
