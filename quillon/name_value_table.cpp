#include "quillon/name_value_table.h"

#include <algorithm>
#include <cstddef>
#include <string_view>

#include "quillon/type_declarations.h"
#include "quillon/utf8.h"

namespace Quillon {

namespace {

bool is_control_or_delimiter(char c)
{
    const auto byte = static_cast<unsigned char>(c);
    return byte < 0x20 || byte == 0x7f || c == ';' || c == '{' || c == '}';
}

std::string storable(std::string_view value)
{
    std::string stored;
    while (!value.empty()) {
        const std::size_t bytes = utf8_character_bytes(value);
        if (bytes == 0 || is_control_or_delimiter(value[0]))
            stored += '_';
        else
            stored += value.substr(0, bytes);
        value.remove_prefix(std::max<std::size_t>(bytes, 1));
    }
    return stored;
}

} // namespace

void SDIFNameValueTable::AddNameValue(const std::string& name, const std::string& value)
{
    if (name.empty())
        throw TypeError("Error in SDIFNameValueTable::AddNameValue:: empty name");
    if (storable(name) != name || name.find_first_of(" ,") != name.npos)
        throw TypeError("Error in SDIFNameValueTable::AddNameValue:: invalid character in name");
    if (std::any_of(entries.begin(), entries.end(), [&](const auto& entry) { return entry.first == name; }))
        throw TypeError("Error in SDIFNameValueTable::AddNameValue:: name exists");
    entries.emplace_back(name, storable(value));
}

std::string SDIFNameValueTable::text() const
{
    std::string text = "{\n";
    for (const auto& [name, value] : entries)
        text += name + "\t" + value + ";\n";
    return text + "}";
}

} // namespace Quillon
