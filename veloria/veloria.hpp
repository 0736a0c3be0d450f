#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "veloria/veloria_c.h"

/// @file
/// The analysis for C++17 hosts that want neither exceptions nor polling: header only, over `libveloria-c`. All that
/// `veloria/veloria_c.h` documents holds here.
namespace veloria {

/// How a sound is analyzed. What isn't set has its default.
struct settings {
    int features = 0;             ///< a veloria_features
    int modeling = 0;             ///< a veloria_modeling
    double window_seconds = 0.0;  ///< length of sound that one moment stands for
    double step_seconds = 0.0;    ///< distance of two moments
    std::uint64_t max_memory = 0; ///< bytes that the job may take
};

/// What a call came to; true if all is well.
struct outcome {
    veloria_code code = VELORIA_OK;
    std::string message; ///< empty if all is well

    explicit operator bool() const { return code == VELORIA_OK; }
};

/// How alike every moment of a sound is to every other.
struct gabarit {
    std::vector<double> times;            ///< n moments, seconds
    std::vector<std::uint8_t> similarity; ///< n * n, 255: the same
};

/// Samples in memory: float, double or 16-bit, interleaved. They are copied when the job starts.
struct sound {
    template <class SAMPLE>
    sound(const SAMPLE* samples, std::uint64_t frames, int channels, int rate_hz)
        : described{sizeof described, samples, type_of<SAMPLE>(), channels, frames, rate_hz}
    {}

    veloria_samples described;

private:
    template <class SAMPLE>
    static constexpr int type_of()
    {
        static_assert(std::is_same_v<SAMPLE, float> || std::is_same_v<SAMPLE, double> ||
                      std::is_same_v<SAMPLE, std::int16_t>);
        return std::is_same_v<SAMPLE, float>    ? VELORIA_FLOAT32
               : std::is_same_v<SAMPLE, double> ? VELORIA_FLOAT64
                                                : VELORIA_INT16;
    }
};

/// A job. It starts when it is made, and its destructor cancels it, if it runs, and waits for it.
class job {
public:
    /// @param paths  the files of one sound
    /// @param output the gabarit to write; nothing to have it in memory alone
    explicit job(const std::vector<std::string>& paths, const std::optional<std::string>& output = {},
                 const settings& chosen = {})
    {
        std::vector<const char*> names;
        for (const std::string& path : paths)
            names.push_back(path.c_str());
        const veloria_settings given = to_c(chosen);
        start = call([&](char* text, std::size_t size) {
            return veloria_start(names.data(), names.size(), to_c(output), &given, &handle, text, size);
        });
    }

    /// @param output the gabarit to write; nothing to have it in memory alone
    explicit job(const sound& samples, const std::optional<std::string>& output = {}, const settings& chosen = {})
    {
        const veloria_settings given = to_c(chosen);
        start = call([&](char* text, std::size_t size) {
            return veloria_start_samples(&samples.described, to_c(output), &given, &handle, text, size);
        });
    }

    job(job&& other) noexcept : handle(std::exchange(other.handle, nullptr)), start(std::move(other.start)) {}
    job& operator=(job&& other) noexcept
    {
        std::swap(handle, other.handle);
        std::swap(start, other.start);
        return *this;
    }
    ~job() { veloria_job_end(handle); }

    /// Whether there is a job, or why not. All other functions then have the same outcome.
    const outcome& started() const { return start; }

    void cancel() { veloria_job_cancel(handle); }

    /// From 0.0 to 1.0; never steps back.
    double position() const
    {
        double position = 0.0;
        veloria_job_position(handle, &position);
        return position;
    }

    /// Waits until the job has ended, or so many seconds.
    /// @return VELORIA_RUNNING when the time is over, else how it ended
    outcome wait(double seconds = -1.0)
    {
        if (!start)
            return start;
        if (veloria_job_wait(handle, seconds) == VELORIA_RUNNING)
            return {VELORIA_RUNNING, veloria_code_word(VELORIA_RUNNING)};
        return call([&](char* text, std::size_t size) { return veloria_job_message(handle, text, size); });
    }

    /// Waits until the job has ended, and reports how far it is.
    /// @param report called with the position, some fifty times a second; may return false to ask the job to stop
    template <class REPORT, class = std::enable_if_t<std::is_invocable_v<REPORT, double>>>
    outcome wait(REPORT report)
    {
        constexpr double interval_seconds = 0.02;
        while (start && veloria_job_wait(handle, interval_seconds) == VELORIA_RUNNING)
            if constexpr (std::is_void_v<std::invoke_result_t<REPORT, double>>)
                report(position());
            else if (!report(position()))
                cancel();
        return wait();
    }

    /// Copies the result of a finished job.
    outcome read(gabarit& result)
    {
        if (!start)
            return start;
        return call([&](char* text, std::size_t size) {
            std::size_t n = 0;
            if (const veloria_code code = veloria_job_size(handle, &n, text, size); code != VELORIA_OK)
                return code;
            result.times.resize(n);
            result.similarity.resize(n * n);
            return veloria_job_result(handle, n, result.times.data(), result.similarity.data(), text, size);
        });
    }

private:
    static veloria_settings to_c(const settings& chosen)
    {
        return {sizeof(veloria_settings), chosen.features,     chosen.modeling,
                chosen.window_seconds,    chosen.step_seconds, chosen.max_memory};
    }

    static const char* to_c(const std::optional<std::string>& path) { return path ? path->c_str() : nullptr; }

    template <class CALL>
    static outcome call(CALL made)
    {
        char text[2048] = "";
        const veloria_code code = made(text, sizeof text);
        return {code, text};
    }

    veloria_job* handle = nullptr;
    outcome start;
};

} // namespace veloria
