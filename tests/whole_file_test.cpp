#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "picture/whole_file.h"
#include "tests/support/files.h"

namespace {

namespace fs = std::filesystem;
using picture::existing;
using picture::whole_file;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

void write_file(const std::string& path, const std::string& bytes)
{
    std::ofstream(path, std::ios::binary) << bytes;
}

std::vector<std::string> names_in(const test_folder& folder)
{
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder.path("")))
        names.push_back(entry.path().filename());
    std::ranges::sort(names);
    return names;
}

std::string failure_of(const std::function<void()>& work)
{
    try {
        work();
    } catch (const std::exception& error) {
        return error.what();
    }
    return {};
}

void write_whole(const std::string& path, const std::string& bytes, existing treatment)
{
    whole_file file(path, treatment);
    file.write(bytes);
    file.commit();
}

TEST(WholeFile, IsRefusedWhereItCantStand)
{
    const test_folder folder;
    write_file(folder.path("file"), "old");
    write_file(folder.path("locked"), "old");
    fs::permissions(folder.path("locked"), fs::perms(0444));
    fs::create_directory(folder.path("folder"));
    ASSERT_EQ(mkfifo(folder.path("pipe").c_str(), 0600), 0);
    fs::create_symlink("loop", folder.path("loop"));
    fs::create_symlink("nowhere/x", folder.path("astray"));
    const std::vector<std::string> before = names_in(folder);
    const struct {
        std::string name;
        existing treatment;
        const char* reason;
    } cases[] = {
        {"file", existing::refuse, "file' exists (--force replaces it)"},
        {"locked", existing::replace, "it is read-only"},
        {"folder", existing::replace, "it is a directory"},
        {"pipe", existing::replace, "it is no regular file"},
        {"loop", existing::replace, "Too many levels of symbolic links"},
        {"astray", existing::replace, "No such file or directory"},
        {"nowhere/x", existing::refuse, "No such file or directory"},
        {"file/x", existing::refuse, "Not a directory"},
        {std::string(256, 'x'), existing::refuse, "File name too long"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_THAT(failure_of([&] { picture::check_output(folder.path(c.name), c.treatment); }), HasSubstr(c.reason));
        EXPECT_THAT(failure_of([&] { write_whole(folder.path(c.name), "new", c.treatment); }), HasSubstr(c.reason));
    }
    EXPECT_EQ(names_in(folder), before);
    EXPECT_EQ(contents(folder.path("locked")), "old");
}

TEST(WholeFile, TakesThePlaceOfTheOldOneAtOnce)
{
    const test_folder folder;
    const std::string target = folder.path(std::string(255, 'x'));
    write_file(target, "old");
    fs::permissions(target, fs::perms(0640));
    fs::create_symlink(target, folder.path("link"));
    for (const std::string& name : {target, folder.path("link")}) {
        whole_file file(name, existing::replace);
        EXPECT_TRUE(file.write("new"));
        EXPECT_EQ(contents(target), "old");
        file.commit();
        EXPECT_EQ(contents(target), "new");
        EXPECT_EQ(fs::status(target).permissions(), fs::perms(0640));
        write_file(target, "old");
    }
    EXPECT_TRUE(fs::is_symlink(folder.path("link")));
    fs::create_symlink("new", folder.path("dangling"));
    write_whole(folder.path("dangling"), "new", existing::refuse);
    EXPECT_EQ(contents(folder.path("new")), "new");
    {
        const whole_file dropped(folder.path("dropped"), existing::refuse);
    }
    EXPECT_THAT(names_in(folder), ElementsAre("dangling", "link", "new", std::string(255, 'x')));
}

TEST(WholeFile, DoesntReplaceWhatCameInTheMeantime)
{
    const test_folder folder;
    whole_file file(folder.path("x"), existing::refuse);
    write_file(folder.path("x"), "theirs");
    EXPECT_THAT(failure_of([&] { file.commit(); }), HasSubstr("exists"));
    EXPECT_EQ(contents(folder.path("x")), "theirs");
}

// A write that fills the buffer fails at once, a few bytes only when they are brought to the disk.
TEST(WholeFile, ReportsWriteAndCloseErrorsAndKeepsTheOldFile)
{
    std::signal(SIGXFSZ, SIG_IGN);
    for (const std::size_t bytes : {std::size_t{10}, std::size_t{100000}}) {
        SCOPED_TRACE(bytes);
        const test_folder folder;
        write_file(folder.path("x"), "old");
        whole_file file(folder.path("x"), existing::replace);
        rlimit limit{};
        getrlimit(RLIMIT_FSIZE, &limit);
        const rlimit none{5, limit.rlim_max};
        setrlimit(RLIMIT_FSIZE, &none);
        const bool written = file.write(std::string(bytes, 'x'));
        const std::string failure = failure_of([&] { file.commit(); });
        setrlimit(RLIMIT_FSIZE, &limit);
        EXPECT_EQ(written, bytes == 10);
        EXPECT_THAT(failure, HasSubstr("x' can't be written: File too large"));
        EXPECT_EQ(contents(folder.path("x")), "old");
    }
}

TEST(WholeFile, CommitsAllOrNone)
{
    for (const bool is_there : {false, true}) {
        const test_folder folder;
        if (is_there)
            write_file(folder.path("a"), "old");
        {
            whole_file a(folder.path("a"), existing::replace), b(folder.path("b"), existing::replace);
            a.write("new");
            b.write("new");
            fs::create_directory(folder.path("b"));
            EXPECT_THAT(failure_of([&] { whole_file::commit_all({&a, &b}); }), HasSubstr("b' can't be written"));
        }
        fs::remove(folder.path("b"));
        EXPECT_EQ(contents(folder.path("a")), is_there ? "old" : "");
        EXPECT_EQ(names_in(folder).size(), is_there);
        whole_file a(folder.path("a"), existing::replace), b(folder.path("b"), existing::replace);
        whole_file::commit_all({&a, &b});
        EXPECT_THAT(names_in(folder), ElementsAre("a", "b"));
    }
}

TEST(WholeFile, LeavesNothingBehindASignal)
{
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        SCOPED_TRACE(signal);
        const test_folder folder;
        write_file(folder.path("aside"), "old");
        const pid_t child = fork();
        if (child == 0) {
            picture::prepare_program();
            whole_file file(folder.path("x"), existing::refuse);
            const picture::file_set_aside old(folder.path("aside"));
            write_file(folder.path("aside"), "half");
            if (fork() == 0) { // whose end changes nothing
                raise(SIGTERM);
                _exit(0);
            }
            wait(nullptr);
            raise(SIGPIPE); // of these two the write's error is enough
            raise(SIGXFSZ);
            if (names_in(folder).size() == 3)
                raise(signal);
            _exit(0);
        }
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == signal) << status;
        EXPECT_THAT(names_in(folder), ElementsAre("aside"));
        EXPECT_EQ(contents(folder.path("aside")), "old");
    }
}

