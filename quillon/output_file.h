#pragma once

#include <cstddef>
#include <string>

namespace Quillon {

/// A file that is written from start to end. Nothing is buffered here: each error is thrown where it happens.
class OutputFile {
public:
    OutputFile() = default;
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;
    /// Closes without an error; the file stays as far as it came.
    ~OutputFile();

    /// Creates the file or empties the one that is there; false if that fails.
    bool open(const std::string& file_path);
    /// @throws std::runtime_error "error writing file 'PATH': REASON", the reason in the system's words
    void write(const unsigned char* bytes, std::size_t count);
    /// @throws as write does
    void close();

private:
    std::string path;
    int descriptor = -1;
};

} // namespace Quillon
