#pragma once

#include <sys/types.h>

#include <cstddef>
#include <cstdio>
#include <initializer_list>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "picture/leftovers.h"

namespace picture {

/// What becomes of a file that stands under the name of an output.
enum class existing { refuse, replace };

/// The file that a write to the path reaches, absolute: links are followed, also one that leads to nothing yet.
/// @throws std::system_error if links go round in a circle or a folder can't be read
std::string reached_file(const std::string& path);

/// Whether a write to one path changes what is read from the other: the same file, by whatever names and links.
bool are_same_file(const std::string& one, const std::string& other);

/// Checks that a file can be written, before there is anything to write; leaves no trace.
/// @throws std::runtime_error "'PATH' exists (--force replaces it)", "'PATH' can't be written: REASON": the folder
/// isn't
///         there or not writable, the name is too long, the file that stands there is none or read-only
void check_output(const std::string& path, existing treatment);

/// A file that appears under its name only when it is whole: it is written beside, under a name that nobody foresees,
/// then renamed. What isn't committed is removed, also when a signal ends the program. A file that it replaces hands on
/// its mode and, where that is allowed, its owner.
class whole_file {
public:
    /// @throws as check_output does
    whole_file(const std::string& path, existing treatment);

    /// @return false if a write failed, this one or one before; `commit` then throws the reason
    bool write(const void* bytes, std::size_t count);
    bool write(std::string_view text) { return write(text.data(), text.size()); }

    /// @throws std::system_error for the first failed write; std::runtime_error if a file has come under the name that
    ///         mustn't be replaced
    void commit() { commit_all({this}); }

    /// Commits all files or none: what stood under their names before is back after a failure.
    /// @throws as commit does
    static void commit_all(std::initializer_list<whole_file*> files);

private:
    void finish();
    void place();
    void forget_old();

    struct closer {
        void operator()(std::FILE* open_file) const { std::fclose(open_file); }
    };

    std::string path; ///< links followed
    existing treatment;
    std::optional<leftover> part;
    std::optional<leftover> old; ///< takes back a placed file, for the one that stood there before
    std::unique_ptr<std::FILE, closer> file;
    int error = 0; ///< errno of the first failed write
};

/// Sets a file aside while somebody else writes another under its name. It comes back, in place of the other, unless
/// that is kept, also when a signal ends the program. Where there is no file, nothing happens.
class file_set_aside {
public:
    /// @throws std::system_error if it can't be renamed
    explicit file_set_aside(const std::string& path);

    /// Lets the new file stay, with the mode of the old one, which is removed.
    void keep_new() noexcept;

private:
    std::string path; ///< links followed
    mode_t mode = 0;
    std::optional<leftover> old;
};

} // namespace picture
