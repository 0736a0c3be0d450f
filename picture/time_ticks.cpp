#include "picture/time_ticks.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>

namespace picture {

namespace {

struct spacing {
    double seconds; // from label to label
    int parts;      // that unlabelled ticks divide it into
};

constexpr std::array<spacing, 18> round_spacings{{
    {1, 5},
    {2, 4},
    {5, 5},
    {10, 5},
    {15, 3},
    {30, 6},
    {60, 6},
    {120, 4},
    {300, 5},
    {600, 5},
    {900, 3},
    {1800, 6},
    {3600, 6},
    {7200, 4},
    {10800, 3},
    {21600, 6},
    {43200, 6},
    {86400, 4},
}};

spacing choose_spacing(double span, int most)
{
    for (double unit = 0.001; unit < 1.0; unit *= 10.0)
        for (const spacing& s : {spacing{unit, 5}, spacing{2 * unit, 4}, spacing{5 * unit, 5}})
            if (span / s.seconds <= most)
                return s;
    for (const spacing& s : round_spacings)
        if (span / s.seconds <= most)
            return s;
    spacing s = round_spacings.back();
    while (span / s.seconds > most)
        s.seconds *= 2.0;
    return s;
}

std::string padded(std::int64_t number, int width)
{
    const std::string digits = std::to_string(number);
    return std::string(std::max<std::size_t>(digits.size(), static_cast<std::size_t>(width)) - digits.size(), '0') +
           digits;
}

std::string label(double seconds, int decimals, bool with_hours)
{
    const std::int64_t scale = std::llround(std::pow(10.0, decimals));
    const std::int64_t units = std::llround(std::abs(seconds) * static_cast<double>(scale));
    const std::int64_t whole = units / scale;
    std::string text = seconds < 0.0 && units > 0 ? "-" : "";
    text += with_hours ? std::to_string(whole / 3600) + ':' + padded(whole / 60 % 60, 2) : std::to_string(whole / 60);
    text += ':' + padded(whole % 60, 2);
    if (decimals > 0)
        text += '.' + padded(units % scale, decimals);
    return text;
}

} // namespace

std::string time_text(double seconds, int decimals)
{
    return label(seconds, decimals, seconds >= 3600.0);
}

std::vector<time_tick> time_ticks(double begin, double end, int most)
{
    constexpr double longest = 1e9;
    if (!(begin < end) || std::max(std::abs(begin), std::abs(end)) > longest)
        return {};
    const spacing s = choose_spacing(end - begin, most);
    const int decimals = s.seconds >= 1.0 ? 0 : static_cast<int>(std::ceil(-std::log10(s.seconds) - 1e-9));
    const double part = s.seconds / s.parts;
    constexpr double rounding = 1e-6; // of the ends, which are sums of steps
    std::vector<time_tick> ticks;
    const std::int64_t last = std::llround(std::floor(end / part + rounding));
    for (std::int64_t k = std::llround(std::ceil(begin / part - rounding)); k <= last; ++k) {
        const double seconds = static_cast<double>(k) * part;
        ticks.push_back({seconds, k % s.parts == 0 ? label(seconds, decimals, end >= 3600.0) : std::string()});
    }
    return ticks;
}

} // namespace picture
