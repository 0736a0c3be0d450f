#pragma once

namespace corvane {

/// Thrown by value out of a report once the job is to stop. Without a base class, so that no handler for
/// ordinary errors takes it by accident.
class cancel_exception {};

} // namespace corvane

namespace veloria {

/// Where the reports of a job go. One per job.
struct progress_sink {
    /// Takes the position in the whole job, 0.0 to 1.0; false when the job is to stop.
    bool (*report)(void* context, double position);
    void* context;
};

/// The piece of the progress bar that a stage works on. A stage sets `scale` to `range` / W, W being its total
/// work in a unit of its own, and counts in that unit.
struct progress_record {
    const progress_sink* sink; ///< not owned
    double offset;             ///< position in the whole job at which the piece begins
    double range;              ///< length of the piece on the same scale
    double scale;              ///< position per unit of the stage's own count
};

/// Reports `units` of work done since the start of the piece; the only test for a cancel that a stage has.
/// @throws corvane::cancel_exception when the job is to stop
inline void report_progress(const progress_record& record, double units)
{
    if (!record.sink->report(record.sink->context, units * record.scale + record.offset))
        throw corvane::cancel_exception();
}

} // namespace veloria
