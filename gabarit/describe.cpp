#include "gabarit/describe.h"

#include <charconv>
#include <system_error>

#include <nlohmann/json.hpp>

#include "gabarit/reader.h"

namespace gabarit {

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
    reader gabarit(path);
    double first = 0.0;
    column read{};
    for (int i = 0; gabarit.next_column(read); ++i)
        if (i == 0)
            first = read.time_seconds;
    const int n = gabarit.size();
    const double last = read.time_seconds;

    json facts;
    facts["file"] = showable(path);
    facts["n"] = n;
    facts["first_time"] = n > 0 ? json(first) : json();
    facts["last_time"] = n > 0 ? json(last) : json();
    facts["step"] = n > 1 ? json((last - first) / (n - 1)) : json();
    const settings made_with = gabarit.made_with();
    facts["settings"] = {{"features_type", setting(made_with.features)},
                         {"features_modeling", setting(made_with.modeling)},
                         {"features_modeling_length", setting(made_with.modeling_window)},
                         {"window_grid_hop", setting(made_with.modeling_step)}};
    facts["table"] = json::object();
    auto& table = facts["table"].get_ref<json::object_t&>(); // whose own way in compares with all names that are there
    for (const Quillon::NameValue& entry : gabarit.table())
        table.emplace_back(entry.name, entry.value);
    const information& info = gabarit.info();
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

std::string describe(const std::string& path, bool as_json)
{
    const json facts = facts_of(path);
    return as_json ? facts.dump(2) + '\n' : lines_of(facts, "");
}

} // namespace gabarit
