#include "gabarit/commands.h"

#include <charconv>
#include <system_error>

#include <nlohmann/json.hpp>

#include "gabarit/gabarit_reader.h"

using json = nlohmann::ordered_json;

namespace {

// The command's own words, numbers as such.
json setting(const std::string& word)
{
    double number = 0.0;
    const char* const end = word.data() + word.size();
    if (word.empty())
        return nullptr;
    const auto [read_to, fault] = std::from_chars(word.data(), end, number);
    return read_to == end && fault == std::errc() ? json(number) : json(word);
}

json facts_of(const std::string& path)
{
    gabarit_reader reader(path);
    double first = 0.0;
    gabarit_column column{};
    for (int i = 0; reader.next_column(column); ++i)
        if (i == 0)
            first = column.time_seconds;
    const int n = reader.size();
    const double last = column.time_seconds;

    json facts;
    facts["file"] = showable(path);
    facts["n"] = n;
    facts["first_time"] = n > 0 ? json(first) : json();
    facts["last_time"] = n > 0 ? json(last) : json();
    facts["step"] = n > 1 ? json((last - first) / (n - 1)) : json();
    const gabarit_settings settings = reader.settings();
    facts["settings"] = {{"features_type", setting(settings.features)},
                         {"features_modeling", setting(settings.modeling)},
                         {"features_modeling_length", setting(settings.modeling_window)},
                         {"window_grid_hop", setting(settings.modeling_step)}};
    facts["table"] = json::object();
    for (const Quillon::NameValue& entry : reader.table())
        facts["table"][entry.name] = entry.value;
    const gabarit_info& info = reader.info();
    facts["info"] = {{"gabmode", info.mode},
                     {"samplerate", info.sample_rate_hz},
                     {"nchannels", info.channels},
                     {"fftsize", info.fft_size},
                     {"numframes", info.frame_count}};
    return facts;
}

// A line a fact, those of an inner object under its name.
std::string lines_of(const json& facts, const std::string& prefix)
{
    std::string lines;
    for (const auto& [name, fact] : facts.items()) {
        if (fact.is_object())
            lines += lines_of(fact, prefix + name + '.');
        else if (!fact.is_null())
            lines += prefix + name + ": " + (fact.is_string() ? fact.get<std::string>() : fact.dump()) + '\n';
    }
    return lines;
}

} // namespace

std::string describe_gabarit(const std::string& path, bool as_json)
{
    const json facts = facts_of(path);
    return as_json ? facts.dump(2) + '\n' : lines_of(facts, "");
}
