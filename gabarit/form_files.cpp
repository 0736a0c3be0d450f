#include "gabarit/form_files.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdio>
#include <filesystem>
#include <iterator>
#include <vector>

#include <nlohmann/json.hpp>

namespace gabarit {

using json = nlohmann::ordered_json;

namespace {

std::string seconds_text(double seconds)
{
    std::array<char, 48> text{};
    std::snprintf(text.data(), text.size(), "%.3f", seconds);
    return text.data();
}

std::string lines_of(const form& found, char separator)
{
    std::string lines;
    for (const sections::section& each : found.sections)
        lines += seconds_text(each.start_seconds) + separator + seconds_text(each.end_seconds) + separator +
                 each.label + '\n';
    return lines;
}

std::string regions_of(const form& found)
{
    std::string lines = "time,value,duration,label\n";
    std::vector<std::string> labels; // by first appearance
    for (const sections::section& each : found.sections) {
        auto known = std::ranges::find(labels, each.label);
        if (known == labels.end())
            known = labels.insert(known, each.label);
        lines += seconds_text(each.start_seconds) + ',' + std::to_string(known - labels.begin() + 1) + ',' +
                 seconds_text(each.end_seconds - each.start_seconds) + ',' + each.label + '\n';
    }
    return lines;
}

std::string jams_of(const form& found)
{
    const double duration = found.sections.empty() ? 0.0 : found.sections.back().end_seconds;
    const std::string empty;
    json annotation{{"annotation_metadata",
                     {{"curator", {{"name", empty}, {"email", empty}}},
                      {"annotator", json::object()},
                      {"version", empty},
                      {"corpus", empty},
                      {"annotation_tools", "gabarit sections"},
                      {"annotation_rules", empty},
                      {"validation", empty},
                      {"data_source", "program"}}},
                    {"namespace", "segment_open"},
                    {"data", json::array()},
                    {"sandbox", json::object()},
                    {"time", 0.0},
                    {"duration", duration}};
    for (const sections::section& each : found.sections)
        annotation["data"].push_back({{"time", each.start_seconds},
                                      {"duration", each.end_seconds - each.start_seconds},
                                      {"value", each.label},
                                      {"confidence", nullptr}});
    const json all{{"annotations", json::array({annotation})},
                   {"file_metadata",
                    {{"title", std::filesystem::path(found.sound).filename().string()},
                     {"artist", empty},
                     {"release", empty},
                     {"duration", duration},
                     {"identifiers", json::object()},
                     {"jams_version", "0.3.4"}}},
                   {"sandbox", json::object()}};
    return all.dump(2) + '\n';
}

struct format {
    const char* ending;
    std::string (*text)(const form&);
};

constexpr format formats[] = {
    {".txt", [](const form& found) { return lines_of(found, '\t'); }},
    {".lab", [](const form& found) { return lines_of(found, ' '); }},
    {".jams", jams_of},
    {".csv", regions_of},
};

const format* format_of(const std::string& path)
{
    const auto known = std::ranges::find(formats, std::filesystem::path(path).extension().string(), &format::ending);
    return known == std::end(formats) ? nullptr : known;
}

} // namespace

bool is_form_path(const std::string& path)
{
    return format_of(path) != nullptr;
}

void write_form(const form& found, const std::string& path, picture::existing treatment)
{
    picture::whole_file file(path, treatment);
    file.write(format_of(path)->text(found));
    file.commit();
}

} // namespace gabarit
