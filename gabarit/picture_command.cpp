#include <memory>

#include "gabarit/commands.h"
#include "gabarit/draw_gabarit.h"

namespace gabarit {

namespace {

using picture::color_map;
using picture::picture_options;

const std::map<std::string, picture_options::origin> origins{{"bottom", picture_options::origin::bottom},
                                                             {"top", picture_options::origin::top}};
const std::map<std::string, color_map> color_maps{
    {"gray", color_map::gray}, {"inverted", color_map::inverted}, {"cubehelix", color_map::cubehelix}};

struct arguments {
    std::string file, out;
    std::string origin = "bottom", map = "gray";
    picture_options options;
    picture::existing treatment = picture::existing::refuse;
};

void add_options(CLI::App& command, arguments& given)
{
    add_file(command, given.file);
    add_output(command, given.out, picture::is_picture_path, ".png, .svg or .pdf", "The picture: .png, .svg or .pdf");
    command.add_option("--origin", given.origin, "Where the vertical axis begins: bottom (default) or top")
        ->type_name("SIDE")
        ->check(one_of(origins));
    command.add_option("--map", given.map, "Colours: gray (default), inverted or cubehelix")
        ->type_name("NAME")
        ->check(one_of(color_maps));
    command.add_option("--size", given.options.pixels, "Side of the picture, 100 to 10000, 1000 if not given")
        ->type_name("PIXELS")
        ->check(CLI::Range(100, 10000).description(""));
    command.add_flag("--plain", given.options.plain,
                     "The square alone, without axes, a pixel per cell; no larger than --size if that is given");
    add_force(command, given.treatment);
}

} // namespace

void add_picture(CLI::App& program, int& status)
{
    const auto given = std::make_shared<arguments>();
    CLI::App* const command = program.add_subcommand("picture", "Draw a gabarit");
    add_options(*command, *given);
    command->callback([given, &status] {
        given->options.begins_at = origins.at(given->origin);
        given->options.colors = color_maps.at(given->map);
        status = run_on(given->file, [&] {
            check_outputs(given->file, {given->out}, given->treatment);
            draw(given->file, given->out, given->options, given->treatment);
        });
    });
}

} // namespace gabarit
