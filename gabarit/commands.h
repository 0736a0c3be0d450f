#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "picture/whole_file.h"

/// The subcommands, a file each. `add_NAME` adds one to the program: its options, and what it does, as the callback
/// that runs once they are read. Its exit status goes to `status`, which must outlive the program.
namespace gabarit {

void add_info(CLI::App& program, int& status);
void add_verify(CLI::App& program, int& status);
void add_picture(CLI::App& program, int& status);
void add_export(CLI::App& program, int& status);
void add_sections(CLI::App& program, int& status);
void add_page(CLI::App& program, int& status);
void add_diff(CLI::App& program, int& status);
void add_repro(CLI::App& program, int& status);

/// The gabarit that a subcommand reads.
CLI::Option* add_file(CLI::App& command, std::string& path);

/// The file that it writes; another ending than the known ones is a wrong usage.
CLI::Option* add_output(CLI::App& command, std::string& path, bool (*is_known)(const std::string&),
                        const std::string& endings, const std::string& description);

/// Whether files that exist are replaced.
CLI::Option* add_force(CLI::App& command, picture::existing& treatment);

/// Checks that none of the outputs is the gabarit, and that each can be written.
/// @throws std::runtime_error
void check_outputs(const std::string& file, const std::vector<std::string>& outputs, picture::existing treatment);

/// Takes the names of a map.
template <class VALUE>
CLI::Validator one_of(const std::map<std::string, VALUE>& words)
{
    std::vector<std::string> names;
    for (const auto& word : words)
        names.push_back(word.first);
    return CLI::IsMember(names).description("");
}

/// Does what a subcommand has to do with a file; a failure is one line on stderr that begins with the file's name.
/// @return exit status
int run_on(const std::string& file, const std::function<void()>& work);

} // namespace gabarit
