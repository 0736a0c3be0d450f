#include <charconv>
#include <cmath>
#include <iostream>
#include <memory>
#include <optional>
#include <sstream>
#include <string>

#include "gabarit/commands.h"
#include "gabarit/draw_gabarit.h"
#include "gabarit/reader.h"

namespace gabarit {

namespace {

using picture::color_map;
using picture::picture_options;

const std::map<std::string, picture_options::origin> origins{{"bottom", picture_options::origin::bottom},
                                                             {"top", picture_options::origin::top}};
const std::map<std::string, color_map> color_maps{{"gray", color_map::gray},
                                                  {"inverted", color_map::inverted},
                                                  {"cubehelix", color_map::cubehelix},
                                                  {"magma", color_map::magma},
                                                  {"viridis", color_map::viridis}};

struct arguments {
    std::string file, out;
    std::string origin = "bottom", map = "gray", from, to;
    drawing how;
};

// Seconds, or minutes and seconds, or hours too, with a colon between; only seconds may have a fraction.
std::optional<double> parse_time(const std::string& text)
{
    double time = 0.0;
    int parts = 0;
    std::istringstream words(text + ':');
    for (std::string word; std::getline(words, word, ':'); ++parts) {
        double number = 0.0;
        const char* const end = word.data() + word.size();
        const auto [read_to, fault] = std::from_chars(word.data(), end, number, std::chars_format::fixed);
        if (fault != std::errc() || read_to != end || !(number >= 0.0) || number > 1e9 || time != std::floor(time) ||
            (parts > 0 && number >= 60.0))
            return {};
        time = 60.0 * time + number;
    }
    return parts >= 1 && parts <= 3 ? std::optional(time) : std::nullopt;
}

std::string check_time(const std::string& text)
{
    return parse_time(text) ? std::string() : "'" + text + "' is no time: seconds, or minutes:seconds";
}

// What options must fulfil together.
void check(const arguments& given)
{
    const picture_options& look = given.how.look;
    if (!look.plain && look.pixels != 0 && look.pixels < picture::least_page_pixels)
        throw CLI::ValidationError("--size", "a picture with axes has " + std::to_string(picture::least_page_pixels) +
                                                 " pixels or more");
    if (look.plain && given.how.sections)
        throw CLI::ValidationError("--sections", "marks axes, and --plain draws none");
    if (given.how.from_seconds > given.how.to_seconds)
        throw CLI::ValidationError("--from", "is behind --to");
}

void add_options(CLI::App& command, arguments& given)
{
    add_file(command, given.file);
    add_output(command, given.out, picture::is_picture_path, ".png, .svg or .pdf", "The picture: .png, .svg or .pdf");
    command.add_option("--origin", given.origin, "Where the vertical axis begins: bottom (default) or top")
        ->type_name("SIDE")
        ->check(one_of(origins));
    command.add_option("--map", given.map, "Colors: gray (default), inverted, cubehelix, magma or viridis")
        ->type_name("NAME")
        ->check(one_of(color_maps));
    command.add_option("--size", given.how.look.pixels, "Side of the picture, 300 to 10000, 1000 if not given")
        ->type_name("PIXELS")
        ->check(CLI::Range(1, 10000).description(""));
    command.add_flag("--plain", given.how.look.plain,
                     "The square alone, without axes, a pixel per cell; no larger than --size if that is given");
    command.add_flag("--sections", given.how.sections, "Mark the sections along both axes, a letter each");
    const CLI::Validator time(check_time, "");
    command.add_option("--from", given.from, "Draw from this time on: seconds, or minutes:seconds")
        ->type_name("TIME")
        ->check(time);
    command.add_option("--to", given.to, "Draw up to this time")->type_name("TIME")->check(time);
    add_force(command, given.how.treatment);
}

} // namespace

void add_picture(CLI::App& program, int& status)
{
    const auto given = std::make_shared<arguments>();
    CLI::App* const command = program.add_subcommand("picture", "Draw a gabarit");
    add_options(*command, *given);
    command->callback([given, &status] {
        given->how.look.begins_at = origins.at(given->origin);
        given->how.look.colors = color_maps.at(given->map);
        given->how.from_seconds = parse_time(given->from).value_or(given->how.from_seconds);
        given->how.to_seconds = parse_time(given->to).value_or(given->how.to_seconds);
        check(*given);
        status = run_on(given->file, [&] {
            check_outputs(given->file, {given->out}, given->how.treatment);
            const std::string remark = draw(given->file, given->out, given->how);
            if (!remark.empty())
                std::cerr << "gabarit: " << showable(given->file) << ": " << remark << '\n';
        });
    });
}

} // namespace gabarit
