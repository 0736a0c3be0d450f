#include "marquen/free_memory.h"

#include <fstream>
#include <limits>
#include <string>

namespace marquen {

std::int64_t free_memory()
{
    std::ifstream facts("/proc/meminfo"); // lines of the form "MemAvailable:   123456 kB"
    for (std::string name, rest; facts >> name; std::getline(facts, rest)) {
        std::int64_t kilobytes = 0;
        if (name == "MemAvailable:" && facts >> kilobytes)
            return kilobytes * 1024;
    }
    return std::numeric_limits<std::int64_t>::max();
}

} // namespace marquen
