#include <iostream>
#include <memory>

#include "gabarit/commands.h"
#include "gabarit/comparison.h"

namespace gabarit {

namespace {

struct arguments {
    std::string one, other, picture;
    picture::existing treatment = picture::existing::refuse;
};

// 0: the same square, 1: another
int compare_and_draw(const arguments& given)
{
    if (!given.picture.empty()) {
        check_outputs(given.one, {given.picture}, given.treatment);
        check_outputs(given.other, {given.picture}, given.treatment);
    }
    const comparison found = compare(given.one, given.other);
    if (!given.picture.empty())
        draw_difference(given.one, given.other, found, given.picture, given.treatment);
    std::cout << text_of(found) << '\n';
    return found.differing == 0 ? 0 : 1;
}

} // namespace

void add_diff(CLI::App& program, int& status)
{
    const auto given = std::make_shared<arguments>();
    CLI::App* const command = program.add_subcommand("diff", "Print how far two gabarits of the same moments differ");
    command->add_option("FILE", given->one, "A gabarit")->type_name("")->required();
    command->add_option("OTHER", given->other, "The other")->type_name("")->required();
    command->add_option("--picture", given->picture, "Draw where they differ: .png, .svg or .pdf")
        ->type_name("OUT")
        ->check(CLI::Validator(
            [](const std::string& path) {
                return picture::is_picture_path(path) ? "" : "'" + path + "' must end in .png, .svg or .pdf";
            },
            ""));
    add_force(*command, given->treatment);
    command->callback([given, &status] {
        constexpr int not_comparable = 2;
        int end = not_comparable;
        run_on(given->one + " and " + given->other, [&] { end = compare_and_draw(*given); });
        status = end;
    });
}

} // namespace gabarit
