#include "c/arguments.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <limits>
#include <stdexcept>

namespace veloria_c {

namespace {

// A struct as this version knows it. What a later version has added must be unset.
template <class RECORD>
RECORD checked_record(const RECORD* given, const char* refusal)
{
    require(given->size >= sizeof(RECORD) && given->size <= 4096, refusal);
    const auto* const bytes = reinterpret_cast<const unsigned char*>(given);
    require(std::all_of(bytes + sizeof(RECORD), bytes + given->size, [](unsigned char b) { return b == 0; }), refusal);
    return *given;
}

} // namespace

void require(bool condition, const char* text)
{
    if (!condition)
        throw std::invalid_argument(text);
}

int checked_count(std::size_t path_count)
{
    require(path_count <= INT_MAX, "invalid number of input paths");
    return static_cast<int>(path_count);
}

analysis checked_settings(const veloria_settings* given)
{
    analysis chosen{};
    veloria::getDefaultSettings(chosen.features, chosen.modeling, chosen.window_seconds, chosen.step_seconds);
    if (given == nullptr)
        return chosen;
    const veloria_settings settings = checked_record(given, "invalid size of the settings");
    if (settings.features < 0 || settings.features > VELORIA_MIXED)
        throw std::logic_error("invalid feature selection");
    if (settings.modeling < 0 || settings.modeling > VELORIA_MPH)
        throw std::logic_error("invalid modeling specification");
    if (!std::isfinite(settings.window_seconds))
        throw std::out_of_range("invalid modeling window");
    if (!std::isfinite(settings.step_seconds))
        throw std::out_of_range("invalid modeling step");
    if (settings.features != 0)
        chosen.features = static_cast<veloria::features_type>(settings.features - 1);
    if (settings.modeling != 0)
        chosen.modeling = static_cast<veloria::modeling_type>(settings.modeling - 1);
    if (settings.window_seconds != 0.0)
        chosen.window_seconds = settings.window_seconds;
    if (settings.step_seconds != 0.0)
        chosen.step_seconds = settings.step_seconds;
    chosen.max_memory = settings.max_memory;
    return chosen;
}

veloria_samples checked_samples(const veloria_samples* given)
{
    constexpr int most_channels = 1024; // of libsndfile
    require(given != nullptr, "invalid samples");
    const veloria_samples samples = checked_record(given, "invalid size of the samples");
    require(samples.type >= VELORIA_FLOAT32 && samples.type <= VELORIA_INT16, "invalid type of samples");
    require(samples.channels >= 1 && samples.channels <= most_channels, "invalid number of channels");
    require(samples.rate_hz >= 1, "invalid sampling rate");
    require(samples.frames <= std::numeric_limits<std::int32_t>::max(), "the sound is too long");
    require(samples.data != nullptr || samples.frames == 0, "invalid samples");
    return samples;
}

} // namespace veloria_c
