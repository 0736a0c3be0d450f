#pragma once

#include <cstddef>
#include <limits>
#include <vector>

#include "road/progress.h"

/// Keeps the positions that the stages of a job report, and refuses one of the reports.
class report_log {
public:
    std::vector<double> positions;
    std::size_t refused = std::numeric_limits<std::size_t>::max(); ///< index of the report that is refused

    report_log() = default;
    explicit report_log(std::size_t refused_report) : refused(refused_report) {}
    report_log(const report_log&) = delete;
    report_log& operator=(const report_log&) = delete;

    /// The piece of the bar for a stage.
    veloria::progress_record piece(double offset = 0.0, double range = 1.0) const
    {
        return veloria::whole_bar(sink).piece(offset, range);
    }

    const veloria::progress_sink sink{[](void* context, double position) {
                                          auto& self = *static_cast<report_log*>(context);
                                          self.positions.push_back(position);
                                          return self.positions.size() - 1 != self.refused;
                                      },
                                      this};
};

/// The whole bar, for a stage whose reports nobody reads.
inline veloria::progress_record unread_progress()
{
    static constexpr veloria::progress_sink sink{[](void*, double) { return true; }, nullptr};
    return veloria::whole_bar(sink);
}
