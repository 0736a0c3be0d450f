#include "gabarit/comparison.h"

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <set>
#include <stdexcept>

#include "gabarit/reader.h"
#include "picture/pooling.h"

namespace gabarit {

namespace {

// The command holds the names of the files and the settings, of which the latter count.
std::vector<std::string> differing_facts(const reader& one, const reader& other)
{
    namespace layout = Quillon::gabarit_layout;
    std::set<std::string> names;
    for (const reader* const gabarit : {&one, &other})
        for (const Quillon::NameValue& entry : gabarit->table())
            if (entry.name != layout::sound_name && entry.name != layout::command_name &&
                one.value(entry.name) != other.value(entry.name))
                names.insert(entry.name);
    const settings made = one.made_with(), other_made = other.made_with();
    if (made.features != other_made.features || made.modeling != other_made.modeling ||
        made.modeling_window != other_made.modeling_window || made.modeling_step != other_made.modeling_step)
        names.insert("settings");
    const information info = one.info(), other_info = other.info();
    if (info.mode != other_info.mode || info.sample_rate_hz != other_info.sample_rate_hz ||
        info.channels != other_info.channels || info.fft_size != other_info.fft_size)
        names.insert("information frame");
    return {names.begin(), names.end()};
}

// Hands over the columns of both, pair by pair.
template <class TAKE>
void for_each_pair(reader& one, reader& other, TAKE take)
{
    if (one.size() != other.size())
        throw std::runtime_error("not comparable: " + std::to_string(one.size()) + " and " +
                                 std::to_string(other.size()) + " moments");
    for (column left{}, right{}; one.next_column(left) && other.next_column(right);) {
        if (left.time_seconds != right.time_seconds)
            throw std::runtime_error("not comparable: their moments lie at different times");
        take(left, right);
    }
}

} // namespace

comparison compare(const std::string& one_path, const std::string& other_path)
{
    reader one(one_path), other(other_path);
    comparison found;
    found.moments = one.size();
    for_each_pair(one, other, [&](const column& left, const column& right) {
        for (std::size_t i = 0; i < left.similarity.size(); ++i) {
            const int step = std::abs(left.similarity[i] - right.similarity[i]);
            found.largest_step = std::max(found.largest_step, step);
            found.differing += step != 0;
        }
    });
    found.differing_facts = differing_facts(one, other);
    return found;
}

void draw_difference(const std::string& one_path, const std::string& other_path, const comparison& found,
                     const std::string& picture_path, picture::existing treatment)
{
    reader one(one_path), other(other_path);
    const picture::picture_options options;
    const int n = one.size();
    picture::labels around;
    around.title = showable(std::filesystem::path(one_path).filename().string() + " - " +
                            std::filesystem::path(other_path).filename().string());
    around.subtitle = text_of(found);
    const int side = picture::square_pixels(n, around, picture_path, options);
    picture::pooling pool(n, side);
    double first = 0.0, last = 0.0;
    int columns = 0;
    for_each_pair(one, other, [&](const column& left, const column& right) {
        std::vector<unsigned char> likeness(left.similarity.size());
        for (std::size_t i = 0; i < likeness.size(); ++i)
            likeness[i] = static_cast<unsigned char>(255 - 255 * std::abs(left.similarity[i] - right.similarity[i]) /
                                                               std::max(1, found.largest_step));
        pool.add_column(likeness.data());
        first = columns++ == 0 ? left.time_seconds : first;
        last = left.time_seconds;
    });
    const std::vector<unsigned char> pooled = pool.take_result();
    const double step = columns > 1 ? (last - first) / (columns - 1) : 0.0;
    around.begin_seconds = around.axis_begin = first - step / 2.0;
    around.end_seconds = around.axis_end = last + step / 2.0;
    const auto row = [&](int i) { return pooled.data() + std::ptrdiff_t{i} * side; };
    picture::draw({n, side, row}, around, picture_path, options, treatment);
}

std::string text_of(const comparison& found)
{
    if (found.same_bytes())
        return "the same bytes";
    std::string text = "the same square";
    if (found.differing != 0) {
        const double cells = static_cast<double>(found.moments) * found.moments;
        char share[32];
        std::snprintf(share, sizeof share, "%.3g", 100.0 * static_cast<double>(found.differing) / cells);
        text =
            "different: largest step " + std::to_string(found.largest_step) + " of 255, " + share + " % of the cells";
    }
    for (std::size_t i = 0; i < found.differing_facts.size(); ++i)
        text += (i == 0 ? "; other " : ", ") + found.differing_facts[i];
    return text;
}

} // namespace gabarit
