#pragma once

#include <optional>
#include <string>

#include "marquen/options.h"
#include "picture/leftovers.h"
#include "picture/whole_file.h"

namespace marquen {

/// Looks, before a job, whether its outputs can be written; a pipe or a device can.
/// @throws failure what hinders: a folder that isn't there, a file that stands there without `force`, ...
void check_outputs(const job& one, bool force);

/// The place of a file that the library will write in place. Unless it is kept, what stood there before is there again
/// in the end, also when a signal ends the program: the old file, or nothing. A pipe or a device is left alone.
class new_output {
public:
    explicit new_output(const std::string& path);
    void keep() noexcept;

private:
    std::optional<picture::file_set_aside> old;
    std::optional<picture::leftover> part;
};

} // namespace marquen
