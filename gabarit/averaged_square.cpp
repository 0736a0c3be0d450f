#include "gabarit/averaged_square.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>

#include "gabarit/box_average.h"
#include "gabarit/gabarit_reader.h"

namespace {

std::string subtitle_of(const gabarit_settings& s)
{
    if (s.features.empty() || s.modeling.empty())
        return {};
    return s.features + " features, " + s.modeling + " modeling, window " + s.modeling_window + " s, step " +
           s.modeling_step + " s";
}

} // namespace

averaged_square read_averaged_square(const std::string& path, const square_size& size)
{
    gabarit_reader reader(path);
    const gabarit_settings settings = reader.settings();
    averaged_square square;
    square.cells = reader.size();
    square.pixels = size.enlarge ? size.pixels : std::min(square.cells, size.pixels);
    const std::string sound = reader.value("Soundfile");
    square.title = std::filesystem::path(sound.empty() ? showable(path) : sound).filename();
    square.subtitle = subtitle_of(settings);

    gabarit_column column{};
    double first = 0.0;
    box_average average(square.cells, square.pixels);
    for (int i = 0; reader.next_column(column); ++i) {
        if (i == 0)
            first = column.time_seconds;
        average.add_column(column.similarity.data());
    }
    square.similarity = average.take_result();
    if (square.cells == 0)
        return square;
    const double last = column.time_seconds;
    const double step =
        square.cells > 1 ? (last - first) / (square.cells - 1) : std::strtod(settings.modeling_step.c_str(), nullptr);
    square.begin_seconds = first - step / 2.0;
    square.end_seconds = last + step / 2.0;
    return square;
}
