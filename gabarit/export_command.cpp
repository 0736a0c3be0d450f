#include <memory>

#include "gabarit/commands.h"
#include "gabarit/export.h"

namespace gabarit {

void add_export(CLI::App& program, int& status)
{
    struct arguments {
        std::string file, out;
        picture::existing treatment = picture::existing::refuse;
    };
    const auto given = std::make_shared<arguments>();
    CLI::App* const command = program.add_subcommand("export", "Write the numbers of a gabarit");
    add_file(*command, given->file);
    add_output(*command, given->out, is_export_path, ".npy or .csv", "NAME.npy (with NAME.times.npy) or NAME.csv");
    add_force(*command, given->treatment);
    command->callback([given, &status] {
        status = run_on(given->file, [&] {
            check_outputs(given->file, exported_files(given->out), given->treatment);
            export_numbers(given->file, given->out, given->treatment);
        });
    });
}

} // namespace gabarit
