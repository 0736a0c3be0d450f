#include "marquen/progress_bar.h"

#include <cstdio>
#include <string>

namespace marquen {

progress_bar::~progress_bar()
{
    if (percent >= 0)
        std::fputs("\r\033[K", stderr); // back to the line's start, and clear it
}

void progress_bar::show(double position)
{
    constexpr int width = 50;
    const double reached = position * 100.0;
    if (!drawing || !(reached > percent))
        return;
    const int next = reached < 100.0 ? static_cast<int>(reached) : 100;
    if (next == percent)
        return;
    percent = next;
    const int filled = percent * width / 100;
    std::fprintf(stderr, "\r[%s%*s] %3d %%", std::string(static_cast<std::size_t>(filled), '#').c_str(), width - filled,
                 "", percent);
    std::fflush(stderr);
}

} // namespace marquen
