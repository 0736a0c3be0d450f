#pragma once

#include <cstddef>
#include <cstdio>
#include <memory>
#include <string>
#include <string_view>

namespace picture {

/// A file that appears under its name only when it is whole: it is written beside, then renamed. What isn't
/// committed is removed.
class whole_file {
public:
    /// @throws std::system_error if nothing can be written there; std::runtime_error if something stands there that
    ///         is no regular file
    explicit whole_file(const std::string& path);
    ~whole_file();

    /// @return false if a write failed, this one or one before; `commit` then throws the reason
    bool write(const void* bytes, std::size_t count);
    bool write(std::string_view text) { return write(text.data(), text.size()); }

    /// @throws std::system_error for the first failed write
    void commit();

private:
    struct closer {
        void operator()(std::FILE* file) const { std::fclose(file); }
    };

    std::string path_, part_path_;
    std::unique_ptr<std::FILE, closer> file_;
    int error_ = 0; // errno of the first failed write
};

} // namespace picture
