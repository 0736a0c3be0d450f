#include "quillon/type_declarations.h"

#include <algorithm>
#include <cstddef>
#include <string_view>

#include "quillon/sdif_types.h"

namespace Quillon {

namespace {

bool is_empty(const char* name)
{
    return name == nullptr || *name == '\0';
}

bool has_delimiter(std::string_view name)
{
    return name.find_first_of(" ;,{}") != name.npos;
}

} // namespace

void MatrixType::AddColumn(const char* name)
{
    if (is_empty(name))
        throw TypeError("Error in MatrixType::AddColumn:: empty column");
    if (has_delimiter(name))
        throw TypeError("Error in MatrixType::AddColumn:: invalid character in column_name");
    columns.emplace_back(name);
}

std::string MatrixType::declaration() const
{
    std::string text = "1MTD\t" + signature_text(own_signature) + "\t{";
    for (std::size_t i = 0; i < columns.size(); ++i)
        text += (i == 0 ? "" : ", ") + columns[i];
    return text + "}\n";
}

void FrameType::AddMatrixType(const MatrixType& type, const char* name)
{
    if (type.signature() == 0)
        throw TypeError("Error in FrameType::AddMatrixType::uninitialized matrix ");
    if (is_empty(name))
        throw TypeError("Error in FrameType::AddMatrixType:: empty column");
    if (std::any_of(types.begin(), types.end(),
                    [&](const MatrixType& held) { return held.signature() == type.signature(); }))
        throw TypeError("Error in FrameType::AddMatrixType:: matrix type exists.");
    if (has_delimiter(name))
        throw TypeError("Error in FrameType::AddMatrixType:: invalid character in matrix_name");
    names.emplace_back(name);
    types.push_back(type);
}

std::string FrameType::declaration() const
{
    std::string text = "1FTD\t" + signature_text(own_signature) + "\n{\n";
    for (std::size_t i = 0; i < types.size(); ++i)
        text += signature_text(types[i].signature()) + "\t" + names[i] + ";\n";
    return text + "}\n";
}

} // namespace Quillon
