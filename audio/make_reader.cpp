#include "audio/make_reader.h"

#include <stdexcept>
#include <string>

#include "audio/basic_sound_reader.h"
#include "audio/split_reader.h"

namespace corvane {

std::unique_ptr<AbstractReader> make_reader(int n_paths, const char* const* paths)
{
    if (n_paths != 1)
        return std::make_unique<SplitReader>(n_paths, paths);
    if (paths[0] == nullptr)
        throw std::invalid_argument("invalid path at position 0");
    auto reader = std::make_unique<BasicSoundReader>();
    if (!reader->open(paths[0], 0, -1))
        throw std::runtime_error("error opening file '" + std::string(paths[0]) + "'");
    return reader;
}

} // namespace corvane
