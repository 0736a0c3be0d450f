#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

namespace Quillon {

/// A declaration that no SDIF file can hold.
class TypeError : public std::logic_error {
public:
    using std::logic_error::logic_error;
    /// How grave it is: 1, the file can't be written.
    int error_level() const { return 1; }
};

/// A kind of matrix: its signature and its columns in order. 0 is no signature.
class MatrixType {
public:
    explicit MatrixType(std::uint32_t type_signature = 0) : own_signature(type_signature) {}

    /// @throws TypeError "Error in MatrixType::AddColumn:: empty column" for a null or empty name, "Error in
    ///         MatrixType::AddColumn:: invalid character in column_name" for one with a blank or any of ; , { }
    void AddColumn(const char* name);

    std::uint32_t signature() const { return own_signature; }
    /// A line of a file's type table.
    std::string declaration() const;

private:
    std::uint32_t own_signature;
    std::vector<std::string> columns;
};

/// A kind of frame: its signature and the matrices it may hold, each under a name of its own.
class FrameType {
public:
    explicit FrameType(std::uint32_t type_signature) : own_signature(type_signature) {}

    /// @throws TypeError "Error in FrameType::AddMatrixType::uninitialized matrix ", "Error in
    ///         FrameType::AddMatrixType:: empty column" for a null or empty name, "Error in
    ///         FrameType::AddMatrixType:: matrix type exists.", "Error in FrameType::AddMatrixType:: invalid
    ///         character in matrix_name" for a name with a blank or any of ; , { }; tested in this order
    void AddMatrixType(const MatrixType& type, const char* name);

    std::uint32_t signature() const { return own_signature; }
    /// Lines of a file's type table.
    std::string declaration() const;

private:
    std::uint32_t own_signature;
    std::vector<std::string> names;
    std::vector<MatrixType> types;
};

} // namespace Quillon
