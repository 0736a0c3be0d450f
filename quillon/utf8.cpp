#include "quillon/utf8.h"

#include <algorithm>

namespace Quillon {

namespace {

// Leading bytes of one kind, and what their second byte may be; the further ones are 80 to bf. The narrower limits
// leave out overlong forms, surrogates and what lies beyond 10ffff.
struct leading_bytes {
    unsigned char first, last;
    unsigned char second_first, second_last;
    unsigned char character_bytes;
};

// The Unicode Standard 15.0, table 3-7.
constexpr leading_bytes kinds[] = {
    {0xc2, 0xdf, 0x80, 0xbf, 2}, {0xe0, 0xe0, 0xa0, 0xbf, 3}, {0xe1, 0xec, 0x80, 0xbf, 3}, {0xed, 0xed, 0x80, 0x9f, 3},
    {0xee, 0xef, 0x80, 0xbf, 3}, {0xf0, 0xf0, 0x90, 0xbf, 4}, {0xf1, 0xf3, 0x80, 0xbf, 4}, {0xf4, 0xf4, 0x80, 0x8f, 4},
};

bool is_between(char byte, unsigned char first, unsigned char last)
{
    const auto value = static_cast<unsigned char>(byte);
    return first <= value && value <= last;
}

} // namespace

std::size_t utf8_character_bytes(std::string_view text)
{
    if (text.empty())
        return 0;
    if (is_between(text[0], 0x00, 0x7f))
        return 1;
    for (const leading_bytes& kind : kinds) {
        if (!is_between(text[0], kind.first, kind.last))
            continue;
        const std::string_view rest = text.substr(1, kind.character_bytes - std::size_t{1});
        const bool whole = rest.size() + 1 == kind.character_bytes &&
                           is_between(rest[0], kind.second_first, kind.second_last) &&
                           std::all_of(rest.begin(), rest.end(), [](char c) { return is_between(c, 0x80, 0xbf); });
        return whole ? kind.character_bytes : 0;
    }
    return 0;
}

} // namespace Quillon
