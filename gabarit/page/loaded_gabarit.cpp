#include "gabarit/page/loaded_gabarit.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>

#include "gabarit/verify.h"

namespace fs = std::filesystem;

namespace gabarit {

namespace {

constexpr char advice[] = "give it by --sound FILE, or --no-sound for a page without";

loaded_gabarit load(const std::string& path)
{
    reader file(path);
    const auto n = static_cast<std::size_t>(file.size());
    loaded_gabarit loaded{{file.size(), {}}, {}, file.sound(), file.made_with()};
    loaded.square.cells.reserve(n * n);
    verify(file, [&](const column& read) {
        loaded.square.cells.insert(loaded.square.cells.end(), read.similarity.begin(), read.similarity.end());
        loaded.times.push_back(read.time_seconds);
    });
    return loaded;
}

std::string in_seconds(double seconds)
{
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%.1f s", seconds);
    return text.data();
}

} // namespace

std::vector<loaded_gabarit> load_gabarits(const std::string& path, const std::string& other)
{
    std::vector<loaded_gabarit> gabarits{load(path)};
    if (other.empty())
        return gabarits;
    try {
        gabarits.push_back(load(other));
    } catch (const std::exception& error) {
        throw std::runtime_error("with " + other + ": " + error.what());
    }
    constexpr double tolerance_seconds = 0.1; // frames of several kinds of features lie apart
    if (!std::ranges::equal(gabarits[0].times, gabarits[1].times,
                            [](double x, double y) { return std::abs(x - y) <= tolerance_seconds; }))
        throw std::runtime_error("with " + other + ": has other moments: make both of one sound, with one step");
    return gabarits;
}

double step_seconds(const loaded_gabarit& loaded)
{
    const double recorded = std::strtod(loaded.made_with.modeling_step.c_str(), nullptr);
    if (loaded.times.size() > 1)
        return (loaded.times.back() - loaded.times.front()) / static_cast<double>(loaded.times.size() - 1);
    return recorded > 0.0 && std::isfinite(recorded) ? recorded : 1.0;
}

std::string find_sound(const loaded_gabarit& loaded, const std::string& sdif_path)
{
    const fs::path named = loaded.sound, folder = fs::path(sdif_path).parent_path();
    std::error_code unknown;
    for (const fs::path& path : {named, folder / named, folder / named.filename()})
        if (!named.empty() && fs::exists(path, unknown))
            return path;
    throw std::runtime_error("its sound '" + loaded.sound + "' isn't there: " + advice);
}

void check_length(const loaded_gabarit& loaded, double seconds, const std::string& sound_path)
{
    // The moments lie a step apart, none closer than a step to either end of the sound.
    const double step = step_seconds(loaded), n = static_cast<double>(loaded.times.size());
    const double shortest = n == 0.0 ? 0.0 : n == 1.0 ? step : (n + 1.0) * step;
    const double longest = n == 0.0 ? step : (n + 2.0) * step;
    constexpr double tolerance = 0.1; // frames are rounded, and decoders add some milliseconds
    if (seconds < shortest - tolerance || seconds > longest + tolerance)
        throw std::runtime_error("is of a sound of " + in_seconds(shortest) + " to " + in_seconds(longest) +
                                 ", not of '" + sound_path + "', which has " + in_seconds(seconds) + ": " + advice);
}

} // namespace gabarit
