#include <iostream>
#include <memory>

#include "gabarit/commands.h"
#include "gabarit/form.h"
#include "gabarit/form_files.h"
#include "gabarit/reader.h"

namespace gabarit {

namespace {

struct arguments {
    std::string file, out;
    std::vector<std::string> others;
    bool as_json = false;
    picture::existing treatment = picture::existing::refuse;
};

void find_form(const arguments& given)
{
    if (!given.out.empty()) {
        check_outputs(given.file, {given.out}, given.treatment);
        for (const std::string& other : given.others)
            check_outputs(other, {given.out}, given.treatment);
    }
    const form found = read_form(given.file, given.others);
    constexpr double sharpest = 2.0;
    if (found.window_seconds > sharpest)
        std::cerr << "gabarit: " << showable(given.file)
                  << ": windows of more than 2 s blur where a section begins; 1 s is best\n";
    if (!given.out.empty())
        write_form(found, given.out, given.treatment);
    if (given.as_json)
        std::cout << json_of(found);
    else if (given.out.empty())
        std::cout << text_of(found);
}

} // namespace

void add_sections(CLI::App& program, int& status)
{
    const auto given = std::make_shared<arguments>();
    CLI::App* const command =
        program.add_subcommand("sections", "Print the form of a sound, such as A A B A, and where its parts begin");
    add_file(*command, given->file);
    add_output(*command, given->out, is_form_path, ".txt, .lab, .jams or .csv",
               "The sections for another program: .txt (Audacity), .lab, .jams or .csv (Sonic Visualiser)")
        ->required(false);
    command->add_option("--with", given->others, "Another gabarit of the same sound, to go by both; may be repeated")
        ->type_name("FILE")
        ->allow_extra_args(false);
    command->add_flag("--json", given->as_json, "As one JSON object");
    add_force(*command, given->treatment);
    command->callback([given, &status] { status = run_on(given->file, [&] { find_form(*given); }); });
}

} // namespace gabarit
