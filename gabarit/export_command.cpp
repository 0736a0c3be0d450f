#include <filesystem>
#include <memory>
#include <stdexcept>
#include <system_error>

#include "gabarit/commands.h"
#include "gabarit/export.h"

namespace gabarit {

void add_export(CLI::App& program, int& status)
{
    struct arguments {
        std::string file, out;
    };
    const auto given = std::make_shared<arguments>();
    CLI::App* const command = program.add_subcommand("export", "Write the numbers of a gabarit");
    add_file(*command, given->file);
    add_output(*command, given->out, is_export_path, ".npy or .csv", "NAME.npy (with NAME.times.npy) or NAME.csv");
    command->callback([given, &status] {
        status = run_on(given->file, [&] {
            std::error_code unknown;
            if (std::filesystem::equivalent(given->file, given->out, unknown))
                throw std::runtime_error("would be overwritten");
            export_numbers(given->file, given->out);
        });
    });
}

} // namespace gabarit
