#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "quillon/sdif_types.h"

namespace Quillon {

/// Facts about a whole file, as text.
class SDIFNameValueTable {
public:
    /// The text of a table has no escape: in the value each control character, each of ; { } and each byte that is
    /// no part of valid UTF-8 becomes one `_`.
    /// @throws TypeError "Error in SDIFNameValueTable::AddNameValue:: empty name", "Error in
    ///         SDIFNameValueTable::AddNameValue:: invalid character in name" for a name with white space, such a
    ///         character or a comma, "Error in SDIFNameValueTable::AddNameValue:: name exists"
    void AddNameValue(const std::string& name, const std::string& value);

    std::uint32_t stream_id() const { return table_stream; }
    /// The table as it stands in a file.
    std::string text() const;

private:
    std::vector<std::pair<std::string, std::string>> entries;
};

} // namespace Quillon
