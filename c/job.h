#pragma once

#include <mutex>
#include <optional>
#include <string>

#include "c/memory_file.h"
#include "veloria/veloria.h"

namespace veloria_c {

/// What a job came to, so far or in the end.
struct job_view {
    veloria_state state;
    double position; ///< the furthest yet
    bool alive;      ///< false once the job was ended: then nothing else holds
};

/// One job of the library. Any thread may call any function.
class job {
public:
    /// Opens the sound and starts the analysis.
    /// @param output_path null for a result in memory
    /// @throws what veloria::process() throws; std::system_error
    void start(int path_count, const char* const* paths, const char* output_path, veloria::features_type features,
               veloria::modeling_type modeling, double window_seconds, double step_seconds);

    /// @throws std::runtime_error "error locking mutex"
    job_view look();

    /// Why the job failed or was canceled, empty if it runs or finished.
    /// @throws std::runtime_error "error locking mutex"
    std::string message();

    /// @throws std::runtime_error "error locking mutex"
    void cancel();

    /// Looks again and again until the job has ended or `seconds` are over.
    /// @throws std::runtime_error "error locking mutex"
    job_view wait(double seconds);

    /// Cancels the job if it runs, waits for it and frees it.
    /// @return false if another thread has ended it
    /// @throws std::runtime_error "error locking mutex"; the job lives on
    bool end();

    /// Where the gabarit of a finished job is.
    const std::string& result_path() const { return path; }

private:
    job_view look_locked();

    std::mutex mutex; // a handle of the library belongs to one thread at a time
    veloria::process_handle* handle = nullptr;
    std::optional<memory_file> result;
    std::string path;
    double furthest = 0.0;
};

} // namespace veloria_c
