#include <iostream>
#include <memory>

#include "gabarit/commands.h"
#include "gabarit/describe.h"

namespace gabarit {

void add_info(CLI::App& program, int& status)
{
    struct arguments {
        std::string file;
        bool as_json = false;
    };
    const auto given = std::make_shared<arguments>();
    CLI::App* const command = program.add_subcommand("info", "Print what a gabarit says of itself");
    add_file(*command, given->file);
    command->add_flag("--json", given->as_json, "As one JSON object");
    command->callback([given, &status] {
        status = run_on(given->file, [&] { std::cout << describe(given->file, given->as_json); });
    });
}

} // namespace gabarit
