#include "gabarit/program_style.h"

#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "gabarit/reader.h"

namespace gabarit {

namespace {

constexpr std::size_t columns = 80, name_columns = 30;

// Wraps the help at blanks. What describes an option goes on below its first line.
class narrow_formatter : public CLI::Formatter {
public:
    narrow_formatter() { column_width(name_columns); }

    std::string make_help(const CLI::App* program, std::string name, CLI::AppFormatMode mode) const override
    {
        std::istringstream lines(Formatter::make_help(program, std::move(name), mode));
        std::string help;
        for (std::string line; std::getline(lines, line);) {
            const std::size_t indent = line.starts_with("  ") ? name_columns : 0;
            while (line.size() > columns) {
                const std::size_t blank = line.rfind(' ', columns);
                if (blank == std::string::npos || blank <= indent)
                    break;
                help += line.substr(0, blank) + '\n';
                line = std::string(indent, ' ') + line.substr(blank + 1);
            }
            help += line + '\n';
        }
        return help;
    }
};

// CLI11 looks for what is missing first.
std::string describe(const CLI::App& program, const CLI::Error& error)
{
    const std::vector<std::string> unknown = program.remaining(true);
    return showable(unknown.empty() ? error.what() : CLI::ExtrasError(unknown).what());
}

} // namespace

void set_style(CLI::App& program)
{
    program.formatter(std::make_shared<narrow_formatter>());
    program.failure_message([](const CLI::App* failed, const CLI::Error& error) {
        const std::string name = failed->get_name();
        return name + ": " + describe(*failed, error) + " (" + name + " --help prints the options)\n";
    });
}

} // namespace gabarit
