// Runs a fuzz target over the files of the folders given, where no fuzzer is linked.
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

#include "fuzz/input.h"

int main(int count, char** folders)
{
    int runs = 0;
    for (int i = 1; i < count; ++i)
        for (const auto& entry : std::filesystem::recursive_directory_iterator(folders[i])) {
            if (!entry.is_regular_file())
                continue;
            std::ifstream file(entry.path(), std::ios::binary);
            const std::vector<char> bytes{std::istreambuf_iterator<char>(file), {}};
            LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
            ++runs;
        }
    std::printf("%d inputs\n", runs);
    return runs > 0 ? 0 : 1;
}
