#include "picture/whole_file.h"

#include <cerrno>
#include <cstdint>
#include <filesystem>
#include <random>
#include <stdexcept>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace picture {

namespace fs = std::filesystem;

namespace {

[[noreturn]] void refuse(const std::string& path, int error)
{
    throw std::system_error(error, std::generic_category(), "'" + path + "' can't be written");
}

[[noreturn]] void refuse(const std::string& path, const std::string& reason)
{
    throw std::runtime_error("'" + path + "' can't be written: " + reason);
}

[[noreturn]] void refuse_existing(const std::string& path)
{
    throw std::runtime_error("'" + path + "' exists (--force replaces it)");
}

// What stands under the name, if anything does.
std::optional<struct stat> look_at(const std::string& path)
{
    struct stat found = {};
    if (stat(path.c_str(), &found) == 0)
        return found;
    if (errno != ENOENT)
        refuse(path, errno);
    return {};
}

// Makes a file in the folder of another: calls `make` with names that nobody foresees until one is free.
template <class MAKE>
std::string make_beside(const std::string& path, const MAKE& make)
{
    std::random_device random;
    for (;;) {
        const std::uint64_t number = std::uint64_t{random()} << 32 | random();
        std::string name = fs::path(path).parent_path() / (".part-" + std::to_string(number));
        if (make(name.c_str()))
            return name;
        if (errno != EEXIST)
            refuse(path, errno);
    }
}

bool rename_to_free(const char* from, const char* to)
{
    if (renameat2(AT_FDCWD, from, AT_FDCWD, to, RENAME_NOREPLACE) == 0)
        return true;
    if (errno != EINVAL && errno != ENOSYS)
        return false;
    if (access(to, F_OK) == 0) { // the file system can't do it in one step
        errno = EEXIST;
        return false;
    }
    return std::rename(from, to) == 0;
}

} // namespace

std::string reached_file(const std::string& path)
try {
    fs::path reached = fs::absolute(path);
    for (int links = 0; fs::is_symlink(fs::symlink_status(reached)); ++links) {
        constexpr int most_links = 40; // as the system has it
        if (links == most_links)
            refuse(path, ELOOP);
        reached = reached.parent_path() / fs::read_symlink(reached);
    }
    return fs::weakly_canonical(reached.parent_path()) / reached.filename();
} catch (const fs::filesystem_error& error) {
    refuse(path, error.code().value());
}

bool are_same_file(const std::string& one, const std::string& other)
{
    std::error_code unknown;
    return fs::equivalent(one, other, unknown) || reached_file(one) == reached_file(other);
}

void check_output(const std::string& path, existing treatment)
{
    if (path.empty())
        refuse(path, ENOENT);
    const std::string reached = reached_file(path);
    if (const auto found = look_at(reached)) {
        if (!S_ISREG(found->st_mode))
            refuse(path, S_ISDIR(found->st_mode) ? "it is a directory" : "it is no regular file");
        if (treatment == existing::refuse)
            refuse_existing(path);
        // Everything is writable for root: the mode says what was meant.
        if ((found->st_mode & 0222) == 0 || faccessat(AT_FDCWD, reached.c_str(), W_OK, AT_EACCESS) != 0)
            refuse(path, "it is read-only");
    }
    if (faccessat(AT_FDCWD, fs::path(reached).parent_path().c_str(), W_OK | X_OK, AT_EACCESS) != 0)
        refuse(path, errno);
}

whole_file::whole_file(const std::string& given_path, existing file_treatment) : treatment(file_treatment)
{
    check_output(given_path, treatment);
    path = reached_file(given_path);
    const auto old_file = look_at(path);
    const held_signals held;
    int descriptor = -1;
    const std::string name = make_beside(path, [&](const char* free_name) {
        descriptor = open(free_name, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        return descriptor >= 0;
    });
    part.emplace(name);
    if (old_file) {
        // Only root may give a file away; the mode comes after, which a change of the owner may cut.
        [[maybe_unused]] const int refused = fchown(descriptor, old_file->st_uid, old_file->st_gid);
        fchmod(descriptor, old_file->st_mode & 07777);
    }
    file.reset(fdopen(descriptor, "wb"));
    if (!file) {
        close(descriptor);
        refuse(path, ENOMEM);
    }
}

bool whole_file::write(const void* bytes, std::size_t count)
{
    if (error == 0 && std::fwrite(bytes, 1, count, file.get()) != count)
        error = errno;
    return error == 0;
}

// The old file mustn't go before the new one is on the disk.
void whole_file::finish()
{
    if (error == 0 && std::fflush(file.get()) != 0)
        error = errno;
    if (error == 0 && fsync(fileno(file.get())) != 0 && errno != EINVAL)
        error = errno;
    if (std::fclose(file.release()) != 0 && error == 0)
        error = errno;
    if (error != 0)
        refuse(path, error);
}

// Until the whole group stands, `old` undoes this.
void whole_file::place()
{
    const char* const target = path.c_str();
    const auto found = look_at(path);
    if (found && !S_ISREG(found->st_mode))
        refuse(path, "it is no regular file");
    if (found && treatment == existing::replace) {
        const std::string second_name = make_beside(path, [&](const char* free_name) {
            // Some file systems know no second names.
            return link(target, free_name) == 0 || (errno != EEXIST && rename_to_free(target, free_name));
        });
        old.emplace(second_name, path);
        if (std::rename(part->made().c_str(), target) != 0)
            refuse(path, errno);
    } else {
        if (!rename_to_free(part->made().c_str(), target))
            errno == EEXIST ? refuse_existing(path) : refuse(path, errno);
        old.emplace(path);
    }
    part->keep();
}

void whole_file::forget_old()
{
    old->keep();
    if (old->made() != path)
        unlink(old->made().c_str());
}

void whole_file::commit_all(std::initializer_list<whole_file*> files)
{
    for (whole_file* one : files)
        one->finish();
    const held_signals held;
    try {
        for (whole_file* one : files)
            one->place();
    } catch (...) {
        for (whole_file* one : files)
            one->old.reset();
        throw;
    }
    for (whole_file* one : files)
        one->forget_old();
}

file_set_aside::file_set_aside(const std::string& given_path) : path(reached_file(given_path))
{
    const auto found = look_at(path);
    if (!found || !S_ISREG(found->st_mode))
        return;
    mode = found->st_mode & 07777;
    const held_signals held;
    old.emplace(make_beside(path, [&](const char* free_name) { return rename_to_free(path.c_str(), free_name); }),
                path);
}

void file_set_aside::keep_new() noexcept
{
    if (!old)
        return;
    const held_signals held;
    chmod(path.c_str(), mode);
    unlink(old->made().c_str());
    old->keep();
}

} // namespace picture
