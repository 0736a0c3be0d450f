#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <map>
#include <memory>
#include <stdexcept>
#include <thread>

#include "gabarit/commands.h"
#include "gabarit/comparison.h"
#include "gabarit/reader.h"
#include "picture/leftovers.h"
#include "veloria/veloria.h"

namespace gabarit {

namespace {

struct arguments {
    std::string file;
    std::vector<std::string> sounds;
};

// The word of the file as the enumeration's value.
template <class ENUMERATION>
ENUMERATION value_of(const std::map<std::string, ENUMERATION>& words, const std::string& word)
{
    const auto found = words.find(word);
    if (found == words.end())
        throw std::runtime_error("not comparable: the file doesn't record how it was made");
    return found->second;
}

// An empty file of its own, gone with the object.
picture::leftover make_scratch_file()
{
    std::string path = std::filesystem::temp_directory_path() / "gabarit-XXXXXX";
    const picture::held_signals held;
    const int file = mkstemp(path.data());
    if (file < 0)
        throw std::runtime_error("no temporary file: " + path);
    close(file);
    return picture::leftover(path);
}

void analyze(const std::vector<std::string>& sounds, const settings& made, const std::string& output)
{
    using namespace veloria;
    static const std::map<std::string, features_type> features{{"timbre", timbre}, {"harmo", harmo}, {"mixed", mixed}};
    static const std::map<std::string, modeling_type> kinds{
        {"mean", mean}, {"meanvar", meanvar}, {"fft", fft}, {"mph", mph}};
    std::vector<const char*> paths;
    for (const std::string& sound : sounds)
        paths.push_back(sound.c_str());
    process_handle* job = nullptr;
    try {
        job = process(static_cast<int>(paths.size()), paths.data(), output.c_str(), value_of(features, made.features),
                      value_of(kinds, made.modeling), std::strtod(made.modeling_window.c_str(), nullptr),
                      std::strtod(made.modeling_step.c_str(), nullptr));
    } catch (std::runtime_error* error) { // no thread: the one failure that comes as a pointer
        const std::unique_ptr<std::runtime_error> owned(error);
        throw *owned;
    }
    while (getState(job) == process_running)
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    const std::string message = getErrorMessage(job);
    shutdown(job);
    if (!message.empty())
        throw std::runtime_error(message);
}

int reproduce(const arguments& given)
{
    const reader recorded(given.file);
    const std::string version = recorded.value("Version");
    const std::vector<std::string> sounds = given.sounds.empty() ? std::vector{recorded.sound()} : given.sounds;
    const picture::leftover scratch = make_scratch_file();
    analyze(sounds, recorded.made_with(), scratch.made());
    const comparison found = compare(given.file, scratch.made());
    std::cout << text_of(found) << " (made by " << version << ", again by " << veloria::getVersion() << ")\n";
    return found.differing == 0 ? 0 : 1;
}

} // namespace

void add_repro(CLI::App& program, int& status)
{
    const auto given = std::make_shared<arguments>();
    CLI::App* const command =
        program.add_subcommand("repro", "Analyze the sound of a gabarit again, and print how far the result differs");
    add_file(*command, given->file);
    command
        ->add_option("--sound", given->sounds, "The sound, if it isn't where the file says; several for several files")
        ->type_name("FILE");
    command->callback([given, &status] {
        constexpr int not_comparable = 2;
        int end = not_comparable;
        run_on(given->file, [&] { end = reproduce(*given); });
        status = end;
    });
}

} // namespace gabarit
