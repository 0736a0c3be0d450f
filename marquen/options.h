#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "marquen/progress.h"
#include "veloria/veloria.h"

namespace marquen {

// The words of the command line and of the file; the index is the enumeration's value.
inline constexpr const char* features_words[] = {"timbre", "harmo", "mixed"};
inline constexpr const char* modeling_words[] = {"mean", "meanvar", "fft", "mph"};

/// One sound and its results.
struct job {
    std::vector<std::string> input; ///< the files of one sound
    std::string similarity;         ///< the SDIF file to write; empty only for a plan
    std::string picture;            ///< empty for none
    std::string sections;           ///< labels of its sections; empty for none
    std::string page;               ///< to listen to; empty for none

    std::vector<std::string> outputs() const { return {similarity, picture, sections, page}; }
};

/// What the user asked for.
struct options {
    std::vector<job> jobs; ///< one, or one for each sound; no two of them write the same file
    int at_once;           ///< of several jobs
    veloria::features_type features;
    veloria::modeling_type modeling;
    double modeling_window;  ///< seconds, as many digits as the file records
    double modeling_step;    ///< seconds, likewise
    std::int64_t max_memory; ///< bytes
    bool max_memory_given;   ///< or else what is free
    bool force;              ///< outputs may replace files
    bool plan, json, quiet;
    bool without_digests; ///< in the JSON
    progress_form shown;
};

/// Reads the command line; answers --help, --version and --formats, and reports what is wrong, by itself.
/// @return nothing if the command line is answered; `status` is then the exit status, 0 or 2
std::optional<options> parse_options(int argc, const char* const* argv, int& status);

} // namespace marquen
