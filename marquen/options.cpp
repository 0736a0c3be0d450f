#include "marquen/options.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <map>
#include <set>
#include <span>
#include <system_error>
#include <thread>

#include <unistd.h>

#include <CLI/CLI.hpp>

#include "gabarit/program_style.h"
#include "marquen/formats.h"
#include "marquen/size_text.h"
#include "marquen/summary.h"
#include "picture/picture.h"
#include "picture/whole_file.h"
#include "plan/free_memory.h"

namespace marquen {

namespace {

namespace fs = std::filesystem;

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

std::string version_lines()
{
    std::string lines;
    for (const auto& [name, version] : versions())
        lines += (lines.empty() ? "" : "\n") + name + " " + version;
    return lines;
}

// What the command line says, before it becomes jobs and enumeration values.
struct words {
    std::vector<std::string> sounds; // each for itself
    job single;                      // --input, --similarity, --picture
    std::string folder;
    std::string features, modeling, centering;
    std::string max_memory;
    std::string progress = "bar";
    bool no_picture = false;
    bool sections = false;
    bool page = false;
    bool formats = false;
};

void add_files(CLI::App& app, words& given)
{
    app.add_option("SOUND", given.sounds,
                   "Sounds, each for itself: song.flac gives song.sdif and song.png; - is the standard input")
        ->type_name("");
    app.add_option("-o,--out", given.folder, "The folder for what SOUNDs give, if not the current one")
        ->type_name("DIR");
    app.add_flag("--no-picture", given.no_picture, "Draw no pictures of SOUNDs");
    app.add_option("--input", given.single.input,
                   "One sound; several files, of equal rate and length, are taken as one sound")
        ->type_name("FILE");
    app.add_option("--similarity", given.single.similarity, "The gabarit to write")->type_name("OUT.sdif");
    app.add_option("--picture", given.single.picture, "Draw the gabarit too: .png, .svg or .pdf")
        ->type_name("OUT")
        ->check(CLI::Validator(check_picture_path, ""));
    app.add_flag("--sections", given.sections,
                 "Write the sections too, as labels beside the gabarit: song.txt to song.sdif");
    app.add_flag("--page", given.page, "Write a page to listen to beside each gabarit, as gabarit page does");
}

void add_settings(CLI::App& app, options& chosen, words& given)
{
    const CLI::Validator seconds(check_seconds, "");
    app.add_option("--features_type,--features", given.features, "What is compared")
        ->type_name("KIND")
        ->check(one_of(features_words))
        ->default_str(given.features);
    app.add_option("--features_modeling,--modeling", given.modeling, "How the moments of a window are summed up")
        ->type_name("KIND")
        ->check(one_of(modeling_words))
        ->default_str(given.modeling);
    app.add_option("--features_modeling_length,--window", chosen.modeling_window, "Length of the window")
        ->type_name("SECONDS")
        ->check(seconds)
        ->capture_default_str();
    app.add_option("--window_centering", given.centering, "Where the windows lie: evenly, on a grid")
        ->type_name("KIND")
        ->check(CLI::IsMember({"grid"}))
        ->default_str(given.centering);
    app.add_option("--window_grid_hop,--step", chosen.modeling_step, "Step from window to window")
        ->type_name("SECONDS")
        ->check(seconds)
        ->capture_default_str();
}

void add_conduct(CLI::App& app, options& chosen, words& given)
{
    app.add_flag("-f,--force", chosen.force, "Let outputs replace files, each once the new one is whole");
    app.add_option("-j,--jobs", chosen.at_once, "How many SOUNDs at once; as many as there are cores if not given")
        ->type_name("N")
        ->check(CLI::Range(1, 4096).description(""));
    app.add_option("--max_memory", given.max_memory,
                   "Refuse a job that needs more, such as 8.5GB; what the machine has free if not given")
        ->check(CLI::Validator([](const std::string& text) { return check_size(text); }, ""))
        ->type_name("SIZE");
    app.add_flag("--plan", chosen.plan, "Print n, memory and file size, start nothing");
    app.add_flag("--json", chosen.json, "Sum up the job on stdout, as one JSON object");
    app.add_flag("--without_digests", chosen.without_digests, "")->group(""); // of one of several sounds
    app.add_flag("-q,--quiet", chosen.quiet, "Show no progress");
    app.add_option("--progress", given.progress,
                   "How to show progress on stderr: a bar, if that is a terminal; or lines of JSON")
        ->type_name("FORM")
        ->check(CLI::IsMember({"bar", "json"}))
        ->default_str(given.progress);
    app.add_flag("--formats", given.formats, "Print the endings of the sounds that this machine's libsndfile opens");
}

// song.flac gives song.sdif and song.png.
job job_of(const std::string& sound, const words& given)
{
    const fs::path name = sound == "-" ? "stdin" : fs::path(sound).stem();
    const std::string results = fs::path(given.folder) / name;
    return {{sound}, results + ".sdif", given.no_picture ? "" : results + ".png", "", ""};
}

std::vector<job> jobs_of(const words& given)
{
    if (given.sounds.empty()) {
        if (given.single.input.empty())
            throw CLI::RequiredError("A SOUND or --input");
        return {given.single};
    }
    if (!given.single.input.empty())
        throw CLI::ExcludesError("SOUND", "--input");
    std::vector<job> jobs;
    for (const std::string& sound : given.sounds)
        jobs.push_back(job_of(sound, given));
    if (jobs.size() > 1 && !(given.single.similarity + given.single.picture).empty())
        throw CLI::ValidationError("--similarity and --picture name the results of one sound");
    if (!given.single.similarity.empty())
        jobs[0].similarity = given.single.similarity;
    if (!given.single.picture.empty())
        jobs[0].picture = given.single.picture;
    return jobs;
}

// Beside the gabarits.
void add_sections_and_pages(std::vector<job>& jobs, const words& given)
{
    for (job& one : jobs) {
        const fs::path gabarit = one.similarity;
        if (given.sections && !gabarit.empty())
            one.sections = fs::path(gabarit).replace_extension(".txt");
        if (given.page && !gabarit.empty())
            one.page = fs::path(gabarit).replace_extension(".html");
    }
}

// The file behind a path; the path itself where that can't be known: the job will say why.
std::string file_of(const std::string& path)
{
    try {
        return picture::reached_file(path);
    } catch (const std::system_error&) {
        return path;
    }
}

// An output that is another one or an input would destroy it.
void check_names(const std::vector<job>& jobs)
{
    std::set<std::string> sounds;
    std::map<std::string, const job*> outputs; // whose each is
    for (const job& one : jobs)
        for (const std::string& path : one.input)
            sounds.insert(file_of(path));
    for (const job& one : jobs)
        for (const std::string& output : one.outputs()) {
            if (output.empty())
                continue;
            const std::string reached = file_of(output);
            if (sounds.contains(reached))
                throw CLI::ValidationError("'" + output + "' is the sound itself and would be overwritten");
            const auto [other, is_new] = outputs.emplace(reached, &one);
            if (is_new)
                continue;
            if (other->second != &one)
                throw CLI::ValidationError("'" + other->second->input.front() + "' and '" + one.input.front() +
                                           "' would both give '" + output + "'");
            throw CLI::ValidationError(output == one.picture ? "--similarity and --picture name the same file"
                                                             : "two results would have the name '" + output + "'");
        }
}

void complete(options& chosen, const words& given)
{
    chosen.jobs = jobs_of(given);
    if (chosen.jobs[0].similarity.empty() && !chosen.plan)
        throw CLI::RequiredError("--similarity");
    add_sections_and_pages(chosen.jobs, given);
    check_names(chosen.jobs);
    chosen.max_memory_given = !given.max_memory.empty();
    chosen.max_memory = chosen.max_memory_given ? size_of(given.max_memory) : plan::free_memory();
    if (chosen.quiet)
        chosen.shown = progress_form::none;
    else if (given.progress == "json")
        chosen.shown = progress_form::json;
    else
        chosen.shown = isatty(STDERR_FILENO) == 1 ? progress_form::bar : progress_form::none;
    chosen.features = value_of<veloria::features_type>(given.features, features_words);
    chosen.modeling = value_of<veloria::modeling_type>(given.modeling, modeling_words);
    chosen.modeling_window = as_recorded(chosen.modeling_window);
    chosen.modeling_step = as_recorded(chosen.modeling_step);
}

} // namespace

std::optional<options> parse_options(int argc, const char* const* argv, int& status)
{
    options chosen{};
    veloria::getDefaultSettings(chosen.features, chosen.modeling, chosen.modeling_window, chosen.modeling_step);
    chosen.at_once = static_cast<int>(std::max(1U, std::thread::hardware_concurrency()));
    words given;
    given.features = features_words[chosen.features];
    given.modeling = modeling_words[chosen.modeling];
    given.centering = "grid";
    CLI::App app("Shows the musical structure of a sound: writes its gabarit, a picture of how alike every moment "
                 "is to every other.",
                 "marquen");
    gabarit::set_style(app);
    app.set_version_flag("-V,--version", version_lines());
    add_files(app, given);
    add_settings(app, chosen, given);
    add_conduct(app, chosen, given);
    try {
        app.parse(argc, argv);
        if (given.formats) {
            std::cout << list_formats();
            return {};
        }
        complete(chosen, given);
    } catch (const CLI::ParseError& answer) {
        status = app.exit(answer) == 0 ? 0 : 2;
        if (status == 2 && std::find(argv, argv + argc, std::string("--json")) != argv + argc)
            std::cout << usage_to_json(answer.what()) << '\n';
        return {};
    }
    return chosen;
}

} // namespace marquen
