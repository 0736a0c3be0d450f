#include "marquen/formats.h"

#include <map>

#include <sndfile.h>

#include "gabarit/versions.h"

namespace marquen {

namespace {

// libsndfile has one ending for each format; these are in use besides.
const std::multimap<int, std::string> further_endings{
    {SF_FORMAT_WAV, "wave"}, {SF_FORMAT_AIFF, "aif"}, {SF_FORMAT_AIFF, "aifc"}, {SF_FORMAT_AU, "snd"},
    {SF_FORMAT_OGG, "ogg"},  {SF_FORMAT_OGG, "opus"}, {SF_FORMAT_MPEG, "mp3"},  {SF_FORMAT_NIST, "nist"},
};

} // namespace

std::string list_formats()
{
    int count = 0;
    sf_command(nullptr, SFC_GET_FORMAT_MAJOR_COUNT, &count, sizeof count);
    std::map<std::string, std::string> formats;
    for (int i = 0; i < count; ++i) {
        SF_FORMAT_INFO format{};
        format.format = i;
        sf_command(nullptr, SFC_GET_FORMAT_MAJOR, &format, sizeof format);
        if (format.format == SF_FORMAT_RAW) // samples without a header don't open
            continue;
        formats.emplace(format.extension, format.name);
        const auto [first, last] = further_endings.equal_range(format.format);
        for (auto further = first; further != last; ++further)
            formats.emplace(further->second, format.name);
    }
    std::string lines;
    for (const auto& [ending, name] : formats)
        lines += ending + "\t" + name + "\n";
    return lines;
}

std::vector<std::pair<std::string, std::string>> versions()
{
    auto all = gabarit::versions();
    all.emplace(all.begin(), "marquen", MARQUEN_VERSION);
    return all;
}

} // namespace marquen
