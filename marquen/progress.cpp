#include "marquen/progress.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>

#include <nlohmann/json.hpp>

namespace marquen {

namespace {

int terminal_columns()
{
    winsize size{};
    constexpr int usual = 80;
    return ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : usual;
}

} // namespace

void progress::show(const std::string& stage, double position)
{
    if (form == progress_form::none)
        return;
    if (stage != stage_name) {
        stage_name = stage;
        begin = clock::now();
        reached = -1.0;
        shown = -1;
    }
    if (!(position > reached))
        return;
    reached = std::min(position, 1.0);
    if (form == progress_form::json) {
        const std::string line = nlohmann::ordered_json{{"stage", stage}, {"position", reached}}.dump();
        std::fprintf(stderr, "%s\n", line.c_str());
    } else if (const int percent = static_cast<int>(reached * 100.0); percent != shown) {
        draw(percent);
    }
    std::fflush(stderr);
}

void progress::clear()
{
    if (form == progress_form::bar && shown >= 0)
        std::fputs("\r\033[K", stderr); // back to the line's start, and clear it
    shown = -1;
}

// The time that the rest takes if it goes on as it did; nothing before that can be said.
std::string progress::left() const
{
    constexpr double enough_seconds = 2.0, enough = 0.03;
    const double seconds = std::chrono::duration<double>(clock::now() - begin).count();
    if (seconds < enough_seconds || reached < enough || reached >= 1.0)
        return {};
    return ", " + readable_time(seconds / reached * (1.0 - reached)) + " left";
}

// What the line has no room for goes: the bar before the words.
void progress::draw(int percent)
{
    constexpr int widest = 50, narrowest = 8;
    shown = percent;
    char number[8];
    std::snprintf(number, sizeof number, "%3d %%", percent);
    const std::string words = number + (" " + stage_name) + left();
    const int columns = terminal_columns() - 1; // the last one would break the line on some terminals
    const int room = std::min(widest, columns - static_cast<int>(words.size()) - 3);
    std::string line;
    if (room >= narrowest) {
        const auto filled = static_cast<std::size_t>(percent * room / 100);
        line.append("[").append(filled, '#').append(static_cast<std::size_t>(room) - filled, ' ').append("] ");
    }
    line.append(words).resize(std::min(line.size(), static_cast<std::size_t>(std::max(columns, 1))));
    std::fprintf(stderr, "\r%s\033[K", line.c_str());
}

std::string readable_time(double seconds)
{
    const auto whole = static_cast<long long>(std::round(std::clamp(seconds, 0.0, 1.0e15)));
    char text[48];
    if (whole >= 3600)
        std::snprintf(text, sizeof text, "%lld:%02lld:%02lld", whole / 3600, whole / 60 % 60, whole % 60);
    else
        std::snprintf(text, sizeof text, "%lld:%02lld", whole / 60, whole % 60);
    return text;
}

} // namespace marquen
