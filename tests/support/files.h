#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

/// The bytes of a file; none if it can't be read.
inline std::string contents(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// A folder of its own for each test, gone with it.
class test_folder {
public:
    test_folder()
    {
        std::string pattern = testing::TempDir() + "veloria-XXXXXX";
        name = mkdtemp(pattern.data());
    }
    test_folder(const test_folder&) = delete;
    test_folder& operator=(const test_folder&) = delete;
    ~test_folder() { std::filesystem::remove_all(name); }

    std::string path(const std::string& file) const { return name + "/" + file; }

private:
    std::string name;
};
