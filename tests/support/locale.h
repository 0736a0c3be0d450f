#pragma once

#include <locale>
#include <string>

/// As long as it lives, the process has a locale that writes 44.100,5.
class foreign_locale {
public:
    foreign_locale() = default;
    foreign_locale(const foreign_locale&) = delete;
    foreign_locale& operator=(const foreign_locale&) = delete;
    ~foreign_locale() { std::locale::global(before); }

private:
    struct numbers : std::numpunct<char> {
        char do_decimal_point() const override { return ','; }
        char do_thousands_sep() const override { return '.'; }
        std::string do_grouping() const override { return "\3"; }
    };
    std::locale before = std::locale::global(std::locale(std::locale::classic(), new numbers));
};
