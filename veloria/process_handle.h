#pragma once

#include "veloria/veloria.h"

#include <pthread.h>

#include <memory>
#include <optional>
#include <string>

#include "audio/abstract_reader.h"
#include "road/progress.h"
#include "road/settings.h"
#include "tavel/tavel_dense_vector.h"

namespace veloria {

/// All that the host's thread and the worker share, guarded by its own first member while the worker lives.
struct job_shared_state {
    /// @throws std::runtime_error "error creating mutex"; std::bad_alloc
    job_shared_state();
    job_shared_state(const job_shared_state&) = delete;
    job_shared_state& operator=(const job_shared_state&) = delete;
    ~job_shared_state();

    pthread_mutex_t mutex;
    std::string error_message; ///< has room for every fixed text, so that storing one can't fail
    double position = 0.0;     ///< last reported fraction of the work
    bool cancel_requested = false;
    bool finished = false; ///< set by the worker as its last act
};

/// Holds the job's mutex for a scope.
class job_lock {
public:
    /// @throws std::runtime_error "error locking mutex"
    explicit job_lock(job_shared_state& shared);
    job_lock(const job_lock&) = delete;
    job_lock& operator=(const job_lock&) = delete;
    ~job_lock();

private:
    pthread_mutex_t& mutex;
};

/// Records the fixed text of a cancel in `shared`. Doesn't allocate.
void store_cancel_message(job_shared_state& shared);

struct process_handle {
    process_handle* self = nullptr; ///< first half of the validity mark, null until the worker is started
    const void* tag = nullptr;      ///< second half
    std::unique_ptr<corvane::AbstractReader> reader;
    tavel::Matrix<unsigned char> similarity; ///< n by n
    tavel::Vector<double> frame_times;       ///< n, seconds
    std::string input_path;                  ///< the first path alone
    std::string output_path;
    settings chosen;
    progress_sink sink{};
    std::optional<job_shared_state> shared; ///< there from the last check of the arguments on
    pthread_t thread{};
    bool joined = false; ///< touched by the host's thread alone
};

} // namespace veloria
