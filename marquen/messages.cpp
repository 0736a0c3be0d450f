#include "marquen/messages.h"

#include <algorithm>
#include <filesystem>
#include <sstream>
#include <string_view>
#include <vector>

#include "gabarit/reader.h"

namespace marquen {

namespace {

// What the library says stays as it is; behind it stands what a person can do.
struct advice {
    std::string_view text; // a part of the error
    cause why;
    const char* to_do;
};

constexpr advice known_errors[] = {
    {"readsnd::FileObj::read error", cause::sound,
     "the file is damaged or was cut: re-encode what can be played of it as WAV"},
    {"readsnd::FileObj::seek error", cause::sound,
     "the file is damaged or was cut: re-encode what can be played of it as WAV"},
    {"inconsistent eof", cause::sound, "one of the files was cut: make them equally long"},
    {"the length of the sound is unknown", cause::sound, "re-encode it as WAV"},
    {"the sound is too long", cause::sound, "cut it into shorter sounds"},
    {"min/max_elem called for empty expression", cause::sound,
     "at this sampling rate its last few samples are too few to resample: cut them off, or resample it to 44.1 kHz"},
    {"The resampling ratio is too low", cause::sound, "resample it to 44.1 kHz"},
    {"Format not recognised", cause::sound, "re-encode it as WAV; marquen --formats lists what opens"},
    {"unknown format", cause::sound, "re-encode it as WAV; marquen --formats lists what opens"},
    {"std::bad_alloc", cause::machine, "memory ran out: take a longer --step or a shorter sound"},
    {"internal error on thread creation", cause::machine, "the system gives no more threads: try again later"},
    {"error creating mutex", cause::machine, ""},
    {"Too many open files", cause::machine, "raise the limit (ulimit -n)"},
    {"Input/output error", cause::machine, ""},
    {"error writing file", cause::output, ""},
    {"for writing", cause::output, ""},
    {"can't be written", cause::output, ""},
    {"System error", cause::sound, ""},
    {"it is a device", cause::sound, ""},
    {"through this pipe", cause::sound, ""},
    {"it is a directory", cause::sound, "name the sounds in it"},
    {"error opening file", cause::sound, "re-encode it as WAV"},
};

const advice* find_advice(const std::string& text)
{
    for (const advice& one : known_errors)
        if (text.find(one.text) != std::string::npos)
            return &one;
    return nullptr;
}

// Some texts of the library have line breaks inside or at their end, and blanks around them.
std::string on_one_line(const std::string& text)
{
    std::istringstream lines(text);
    std::string joined;
    for (std::string line; std::getline(lines >> std::ws, line);)
        joined += (joined.empty() ? "" : " ") + line;
    joined.erase(joined.find_last_not_of(' ') + 1);
    return joined;
}

bool names(const std::string& text, const std::string& path)
{
    return !path.empty() && text.find("'" + path + "'") != std::string::npos;
}

} // namespace

cause cause_of(const std::string& text)
{
    const advice* const known = find_advice(text);
    return known == nullptr ? cause::sound : known->why;
}

std::string name_file(const std::string& text, const std::string& path)
{
    // Some texts have the path with its folders.
    return text.find(std::filesystem::path(path).filename().string() + "'") != std::string::npos ? text
                                                                                                 : path + ": " + text;
}

std::string error_line(const std::string& text, const job& one)
{
    std::vector<std::string> files = one.input;
    for (const std::string& output : one.outputs())
        files.push_back(output);
    const bool named = std::ranges::any_of(files, [&](const std::string& path) {
        return names(text, path) || (!path.empty() && (name_file(text, path) == text || text.starts_with(path + ": ")));
    });
    std::string line = named ? on_one_line(text) : one.input.front() + ": " + on_one_line(text);
    if (const advice* const known = find_advice(text); known != nullptr && *known->to_do != '\0')
        line.append(" (").append(known->to_do).append(")");
    return gabarit::showable(line);
}

} // namespace marquen
