#include "marquen/options.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <span>
#include <system_error>

#include <CLI/CLI.hpp>

#include "picture/picture.h"
#include "plan/free_memory.h"

namespace marquen {

namespace {

CLI::IsMember one_of(std::span<const char* const> words)
{
    return CLI::IsMember(std::vector<std::string>(words.begin(), words.end()));
}

template <class ENUM>
ENUM value_of(const std::string& word, std::span<const char* const> words)
{
    return static_cast<ENUM>(std::find(words.begin(), words.end(), word) - words.begin());
}

std::string check_seconds(const std::string& text)
{
    double seconds = 0.0;
    if (CLI::detail::lexical_cast(text, seconds) && std::isfinite(seconds) && seconds > 0.0)
        return {};
    return "'" + text + "' is no number of seconds above 0";
}

std::string check_picture_path(const std::string& path)
{
    return picture::is_picture_path(path) ? std::string()
                                          : "'" + path + "' ends neither in .png nor in .svg nor in .pdf";
}

// The file records its settings with six digits. Taking no more makes the recorded command repeat the analysis.
double as_recorded(double seconds)
{
    char text[32];
    std::snprintf(text, sizeof text, "%g", seconds);
    return std::strtod(text, nullptr);
}

bool is_input(const std::string& output, const std::vector<std::string>& input)
{
    return std::any_of(input.begin(), input.end(), [&](const std::string& path) {
        std::error_code unknown;
        return std::filesystem::equivalent(path, output, unknown);
    });
}

// What the command line must fulfil as a whole.
void check_outputs(const options& chosen)
{
    if (chosen.similarity.empty() && !chosen.plan)
        throw CLI::RequiredError("--similarity");
    for (const std::string& output : {chosen.similarity, chosen.picture})
        if (is_input(output, chosen.input))
            throw CLI::ValidationError("'" + output + "' is the sound itself and would be overwritten");
    std::error_code unknown;
    if (!chosen.picture.empty() && std::filesystem::weakly_canonical(chosen.similarity, unknown) ==
                                       std::filesystem::weakly_canonical(chosen.picture, unknown))
        throw CLI::ValidationError("--similarity and --picture name the same file");
}

// Words, before they become enumeration values.
struct setting_words {
    std::string features, modeling, centering;
};

void add_settings(CLI::App& app, options& chosen, setting_words& words)
{
    const CLI::Validator seconds(check_seconds, "");
    app.add_option("--features_type", words.features, "What is compared")
        ->type_name("KIND")
        ->check(one_of(features_words))
        ->default_str(words.features);
    app.add_option("--features_modeling", words.modeling, "How the moments of a window are summed up")
        ->type_name("KIND")
        ->check(one_of(modeling_words))
        ->default_str(words.modeling);
    app.add_option("--features_modeling_length", chosen.modeling_window, "Length of the window")
        ->type_name("SECONDS")
        ->check(seconds)
        ->capture_default_str();
    app.add_option("--window_centering", words.centering, "Where the windows lie: evenly, on a grid")
        ->type_name("KIND")
        ->check(CLI::IsMember({"grid"}))
        ->default_str(words.centering);
    app.add_option("--window_grid_hop", chosen.modeling_step, "Step from window to window")
        ->type_name("SECONDS")
        ->check(seconds)
        ->capture_default_str();
}

void add_options(CLI::App& app, options& chosen, setting_words& words)
{
    app.set_version_flag("--version", std::string("marquen ") + veloria::getVersion());
    app.add_option("--input", chosen.input,
                   "The sound; several files, of equal rate and length, are taken as one sound")
        ->type_name("FILE")
        ->required();
    app.add_option("--similarity", chosen.similarity, "The gabarit to write")->type_name("OUT.sdif");
    app.add_option("--picture", chosen.picture, "Draw the gabarit too: .png, .svg or .pdf")
        ->type_name("OUT")
        ->check(CLI::Validator(check_picture_path, ""));
    add_settings(app, chosen, words);
    app.add_option("--max_memory", chosen.max_memory,
                   "Refuse a job that needs more bytes (KB, MB, GB may follow); what the machine has free if not given")
        ->transform(CLI::AsSizeValue(true).description(""))
        ->check(CLI::NonNegativeNumber.description(""))
        ->type_name("SIZE");
    app.add_flag("--plan", chosen.plan, "Tell n, memory and file size, start nothing");
    app.add_flag("--json", chosen.json, "Sum up the job on stdout, as one JSON object");
    app.add_flag("--quiet", chosen.quiet, "Show no progress bar");
}

} // namespace

std::optional<options> parse_options(int argc, const char* const* argv, int& status)
{
    options chosen{};
    veloria::getDefaultSettings(chosen.features, chosen.modeling, chosen.modeling_window, chosen.modeling_step);
    setting_words words{features_words[chosen.features], modeling_words[chosen.modeling], "grid"};
    chosen.max_memory = plan::free_memory();
    CLI::App app("Shows the musical structure of a sound: writes its gabarit, a picture of how alike every moment "
                 "is to every other.",
                 "marquen");
    app.failure_message([](const CLI::App*, const CLI::Error& error) {
        return std::string("marquen: ") + error.what() + " (marquen --help tells the options)\n";
    });
    add_options(app, chosen, words);
    try {
        app.parse(argc, argv);
        check_outputs(chosen);
    } catch (const CLI::ParseError& answer) {
        status = app.exit(answer) == 0 ? 0 : 2;
        return {};
    }
    chosen.features = value_of<veloria::features_type>(words.features, features_words);
    chosen.modeling = value_of<veloria::modeling_type>(words.modeling, modeling_words);
    chosen.modeling_window = as_recorded(chosen.modeling_window);
    chosen.modeling_step = as_recorded(chosen.modeling_step);
    return chosen;
}

} // namespace marquen
