#include "gabarit/commands.h"

#include <exception>
#include <iostream>
#include <stdexcept>

#include "gabarit/reader.h"

namespace gabarit {

CLI::Option* add_file(CLI::App& command, std::string& path)
{
    return command.add_option("FILE", path, "The gabarit")->type_name("")->required();
}

CLI::Option* add_output(CLI::App& command, std::string& path, bool (*is_known)(const std::string&),
                        const std::string& endings, const std::string& description)
{
    const auto fault = [=](const std::string& given) {
        return is_known(given) ? std::string() : "'" + given + "' must end in " + endings;
    };
    return command.add_option("OUT", path, description)->type_name("")->required()->check(CLI::Validator(fault, ""));
}

CLI::Option* add_force(CLI::App& command, picture::existing& treatment)
{
    return command.add_flag_callback(
        "-f,--force", [&] { treatment = picture::existing::replace; }, "Replace an output that exists");
}

void check_outputs(const std::string& file, const std::vector<std::string>& outputs, picture::existing treatment)
{
    for (const std::string& output : outputs) {
        if (picture::are_same_file(file, output))
            throw std::runtime_error("would be overwritten by '" + output + "'");
        picture::check_output(output, treatment);
    }
}

int run_on(const std::string& file, const std::function<void()>& work)
{
    try {
        work();
        return 0;
    } catch (const std::exception& error) {
        std::cerr << "gabarit: " << showable(file + ": " + error.what()) << '\n';
        return 1;
    }
}

} // namespace gabarit
