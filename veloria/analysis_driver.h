#pragma once

#include <memory>

#include "audio/abstract_reader.h"
#include "road/progress.h"
#include "road/settings.h"
#include "tavel/tavel_dense_vector.h"

namespace veloria {

/// The whole road from an opened sound to its similarity picture. Reports run from 0 to 0.99; the rest of the bar
/// is the writer's.
/// @param reader      gone once the sound is loaded, with the memory that it takes
/// @param chosen      a step other than 0
/// @param similarity  n by n, symmetric, 255 on the diagonal; sized here
/// @param frame_times n, seconds; sized here
/// @throws corvane::cancel_exception when a report is refused; whatever the stages throw
/// Similarity of a recording with itself: J. Foote, "Visualizing music and audio using self-similarity", Proc. ACM
/// Multimedia 1999.
void analysis_driver(std::unique_ptr<corvane::AbstractReader> reader, const settings& chosen,
                     tavel::Matrix<unsigned char>& similarity, tavel::Vector<double>& frame_times,
                     const progress_sink& sink);

} // namespace veloria
