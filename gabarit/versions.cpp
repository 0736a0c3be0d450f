#include "gabarit/versions.h"

#include <sndfile.h>

#include "veloria/veloria.h"

extern "C" void ilaver_(int* major, int* minor, int* patch);

namespace gabarit {

std::vector<std::pair<std::string, std::string>> versions()
{
    int major = 0, minor = 0, patch = 0;
    ilaver_(&major, &minor, &patch);
    const std::string sndfile = sf_version_string(); // "libsndfile-1.2.0"
    return {{"engine", veloria::getVersion()},
            {"libsndfile", sndfile.substr(sndfile.find('-') + 1)},
            {"LAPACK", std::to_string(major) + "." + std::to_string(minor) + "." + std::to_string(patch)}};
}

} // namespace gabarit
