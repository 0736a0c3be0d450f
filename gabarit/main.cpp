#include <exception>
#include <filesystem>
#include <iostream>
#include <map>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

#include <CLI/CLI.hpp>

#include "gabarit/commands.h"
#include "gabarit/draw_gabarit.h"
#include "gabarit/gabarit_reader.h"

namespace {

struct arguments {
    std::string file, out;
    std::vector<std::string> files;
    bool as_json = false;
    std::string origin = "bottom", map = "gray";
    picture_options picture;
};

const std::map<std::string, picture_options::origin> origins{{"bottom", picture_options::origin::bottom},
                                                             {"top", picture_options::origin::top}};
const std::map<std::string, color_map> color_maps{
    {"gray", color_map::gray}, {"inverted", color_map::inverted}, {"cubehelix", color_map::cubehelix}};

CLI::Validator one_of(const auto& words)
{
    std::vector<std::string> names;
    for (const auto& word : words)
        names.push_back(word.first);
    return CLI::IsMember(names).description("");
}

// Checks an ending at once, so that it is a wrong usage and no failure.
CLI::Validator ending(bool (*is_known)(const std::string&), const std::string& endings)
{
    return CLI::Validator(
        [=](const std::string& path) {
            return is_known(path) ? std::string() : "'" + path + "' must end in " + endings;
        },
        "");
}

CLI::Option* add_file(CLI::App& command, arguments& given)
{
    return command.add_option("FILE", given.file, "The gabarit")->type_name("")->required();
}

void add_picture_options(CLI::App& command, arguments& given)
{
    add_file(command, given);
    command.add_option("OUT", given.out, "The picture: .png, .svg or .pdf")
        ->type_name("")
        ->required()
        ->check(ending(is_picture_path, ".png, .svg or .pdf"));
    command.add_option("--origin", given.origin, "Where the vertical axis begins: bottom (default) or top")
        ->type_name("SIDE")
        ->check(one_of(origins));
    command.add_option("--map", given.map, "Colours: gray (default), inverted or cubehelix")
        ->type_name("NAME")
        ->check(one_of(color_maps));
    command.add_option("--size", given.picture.pixels, "Side of the picture, 100 to 10000, 1000 if not given")
        ->type_name("PIXELS")
        ->check(CLI::Range(100, 10000).description(""));
    command.add_flag("--plain", given.picture.plain,
                     "The square alone, without axes, a pixel per cell; no larger than --size if that is given");
}

// Runs one subcommand; a failure is one sentence with the file's name.
int run_on(const std::string& file, const auto& command)
{
    try {
        command();
        return 0;
    } catch (const std::exception& error) {
        std::cerr << "gabarit: " << showable(file + ": " + error.what()) << '\n';
        return 1;
    }
}

int verify_all(const std::vector<std::string>& files)
{
    int status = 0;
    for (const std::string& file : files) {
        std::string finding;
        try {
            finding = "whole, n = " + std::to_string(verify_gabarit(file));
        } catch (const std::exception& error) {
            finding = error.what();
            status = 1;
        }
        std::cout << showable(file + ": " + finding) << '\n';
    }
    return status;
}

} // namespace

int main(int argc, char** argv)
{
    arguments given;
    CLI::App app("Shows, checks and exports gabarits: files that tell how alike every moment of a sound is to every "
                 "other.",
                 "gabarit");
    app.set_version_flag("--version", "gabarit " GABARIT_VERSION);
    app.require_subcommand(1);
    CLI::App* const info = app.add_subcommand("info", "Print what a gabarit tells of itself");
    add_file(*info, given);
    info->add_flag("--json", given.as_json, "As one JSON object");
    CLI::App* const verify = app.add_subcommand("verify", "Tell whole gabarits from damaged ones, a line a file");
    verify->add_option("FILE", given.files, "The gabarits")->type_name("")->required();
    CLI::App* const picture = app.add_subcommand("picture", "Draw a gabarit");
    add_picture_options(*picture, given);
    CLI::App* const numbers = app.add_subcommand("export", "Write the numbers of a gabarit");
    add_file(*numbers, given);
    numbers->add_option("OUT", given.out, "NAME.npy (with NAME.times.npy) or NAME.csv")
        ->type_name("")
        ->required()
        ->check(ending(is_export_path, ".npy or .csv"));
    app.failure_message([](const CLI::App*, const CLI::Error& error) {
        return std::string("gabarit: ") + error.what() + " (gabarit --help tells the usage)\n";
    });
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& answer) {
        return app.exit(answer) == 0 ? 0 : 2;
    }
    given.picture.begins_at = origins.at(given.origin);
    given.picture.colors = color_maps.at(given.map);

    int status = 0;
    if (*verify)
        status = verify_all(given.files);
    else
        status = run_on(given.file, [&] {
            std::error_code unknown;
            if (std::filesystem::equivalent(given.file, given.out, unknown))
                throw std::runtime_error("would be overwritten");
            if (*info)
                std::cout << describe_gabarit(given.file, given.as_json);
            else if (*picture)
                draw_gabarit(given.file, given.out, given.picture);
            else
                export_gabarit(given.file, given.out);
        });
    if (!std::cout.flush()) {
        std::cerr << "gabarit: the standard output can't be written\n";
        return 1;
    }
    return status;
}
