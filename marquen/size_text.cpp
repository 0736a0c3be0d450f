#include "marquen/size_text.h"

#include <cctype>
#include <cmath>
#include <stdexcept>
#include <string_view>

namespace marquen {

namespace {

// The factor of a unit in lower case without blanks; 0 for none.
double factor_of(std::string_view unit)
{
    constexpr std::string_view prefixes = "kmgtpe";
    if (unit.empty() || unit == "b" || unit == "byte" || unit == "bytes")
        return 1.0;
    const std::size_t power = prefixes.find(unit.front());
    if (power == std::string_view::npos)
        return 0.0;
    unit.remove_prefix(1);
    const bool binary = unit.starts_with('i');
    if (binary)
        unit.remove_prefix(1);
    return unit.empty() || unit == "b" ? std::pow(binary ? 1024.0 : 1000.0, static_cast<double>(power) + 1.0) : 0.0;
}

} // namespace

std::int64_t size_of(const std::string& text)
{
    const auto refuse = [&text](const char* reason) {
        throw std::invalid_argument("'" + text + "' is no size such as 8.5GB, 500 MiB or 1e9" + reason);
    };
    std::size_t digits = 0;
    double number = -1.0;
    try {
        if (!text.empty() && (std::isdigit(static_cast<unsigned char>(text[0])) != 0 || text[0] == '.'))
            number = std::stod(text, &digits);
    } catch (const std::logic_error&) {
        refuse("");
    }
    std::string unit;
    for (const char letter : text.substr(digits))
        if (letter != ' ')
            unit += static_cast<char>(std::tolower(static_cast<unsigned char>(letter)));
    const double bytes = number * factor_of(unit);
    if (number < 0.0 || factor_of(unit) == 0.0)
        refuse("");
    if (!(bytes < 9.2e18))
        refuse(": it is above 9.2 EB");
    return static_cast<std::int64_t>(bytes);
}

std::string check_size(const std::string& text)
{
    try {
        size_of(text);
        return {};
    } catch (const std::invalid_argument& wrong) {
        return wrong.what();
    }
}

} // namespace marquen
