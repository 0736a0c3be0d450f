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

/// A piece of the progress bar, and the unit in which whoever works on it counts: at first the whole piece.
struct progress_record {
    const progress_sink* sink; ///< not owned
    double offset;             ///< position in the whole job at which the piece begins
    double range;              ///< length of the piece on the same scale
    double scale;              ///< position per unit of work

    /// A part of this piece, for a stage of its own.
    /// @param from   where it begins, and
    /// @param share  how long it is: 0.0 to 1.0, as parts of this piece
    progress_record piece(double from, double share) const
    {
        return {sink, offset + range * from, range * share, range * share};
    }

    /// The same piece for a stage whose work is `total` units.
    progress_record counting(double total) const { return {sink, offset, range, range / total}; }
};

/// The whole bar of a job.
inline progress_record whole_bar(const progress_sink& sink)
{
    return {&sink, 0.0, 1.0, 1.0};
}

/// Reports `units` of work done since the start of the piece; the only test for a cancel that a stage has.
/// @throws corvane::cancel_exception when the job is to stop
inline void report_progress(const progress_record& progress, double units)
{
    if (!progress.sink->report(progress.sink->context, units * progress.scale + progress.offset))
        throw corvane::cancel_exception();
}

} // namespace veloria
