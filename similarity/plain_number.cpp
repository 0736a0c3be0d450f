#include "similarity/plain_number.h"

#include <charconv>

namespace veloria {

std::string plain_number(double number)
{
    char digits[32]; // a sign, six digits, a point and an exponent of three digits take 13
    const auto end = std::to_chars(digits, digits + sizeof digits, number, std::chars_format::general, 6).ptr;
    return {digits, end};
}

} // namespace veloria