TEST(FileSetAside, ComesBackUnlessTheNewOneIsKept)
{
    const test_folder folder;
    const std::string path = folder.path("x");
    for (const bool keep : {false, true}) {
        write_file(path, "old");
        fs::permissions(path, fs::perms(0600));
        {
            picture::file_set_aside old(path);
            EXPECT_FALSE(fs::exists(path));
            write_file(path, "new");
            if (keep)
                old.keep_new();
        }
        EXPECT_EQ(contents(path), keep ? "new" : "old");
        EXPECT_EQ(fs::status(path).permissions(), fs::perms(0600));
        EXPECT_THAT(names_in(folder), ElementsAre("x"));
    }
    picture::file_set_aside(folder.path("none")).keep_new();
}

TEST(SameFile, IsKnownByAnyName)
{
    const test_folder folder;
    write_file(folder.path("x"), "");
    fs::create_symlink("x", folder.path("link"));
    fs::create_hard_link(folder.path("x"), folder.path("hard"));
    fs::create_symlink("later", folder.path("dangling"));
    const struct {
        const char *one, *other;
        bool same;
    } cases[] = {{"x", "x", true},           {"x", "./x", true},          {"x", "link", true},
                 {"x", "hard", true},        {"later", "dangling", true}, {"later", "x", false},
                 {"hard", "dangling", false}};
    for (const auto& c : cases)
        EXPECT_EQ(picture::are_same_file(folder.path(c.one), folder.path(c.other)), c.same) << c.one << ' ' << c.other;
}

} // namespace
