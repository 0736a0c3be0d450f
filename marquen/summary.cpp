#include "marquen/summary.h"

#include <nlohmann/json.hpp>

#include "gabarit/reader.h"
#include "marquen/formats.h"
#include "plan/free_memory.h"

namespace marquen {

namespace {

using json = nlohmann::ordered_json;

constexpr const char* state_words[] = {"planned", "finished", "failed", "canceled"};

json text_or_null(const std::string& text)
{
    return text.empty() ? json() : json(text);
}

json text_or_null(cause why)
{
    return why == cause::none ? json() : json(cause_words[static_cast<int>(why)]);
}

// A path need not be UTF-8; JSON must be. In ASCII, none of its characters steers a terminal.
std::string text_of(const json& object)
{
    return object.dump(2, ' ', true, json::error_handler_t::replace);
}

} // namespace

int status_of_cause(cause why)
{
    constexpr int sound = 1, other = 4;
    return why == cause::sound ? sound : other;
}

int exit_status(const summary& done)
{
    return done.state == summary::failed ? status_of_cause(done.why) : 0;
}

std::string to_json(const summary& done, const job& one, const options& chosen)
{
    json object{
        {"state", state_words[done.state]},
        {"cause", text_or_null(done.why)},
        {"error", text_or_null(done.error)},
        {"warnings", done.warnings},
        {"input", one.input},
        {"similarity", text_or_null(one.similarity)},
        {"picture", text_or_null(one.picture)},
        {"sections", text_or_null(one.sections)},
        {"form", done.form ? json(*done.form) : json()},
        {"page", text_or_null(one.page)},
        {"features_type", features_words[chosen.features]},
        {"features_modeling", modeling_words[chosen.modeling]},
        {"features_modeling_length", chosen.modeling_window},
        {"window_centering", "grid"},
        {"window_grid_hop", chosen.modeling_step},
        {"n", nullptr},
        {"seconds_of_sound", nullptr},
        {"seconds_announced", nullptr},
        {"seconds_found", nullptr},
        {"seconds_of_work", done.work_seconds},
        {"memory_bytes", nullptr},
        {"memory_bytes_used", nullptr},
        {"file_bytes", nullptr},
        {"input_sha256", done.input_digests},
        {"similarity_sha256", text_or_null(done.similarity_digest)},
        {"versions", json::object()},
    };
    for (const auto& [name, version] : versions())
        object["versions"][name] = version;
    if (done.plan) {
        object["n"] = done.plan->moments;
        object["seconds_of_sound"] = done.plan->sound_seconds;
        object["memory_bytes"] = done.plan->memory_bytes;
        object["file_bytes"] = done.plan->file_bytes;
    }
    if (done.length) {
        object["seconds_announced"] = done.length->announced;
        object["seconds_found"] = done.length->found;
    }
    if (done.state == summary::finished)
        object["memory_bytes_used"] = plan::peak_memory();
    if (done.file_bytes >= 0)
        object["file_bytes"] = done.file_bytes;
    return text_of(object);
}

std::string usage_to_json(const std::string& error)
{
    return text_of({{"state", "failed"}, {"cause", "usage"}, {"error", gabarit::showable(error)}});
}

std::string to_text(const plan::job_plan& planned)
{
    return "n       " + std::to_string(planned.moments) + "\nmemory  about " +
           plan::readable_size(planned.memory_bytes) + "\nfile    about " + plan::readable_size(planned.file_bytes);
}

} // namespace marquen
