#include "gabarit/page/whole_folder.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <stdexcept>
#include <system_error>

#include <sys/stat.h>

namespace fs = std::filesystem;

namespace gabarit {

namespace {

// A name beside the path that nobody has.
fs::path make_beside(const fs::path& path)
{
    std::string name = path.string() + ".XXXXXX";
    if (mkdtemp(name.data()) == nullptr)
        throw std::system_error(errno, std::generic_category(), "'" + path.string() + "' can't be written");
    return name;
}

bool is_ours(const fs::directory_entry& entry)
{
    const std::string name = entry.path().filename();
    return entry.is_regular_file() &&
           (name == "sound.opus" ||
            (entry.path().extension() == ".js" && name.find_first_not_of("0123456789-") == name.size() - 3));
}

} // namespace

void whole_folder::check(const std::string& path, picture::existing treatment)
{
    std::error_code unknown;
    if (!fs::exists(fs::symlink_status(path, unknown)))
        return;
    if (treatment == picture::existing::refuse)
        throw std::runtime_error("'" + path + "' exists (--force replaces it)");
    // A whole folder is a lot to lose.
    if (!fs::is_directory(fs::symlink_status(path, unknown)) ||
        !std::ranges::all_of(fs::directory_iterator(path), is_ours))
        throw std::runtime_error("'" + path + "' isn't replaced: it holds more than the pieces of a page");
}

whole_folder::whole_folder(const std::string& wanted, picture::existing treatment) : path(wanted)
{
    check(wanted, treatment);
    part = make_beside(path);
    chmod(part.c_str(), 0755); // as for any other folder; what may not be read by others isn't
}

whole_folder::~whole_folder()
{
    std::error_code ignored;
    if (!part.empty())
        fs::remove_all(placed ? path : part, ignored);
    if (!old.empty())
        fs::rename(old, path, ignored);
}

void whole_folder::write(const std::string& name, std::string_view bytes)
{
    picture::whole_file file(part / name, picture::existing::refuse);
    file.write(bytes);
    file.commit();
}

void whole_folder::place()
{
    if (fs::exists(path)) {
        const fs::path beside = make_beside(path);
        fs::rename(path, beside); // takes the place of the empty folder
        old = beside;
    }
    fs::rename(part, path);
    placed = true;
}

void whole_folder::keep() noexcept
{
    std::error_code ignored;
    if (!old.empty())
        fs::remove_all(old, ignored);
    old.clear();
    part.clear();
}

} // namespace gabarit
