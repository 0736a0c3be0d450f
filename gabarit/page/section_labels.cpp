#include "gabarit/page/section_labels.h"

#include <cmath>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include <nlohmann/json.hpp>

#include "gabarit/reader.h"

namespace gabarit {

namespace {

bool is_stretch(double start, double end)
{
    constexpr double longest_seconds = 1.0e9; // no sound is as long, and clocks can show it
    return std::fabs(start) <= longest_seconds && std::fabs(end) <= longest_seconds && start <= end;
}

std::vector<sections::section> sections_of_json(std::istream& file)
{
    std::vector<sections::section> parts;
    const nlohmann::json document = nlohmann::json::parse(file);
    for (const nlohmann::json& part : document.at("sections")) {
        const sections::section read{part.at("start"), part.at("end"), showable(part.at("label").get<std::string>())};
        if (!is_stretch(read.start_seconds, read.end_seconds))
            throw std::runtime_error("a section has no start before its end");
        parts.push_back(read);
    }
    return parts;
}

std::vector<sections::section> sections_of_lines(std::istream& file)
{
    std::vector<sections::section> parts;
    int number = 0;
    for (std::string line; std::getline(file, line);) {
        ++number;
        // Audacity writes the frequencies of a label on a line of their own, which begins so.
        if (line.find_first_not_of(" \t\r") == std::string::npos || line.front() == '\\')
            continue;
        std::istringstream words(line);
        words.imbue(std::locale::classic());
        double start = 0.0, end = 0.0;
        std::string label;
        if (!(words >> start >> end) || !is_stretch(start, end))
            throw std::runtime_error("line " + std::to_string(number) + " holds no start, end and label");
        std::getline(words >> std::ws, label);
        label.erase(label.find_last_not_of(" \t\r") + 1);
        parts.push_back({start, end, showable(label)});
    }
    if (file.bad())
        throw std::runtime_error("it is no file of text");
    return parts;
}

} // namespace

std::vector<sections::section> read_section_labels(const std::string& path)
{
    std::ifstream file(path);
    if (!file)
        throw std::runtime_error("the sections '" + path + "' can't be opened");
    try {
        return std::filesystem::path(path).extension() == ".json" ? sections_of_json(file) : sections_of_lines(file);
    } catch (const nlohmann::json::type_error&) {
        throw std::runtime_error("the sections '" + path +
                                 "' can't be read: no array \"sections\" of objects with start, end and label");
    } catch (const std::exception& error) {
        throw std::runtime_error("the sections '" + path + "' can't be read: " + error.what());
    }
}

} // namespace gabarit
