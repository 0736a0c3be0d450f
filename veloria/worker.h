#pragma once

namespace veloria {

/// Stores the position, unless a cancel was asked for.
/// @param shared the job_shared_state, as a progress_sink hands it back
/// @return false when the job is to stop
/// @throws std::runtime_error "error locking mutex"
bool job_report(void* shared, double position);

/// What the thread of a job runs: analyzes the sound, writes the file and turns every way of ending into the
/// fields of the handle.
/// @param handle the process_handle
/// @return null
void* worker_main(void* handle);

} // namespace veloria
