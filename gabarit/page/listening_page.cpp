#include "gabarit/page/listening_page.h"

#include <algorithm>
#include <cstddef>
#include <ctime>
#include <filesystem>
#include <map>
#include <optional>
#include <string_view>
#include <utility>

#include <sys/stat.h>

#include <nlohmann/json.hpp>

#include "gabarit/form.h"
#include "gabarit/page/base64.h"
#include "gabarit/page/loaded_gabarit.h"
#include "gabarit/page/page_template.h"
#include "gabarit/page/recording.h"
#include "gabarit/page/square_tiles.h"
#include "gabarit/page/whole_folder.h"
#include "picture/color_table.h"
#include "picture/whole_file.h"

namespace fs = std::filesystem;

namespace gabarit {

namespace {

// A page carries squares of up to so many cells a side, and sounds of up to so many seconds; more lies beside it.
constexpr int most_cells_inside = 2400, most_cells_of_overview = 1800;
constexpr double most_seconds_inside = 1200.0;

std::string escaped(std::string_view text)
{
    static const std::map<char, std::string_view> entities{
        {'&', "&amp;"}, {'<', "&lt;"}, {'>', "&gt;"}, {'"', "&quot;"}, {'\'', "&#39;"}};
    std::string html;
    for (const char c : text) {
        const auto entity = entities.find(c);
        entity == entities.end() ? html += c : html += entity->second;
    }
    return html;
}

// Inside a script element, only what begins with '<' could end it.
std::string escaped_json(const nlohmann::ordered_json& value)
{
    std::string text;
    for (const char c : value.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace))
        c == '<' ? text += "\\u003c" : text += c;
    return text;
}

std::string date_of(const std::string& path)
{
    struct stat status {};
    std::tm day{};
    char text[16] = "";
    if (stat(path.c_str(), &status) == 0 && gmtime_r(&status.st_mtime, &day))
        std::strftime(text, sizeof text, "%Y-%m-%d", &day);
    return text;
}

std::string subtitle_of(const std::vector<loaded_gabarit>& gabarits)
{
    const settings& s = gabarits.front().made_with;
    if (s.features.empty() || s.modeling.empty())
        return "settings unknown";
    std::string features = s.features;
    for (std::size_t k = 1; k < gabarits.size(); ++k)
        features += " and " + gabarits[k].made_with.features;
    return features + " features, " + s.modeling + " modeling, window " + s.modeling_window + " s, step " +
           s.modeling_step + " s";
}

nlohmann::ordered_json color_maps()
{
    using picture::color_map;
    nlohmann::ordered_json maps;
    for (const auto& [name, map] : {std::pair{"gray", color_map::gray}, std::pair{"inverted", color_map::inverted},
                                    std::pair{"cubehelix", color_map::cubehelix}, std::pair{"magma", color_map::magma},
                                    std::pair{"viridis", color_map::viridis}}) {
        std::string rgb;
        for (const std::uint32_t color : picture::color_table(map))
            for (const int shift : {16, 8, 0})
                rgb += static_cast<char>(color >> shift & 0xff);
        maps[name] = base64(rgb);
    }
    return maps;
}

// The tiles of the upper half, a line each.
std::string tile_lines(const byte_square& square)
{
    std::string lines;
    for (int i = 0; i < tile_count(square); ++i)
        for (int j = i; j < tile_count(square); ++j)
            lines += pack_tile(square, i, j) + '\n';
    return lines;
}

// What lies in the folder beside the page instead of in it.
struct beside_page {
    bool square, sound;

