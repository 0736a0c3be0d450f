#include "marquen/summary.h"

#include <algorithm>
#include <sstream>

#include <nlohmann/json.hpp>

#include "gabarit/reader.h"
#include "plan/free_memory.h"

namespace marquen {

namespace {

constexpr const char* state_words[] = {"planned", "finished", "failed", "canceled"};

nlohmann::ordered_json text_or_null(const std::string& text)
{
    return text.empty() ? nlohmann::ordered_json() : nlohmann::ordered_json(text);
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

} // namespace

std::string to_json(const summary& run, const options& chosen)
{
    nlohmann::ordered_json object{
        {"state", state_words[run.state]},
        {"error", text_or_null(run.error)},
        {"input", chosen.input},
        {"similarity", text_or_null(chosen.similarity)},
        {"picture", text_or_null(chosen.picture)},
        {"features_type", features_words[chosen.features]},
        {"features_modeling", modeling_words[chosen.modeling]},
        {"features_modeling_length", chosen.modeling_window},
        {"window_centering", "grid"},
        {"window_grid_hop", chosen.modeling_step},
        {"n", nullptr},
        {"seconds_of_sound", nullptr},
        {"seconds_of_work", run.work_seconds},
        {"memory_bytes", nullptr},
        {"memory_bytes_used", nullptr},
        {"file_bytes", nullptr},
    };
    if (run.plan) {
        object["n"] = run.plan->moments;
        object["seconds_of_sound"] = run.plan->sound_seconds;
        object["memory_bytes"] = run.plan->memory_bytes;
        object["file_bytes"] = run.plan->file_bytes;
    }
    if (run.state == summary::finished)
        object["memory_bytes_used"] = plan::peak_memory();
    // A path need not be UTF-8; JSON must be.
    return object.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
}

std::string to_text(const plan::job_plan& job)
{
    return "n       " + std::to_string(job.moments) + "\nmemory  about " + plan::readable_size(job.memory_bytes) +
           "\nfile    about " + plan::readable_size(job.file_bytes);
}

std::string error_line(const std::string& text, const options& chosen)
{
    const auto names = [&](const std::string& path) { return text.find("'" + path + "'") != std::string::npos; };
    const bool names_file =
        names(chosen.similarity) || names(chosen.picture) || std::ranges::any_of(chosen.input, names);
    return gabarit::showable((names_file ? "" : chosen.input.front() + ": ") + on_one_line(text));
}

} // namespace marquen
