#include "plan/free_memory.h"

#include <sys/resource.h>

#include <algorithm>
#include <fstream>
#include <limits>
#include <string>
#include <string_view>

namespace plan {

namespace {

constexpr std::int64_t unlimited = std::numeric_limits<std::int64_t>::max();

// The number behind a name in a file of the form "MemAvailable:   123456 kB"; `otherwise` if there is none.
std::int64_t fact_of(const std::string& file, const char* wanted, std::int64_t otherwise)
{
    std::ifstream facts(file);
    for (std::string name, rest; facts >> name; std::getline(facts, rest)) {
        std::int64_t number = 0;
        if (name == wanted && facts >> number)
            return number;
    }
    return otherwise;
}

std::int64_t number_in(const std::string& file, std::int64_t otherwise)
{
    std::int64_t number = 0;
    return std::ifstream(file) >> number ? number : otherwise; // "max" is no number
}

std::int64_t free_in_group(const std::string& group)
{
    const std::int64_t most = number_in(group + "/memory.max", unlimited);
    if (most == unlimited)
        return unlimited;
    // What the group holds as an old cache of files is given back when it is needed.
    const std::int64_t taken =
        number_in(group + "/memory.current", 0) - fact_of(group + "/memory.stat", "inactive_file", 0);
    return std::max<std::int64_t>(0, most - taken);
}

// A scheduler or a container limits the process' group or one of those above it.
std::int64_t free_in_control_groups()
{
    constexpr std::string_view unified = "0::"; // ahead of the group's path
    std::int64_t least = unlimited;
    std::ifstream groups("/proc/self/cgroup");
    for (std::string line; std::getline(groups, line);) {
        if (!line.starts_with(unified))
            continue;
        std::string path = line.substr(unified.size());
        while (!path.empty()) {
            least = std::min(least, free_in_group("/sys/fs/cgroup" + path));
            path.resize(path.rfind('/') == std::string::npos ? 0 : path.rfind('/'));
        }
    }
    return least;
}

std::int64_t free_address_space()
{
    constexpr std::int64_t thread_space = 80'000'000; // a thread's stack and its arena, which stay empty
    rlimit limit{};
    if (getrlimit(RLIMIT_AS, &limit) != 0 || limit.rlim_cur == RLIM_INFINITY)
        return unlimited;
    const auto most = static_cast<std::int64_t>(std::min<rlim_t>(limit.rlim_cur, static_cast<rlim_t>(unlimited)));
    return std::max<std::int64_t>(0, most - 1024 * fact_of("/proc/self/status", "VmSize:", 0) - thread_space);
}

} // namespace

std::int64_t free_memory()
{
    const std::int64_t kilobytes = fact_of("/proc/meminfo", "MemAvailable:", unlimited / 1024);
    return std::min({kilobytes * 1024, free_in_control_groups(), free_address_space()});
}

std::int64_t peak_memory()
{
    return 1024 * fact_of("/proc/self/status", "VmHWM:", 0);
}

} // namespace plan