    bool anything() const { return square || sound; }
};

beside_page choose_beside(const loaded_gabarit& loaded, bool with_sound)
{
    const double seconds = loaded.times.empty() ? 0.0 : loaded.times.back() + step_seconds(loaded);
    return {loaded.square.side > most_cells_inside, with_sound && seconds > most_seconds_inside};
}

std::string hash_source(std::string_view hexadecimal)
{
    std::string bytes;
    for (std::size_t i = 0; i < hexadecimal.size(); i += 2)
        bytes += static_cast<char>(std::stoi(std::string(hexadecimal.substr(i, 2)), nullptr, 16));
    return "'sha256-" + base64(bytes) + "'";
}

// What the page may load: its own style and script, the sound that it carries, and of a long one the files beside it.
std::string policy(const beside_page& beside)
{
    const std::string files = beside.anything() ? " 'self' file:" : "";
    return "default-src 'none'; base-uri 'none'; form-action 'none'; img-src data:; style-src " +
           hash_source(page_template::style_sha256) + "; script-src " + hash_source(page_template::script_sha256) +
           files + "; media-src blob:" + files;
}

// The template with its fields filled in.
std::string filled(const std::map<std::string_view, std::string>& fields)
{
    std::string page;
    std::string_view rest = page_template::html;
    for (std::size_t begin = rest.find("{{"); begin != std::string_view::npos; begin = rest.find("{{")) {
        const std::size_t end = rest.find("}}", begin);
        page += rest.substr(0, begin);
        page += fields.at(rest.substr(begin + 2, end - begin - 2));
        rest.remove_prefix(end + 2);
    }
    return page += rest;
}

// What the page's scripts know of the gabarits and of the sound.
nlohmann::ordered_json facts_of(const std::vector<loaded_gabarit>& gabarits,
                                const std::vector<sections::section>& parts, const beside_page& beside)
{
    nlohmann::ordered_json facts;
    facts["times"] = gabarits.front().times;
    facts["step"] = step_seconds(gabarits.front());
    facts["tile"] = tile_side;
    const int side = gabarits.front().square.side;
    facts["overview"] = nullptr;
    if (beside.square) {
        const int factor = (side + most_cells_of_overview - 1) / most_cells_of_overview;
        facts["overview"] = {{"factor", factor}, {"size", (side + factor - 1) / factor}};
    }
    facts["names"] = nlohmann::json::array();
    for (const loaded_gabarit& loaded : gabarits)
        facts["names"].push_back(loaded.made_with.features.empty() ? "gabarit" : loaded.made_with.features);
    facts["maps"] = color_maps();
    facts["sections"] = nlohmann::json::array();
    for (const sections::section& part : parts)
        facts["sections"].push_back({{"start", part.start_seconds}, {"end", part.end_seconds}, {"label", part.label}});
    return facts;
}

nlohmann::json facts_of(const recording& sound, const beside_page& beside)
{
    const std::string_view peaks(reinterpret_cast<const char*>(sound.peaks.data()), sound.peaks.size());
    return {{"seconds", sound.seconds}, {"peaks", base64(peaks)}, {"beside", beside.sound}};
}

recording record(const loaded_gabarit& loaded, const std::string& sdif_path, const page_options& options,
                 const std::function<void(double)>& progress)
{
    const std::string path = options.sound.empty() ? find_sound(loaded, sdif_path) : options.sound;
    if (!options.is_its_sound)
        check_length(loaded, announced_seconds(path), path);
    recording sound = encode_recording(path, options.kilobits_per_second, progress);
    if (!options.is_its_sound)
        check_length(loaded, sound.seconds, path);
    return sound;
}

// The squares of the page, or their overviews.
std::string cells_of(const std::vector<loaded_gabarit>& gabarits, const nlohmann::ordered_json& overview)
{
    std::string cells;
    for (const loaded_gabarit& loaded : gabarits)
        cells += tile_lines(overview.is_null() ? loaded.square : pooled(loaded.square, overview.at("factor")));
    return cells;
}

// The folder beside a page: song_files beside song.html.
std::string folder_beside(const std::string& page_path)
{
    return fs::path(page_path).replace_extension().string() + "_files";
}

// Each tile is a script, the one form that a page opened from a disk may load.
void write_pieces(const std::vector<loaded_gabarit>& gabarits, whole_folder& folder)
{
    for (std::size_t k = 0; k < gabarits.size(); ++k)
        for (int i = 0; i < tile_count(gabarits[k].square); ++i)
            for (int j = i; j < tile_count(gabarits[k].square); ++j) {
                const std::string place = std::to_string(k) + ',' + std::to_string(i) + ',' + std::to_string(j);
                std::string name = place + ".js";
                std::ranges::replace(name, ',', '-');
                folder.write(name, "gabarit.piece(" + place + ",'" + pack_tile(gabarits[k].square, i, j) + "');\n");
            }
}

} // namespace

void write_listening_page(const std::string& sdif_path, const std::string& page_path, const page_options& options,
                          const std::function<void(double)>& progress)
{
    const std::vector<loaded_gabarit> gabarits = load_gabarits(sdif_path, options.other);
    const loaded_gabarit& first = gabarits.front();
    const beside_page beside = choose_beside(first, options.with_sound);
    const std::string folder_path = folder_beside(page_path);
    if (beside.anything())
        whole_folder::check(folder_path, options.treatment);

    const std::string name = fs::path(first.sound.empty() ? showable(sdif_path) : first.sound).filename();
    const std::string title = options.title.empty() ? name : showable(options.title);
    nlohmann::ordered_json facts =
        facts_of(gabarits, options.parts ? *options.parts : read_form(sdif_path).sections, beside);
    facts["title"] = title;
    facts["folder"] = fs::path(folder_path).filename();
    facts["sound"] = nullptr;
    recording sound;
    if (options.with_sound) {
        sound = record(first, sdif_path, options, progress);
        facts["sound"] = facts_of(sound, beside);
    }

    const picture::held_signals until_all_is_there;
    picture::whole_file page(page_path, options.treatment);
    page.write(filled({{"policy", policy(beside)},
                       {"title", escaped(title)},
                       {"subtitle", escaped(subtitle_of(gabarits))},
                       {"date", date_of(sdif_path)},
                       {"style", std::string(page_template::style)},
                       {"script", std::string(page_template::script)},
                       {"facts", escaped_json(facts)},
                       {"cells", cells_of(gabarits, facts["overview"])},
                       {"recording", beside.sound ? std::string() : base64(sound.ogg)}}));
    std::optional<whole_folder> folder;
    if (beside.anything()) {
        folder.emplace(folder_path, options.treatment);
        if (beside.square)
            write_pieces(gabarits, *folder);
        if (beside.sound)
            folder->write("sound.opus", sound.ogg);
        folder->place();
    }
    page.commit();
    if (folder)
        folder->keep();
}

} // namespace gabarit
