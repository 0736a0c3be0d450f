#include <filesystem>
#include <iostream>
#include <memory>
#include <stdexcept>

#include <unistd.h>

#include "gabarit/commands.h"
#include "gabarit/page/listening_page.h"
#include "gabarit/page/section_labels.h"

namespace gabarit {

namespace {

struct arguments {
    std::string file, out, sections;
    bool without_sound = false;
    page_options options;
};

bool is_page_path(const std::string& path)
{
    const std::filesystem::path ending = std::filesystem::path(path).extension();
    return ending == ".html" || ending == ".htm";
}

void add_options(CLI::App& command, arguments& given)
{
    add_file(command, given.file);
    add_output(command, given.out, is_page_path, ".html", "The page: .html");
    command.add_option("--sound", given.options.sound, "The sound, instead of the one that the gabarit names")
        ->type_name("FILE");
    command.add_flag("--no-sound", given.without_sound, "Leave the sound out of the page");
    command
        .add_option("--quality", given.options.kilobits_per_second,
                    "Bit rate of the sound in the page, 16 to 256 kbit/s, 64 if not given")
        ->type_name("KBITS")
        ->check(CLI::Range(16, 256).description(""));
    command.add_option("--title", given.options.title, "Title of the page, instead of the sound's name")
        ->type_name("TEXT");
    command.add_option("--sections", given.sections, "Sections to show: Audacity labels, .lab or .json")
        ->type_name("FILE");
    command.add_option("--with", given.options.other, "A second gabarit of the same sound, in a color of its own")
        ->type_name("FILE");
    add_force(command, given.options.treatment);
}

// Reported before the sound is encoded, which takes its time.
void check_output(const arguments& given)
{
    for (const std::string& input : {given.options.sound, given.options.other, given.sections})
        if (!input.empty() && picture::are_same_file(input, given.out))
            throw std::runtime_error("'" + input + "' would be overwritten by '" + given.out + "'");
    check_outputs(given.file, {given.out}, given.options.treatment);
}

// A line on a terminal that is gone once the encoding is done.
void show_progress(double position)
{
    static const bool drawing = isatty(STDERR_FILENO) == 1;
    if (drawing)
        std::cerr << "\rencoding the sound: " << static_cast<int>(100.0 * position) << " %"
                  << (position < 1.0 ? "" : "\r\033[K") << std::flush;
}

} // namespace

void add_page(CLI::App& program, int& status)
{
    const auto given = std::make_shared<arguments>();
    CLI::App* const command = program.add_subcommand("page", "Write a page that shows a gabarit and plays its sound");
    add_options(*command, *given);
    command->callback([given, &status] {
        given->options.with_sound = !given->without_sound;
        if (given->without_sound && !given->options.sound.empty())
            throw CLI::ExcludesError("--no-sound", "--sound");
        status = run_on(given->file, [&] {
            check_output(*given);
            if (!given->sections.empty())
                given->options.parts = read_section_labels(given->sections);
            write_listening_page(given->file, given->out, given->options, show_progress);
        });
    });
}

} // namespace gabarit
