#pragma once

#include <filesystem>
#include <string>
#include <string_view>

#include "picture/whole_file.h"

namespace gabarit {

/// A folder of files that appears under its name only when all of them are whole. It is written beside, then renamed;
/// what isn't kept is removed, and a folder that stood there before comes back.
class whole_folder {
public:
    /// Checks that the folder can be made; leaves no trace.
    /// @throws std::runtime_error "'PATH' exists (--force replaces it)"; or, whatever the treatment, if what stands
    ///         there isn't a folder that this program made
    static void check(const std::string& path, picture::existing treatment);

    /// @throws as check does; std::system_error if it can't be made
    whole_folder(const std::string& path, picture::existing treatment);
    whole_folder(const whole_folder&) = delete;
    whole_folder& operator=(const whole_folder&) = delete;
    ~whole_folder();

    /// Adds a file.
    /// @throws std::system_error
    void write(const std::string& name, std::string_view bytes);

    /// Gives the folder its name.
    /// @throws std::system_error
    void place();

    /// Lets the placed folder stay, and removes the one before.
    void keep() noexcept;

private:
    std::filesystem::path path, part, old;
    bool placed = false;
};

} // namespace gabarit
