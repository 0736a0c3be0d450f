#include "gabarit/commands.h"

#include <exception>
#include <iostream>

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
