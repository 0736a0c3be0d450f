#include <iostream>
#include <string>

#include "gabarit/commands.h"
#include "gabarit/program_style.h"
#include "gabarit/versions.h"
#include "picture/picture.h"

namespace {

std::string list_versions()
{
    std::string lines = "gabarit " GABARIT_VERSION;
    for (const auto& [name, version] : gabarit::versions())
        lines += '\n' + name + ' ' + version;
    return lines + '\n' + picture::library_versions();
}

} // namespace

int main(int argc, char** argv)
{
    picture::prepare_program();
    int status = 0;
    CLI::App program("Shows, checks and exports gabarits: files that hold how alike every moment of a sound is to "
                     "every other.",
                     "gabarit");
    gabarit::set_style(program);
    program.set_version_flag("-V,--version", list_versions());
    program.require_subcommand(1);
    gabarit::add_info(program, status);
    gabarit::add_verify(program, status);
    gabarit::add_picture(program, status);
    gabarit::add_export(program, status);
    gabarit::add_sections(program, status);
    gabarit::add_page(program, status);
    gabarit::add_diff(program, status);
    gabarit::add_repro(program, status);
    try {
        program.parse(argc, argv);
    } catch (const CLI::ParseError& answer) {
        return program.exit(answer) == 0 ? 0 : 2;
    }
    if (!std::cout.flush()) {
        std::cerr << "gabarit: the standard output can't be written\n";
        return 1;
    }
    return status;
}
