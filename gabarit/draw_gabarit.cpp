#include "gabarit/draw_gabarit.h"

#include <cstdlib>
#include <filesystem>

#include "gabarit/reader.h"
#include "picture/box_average.h"

namespace gabarit {

namespace {

std::string subtitle_of(const settings& s)
{
    if (s.features.empty() || s.modeling.empty())
        return {};
    return s.features + " features, " + s.modeling + " modeling, window " + s.modeling_window + " s, step " +
           s.modeling_step + " s";
}

} // namespace

void draw(const std::string& sdif_path, const std::string& picture_path, const picture::picture_options& options,
          picture::existing treatment)
{
    reader gabarit(sdif_path);
    const settings made_with = gabarit.made_with();
    const std::string sound = gabarit.sound();
    picture::square square;
    square.cells = gabarit.size();
    square.pixels = picture::square_pixels(square.cells, picture_path, options);
    square.title = std::filesystem::path(sound.empty() ? showable(sdif_path) : sound).filename();
    square.subtitle = subtitle_of(made_with);

    column read{};
    double first = 0.0;
    picture::box_average average(square.cells, square.pixels);
    for (int i = 0; gabarit.next_column(read); ++i) {
        if (i == 0)
            first = read.time_seconds;
        average.add_column(read.similarity.data());
    }
    square.similarity = average.take_result();
    if (square.cells > 0) {
        const double last = read.time_seconds;
        const double step = square.cells > 1 ? (last - first) / (square.cells - 1)
                                             : std::strtod(made_with.modeling_step.c_str(), nullptr);
        square.begin_seconds = first - step / 2.0;
        square.end_seconds = last + step / 2.0;
    }
    picture::draw(square, picture_path, options, treatment);
}

} // namespace gabarit
