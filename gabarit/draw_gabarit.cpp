#include "gabarit/draw_gabarit.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <vector>

#include "gabarit/form.h"
#include "gabarit/reader.h"
#include "picture/pooling.h"
#include "picture/time_ticks.h"

namespace gabarit {

namespace {

struct moment {
    std::uint64_t offset; // of its frame
    double seconds;
};

// The moments that are drawn, of all that the gabarit has.
struct stretch {
    std::size_t first, count;
};

std::vector<moment> moments_of(reader& gabarit, const std::function<void(double)>& report)
{
    std::vector<moment> moments;
    for (column read{}; gabarit.next_column(read);) {
        moments.push_back({read.offset, read.time_seconds});
        report(static_cast<double>(moments.size()) / gabarit.size());
    }
    return moments;
}

stretch stretch_of(const std::vector<moment>& moments, const drawing& how)
{
    const auto first = std::ranges::lower_bound(moments, how.from_seconds, {}, &moment::seconds);
    const auto behind = std::ranges::upper_bound(moments, how.to_seconds, {}, &moment::seconds);
    if (!moments.empty() && first >= behind)
        throw std::runtime_error("no moment lies there: the first is at " + picture::time_text(moments[0].seconds, 1) +
                                 ", the last at " + picture::time_text(moments.back().seconds, 1));
    return {static_cast<std::size_t>(first - moments.begin()), static_cast<std::size_t>(behind - first)};
}

// Smallest and largest byte off the diagonal.
struct range {
    unsigned char least = 255, most = 0;

    void take(const unsigned char* values, std::size_t count)
    {
        const auto [low, high] = std::minmax_element(values, values + count);
        if (count > 0) {
            least = std::min(least, *low);
            most = std::max(most, *high);
        }
    }
};

std::string remark_on(const stretch& drawn, const std::vector<moment>& moments, const range& values)
{
    if (drawn.count == 0)
        return "no moments: the sound is shorter than the step; analyze it with a shorter one";
    if (drawn.count <= 2)
        return std::string(drawn.count == 1 ? "one moment" : "two moments") + ", with nothing to compare: " +
               (drawn.count < moments.size() ? "draw a longer stretch" : "analyze the sound with a shorter step");
    if (values.most == 0)
        return "no two moments are alike, as in silence: listen to the sound";
    if (values.least == 255)
        return "all moments are the same: try other features, or a shorter window";
    return {};
}

double number_of(const std::string& word)
{
    return std::strtod(word.c_str(), nullptr);
}

std::string subtitle_of(const reader& gabarit, const std::vector<moment>& moments, const stretch& drawn, double length)
{
    std::string text = "n = " + std::to_string(drawn.count);
    if (drawn.count < moments.size())
        text += " of " + std::to_string(moments.size());
    if (!moments.empty())
        text += ", length " + picture::time_text(length, length < 10.0 ? 1 : 0);
    const settings s = gabarit.made_with();
    if (!s.features.empty() && !s.modeling.empty())
        text += ", " + s.features + " features, " + s.modeling + " modeling, window " + s.modeling_window +
                " s, step " + s.modeling_step + " s";
    return text;
}

// A moment stands for half a step before it and after it. The outermost keep a step away from the ends of the sound:
// the last one by up to two, so that the length errs by less than a step.
picture::labels labels_of(const reader& gabarit, const std::vector<moment>& moments, const stretch& drawn)
{
    picture::labels around;
    const settings made_with = gabarit.made_with();
    double length = 0.0;
    if (!moments.empty()) {
        const double first = moments.front().seconds, last = moments.back().seconds;
        const double step = moments.size() > 1 ? (last - first) / static_cast<double>(moments.size() - 1)
                                               : number_of(made_with.modeling_step);
        const std::size_t end = drawn.first + drawn.count;
        around.begin_seconds = around.axis_begin = moments[drawn.first].seconds - step / 2.0;
        around.end_seconds = around.axis_end = moments[end - 1].seconds + step / 2.0;
        length = last + step;
        if (drawn.first == 0)
            around.axis_begin = std::min(0.0, around.begin_seconds);
        if (end == moments.size())
            around.axis_end = length;
    }
    around.subtitle = subtitle_of(gabarit, moments, drawn, length);
    return around;
}

} // namespace

std::string draw(const std::string& sdif_path, const std::string& picture_path, const drawing& how)
{
    const auto report = [&](double share) {
        if (how.report)
            how.report(share);
    };
    reader gabarit(sdif_path);
    const std::vector<moment> moments = moments_of(gabarit, [&](double share) { report(share / 2.0); });
    const stretch drawn = stretch_of(moments, how);
    const int n = static_cast<int>(drawn.count);
    picture::labels around = labels_of(gabarit, moments, drawn);
    around.title = showable(how.title);
    if (around.title.empty()) {
        const std::string sound = gabarit.sound();
        around.title = std::filesystem::path(sound.empty() ? showable(sdif_path) : sound).filename();
    }

    column read{};
    range values;
    int rows_read = 0;
    // The part of a moment's column that is drawn.
    const auto part_of = [&](int i) {
        const std::size_t place = static_cast<std::size_t>(i);
        gabarit.read_again(moments[drawn.first + place].offset, read);
        const unsigned char* const part = read.similarity.data() + drawn.first;
        values.take(part, place);
        report(0.5 + 0.5 * ++rows_read / n);
        return part;
    };
    picture::square square{n, picture::square_pixels(n, around, picture_path, how.look), part_of};
    std::vector<unsigned char> pooled;
    if (n > 0 && !(how.look.plain && square.side == n)) {
        picture::pooling pooling(n, square.side);
        for (int i = 0; i < n; ++i)
            pooling.add_column(part_of(i));
        pooled = pooling.take_result();
        square.row = [&](int i) { return pooled.data() + std::ptrdiff_t{i} * square.side; };
    }
    around.remark = remark_on(drawn, moments, values);
    if (how.sections)
        for (const sections::section& each : read_form(sdif_path).sections)
            around.sections.push_back({each.start_seconds, each.end_seconds, each.label});
    picture::draw(square, around, picture_path, how.look, how.treatment);
    return remark_on(drawn, moments, values); // a square that wasn't pooled has been read only now
}

} // namespace gabarit
