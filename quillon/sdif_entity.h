#pragma once

#include <string>
#include <vector>

#include "quillon/name_value_table.h"
#include "quillon/output_file.h"
#include "quillon/sdif_frame.h"
#include "quillon/type_declarations.h"

namespace Quillon {

/// An SDIF file being written. Tables and types come before it is opened, frames after, in ascending time. A file
/// that nobody closes stays as far as it came.
class SDIFEntity {
public:
    void AddNVT(const SDIFNameValueTable& table) { tables.push_back(table); }
    void AddMatrixType(const MatrixType& type) { matrix_declarations += type.declaration(); }
    void AddFrameType(const FrameType& type) { frame_declarations += type.declaration(); }

    /// Creates or empties the file and writes all that stands before the frames.
    /// @return false if the file can't be opened
    /// @throws std::runtime_error "error writing file 'PATH': REASON"
    bool OpenWrite(const std::string& path);
    /// @throws std::runtime_error "error writing file 'PATH': REASON"; std::out_of_range for a frame that is too large
    void WriteFrame(const SDIFFrame& frame);
    /// @throws std::runtime_error "error writing file 'PATH': REASON"
    void Close() { file.close(); }

private:
    std::vector<SDIFNameValueTable> tables;
    std::string matrix_declarations;
    std::string frame_declarations;
    OutputFile file;
    std::vector<unsigned char> frame_bytes; // one frame after the other
};

} // namespace Quillon
