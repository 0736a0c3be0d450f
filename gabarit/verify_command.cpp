#include <exception>
#include <iostream>
#include <memory>

#include "gabarit/commands.h"
#include "gabarit/reader.h"
#include "gabarit/verify.h"

namespace gabarit {

namespace {

int verify_all(const std::vector<std::string>& files)
{
    int status = 0;
    for (const std::string& file : files) {
        std::string finding;
        try {
            finding = "whole, n = " + std::to_string(verify(file));
        } catch (const std::exception& error) {
            finding = error.what();
            status = 1;
        }
        std::cout << showable(file + ": " + finding) << '\n';
    }
    return status;
}

} // namespace

void add_verify(CLI::App& program, int& status)
{
    const auto files = std::make_shared<std::vector<std::string>>();
    CLI::App* const command = program.add_subcommand("verify", "Tell whole gabarits from damaged ones, a line a file");
    command->add_option("FILE", *files, "The gabarits")->type_name("")->required();
    command->callback([files, &status] { status = verify_all(*files); });
}

} // namespace gabarit
