#include "picture/page.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "picture/text.h"
#include "picture/time_ticks.h"

namespace picture {

namespace {

// Widths around the plot, in the size of the letters.
constexpr double left_of = 6.4, right_of = 6.6, above = 5.4, below = 4.2;

// An axis upwards: what is written along it is turned.
void write_upwards(cairo_t* context, const std::string& words, const font& letters, double x, double y)
{
    cairo_save(context);
    cairo_translate(context, x, y);
    cairo_rotate(context, -std::numbers::pi / 2.0);
    write_line(context, words, letters, 0.0, 0.0, alignment::center);
    cairo_restore(context);
}

void draw_line(cairo_t* context, double x, double y, double dx, double dy)
{
    cairo_move_to(context, x, y);
    cairo_rel_line_to(context, dx, dy);
    cairo_stroke(context);
}

// Light gray where no moment is.
void fill_plot(cairo_t* context, const box& plot)
{
    cairo_save(context);
    cairo_set_source_rgb(context, 0.9, 0.9, 0.9);
    cairo_rectangle(context, plot.x, plot.y, plot.width, plot.height);
    cairo_fill(context);
    cairo_restore(context);
}

// Around a box, not on it.
void draw_frame(cairo_t* context, const box& inside)
{
    const double half = cairo_get_line_width(context) / 2.0;
    cairo_rectangle(context, inside.x - half, inside.y - half, inside.width + 2.0 * half, inside.height + 2.0 * half);
    cairo_stroke(context);
}

void draw_titles(cairo_t* context, const page_layout& layout, const labels& around)
{
    const double em = layout.em;
    const double center = layout.plot.x + layout.plot.width / 2.0;
    const double room = 2.0 * std::min(center, layout.side - center) - em;
    write_line(context, around.title, {1.4 * em, weight::bold}, center, layout.plot.y - 3.2 * em, alignment::center,
               room);
    write_line(context, around.subtitle, {em}, center, layout.plot.y - 1.7 * em, alignment::center, room);
    if (around.sections.empty())
        write_line(context, around.remark, {em, weight::bold}, center, layout.strip.bottom() - 0.2 * em,
                   alignment::center, room);
}

void draw_time_axes(cairo_t* context, const page_layout& layout, const labels& around)
{
    const double em = layout.em;
    const box& plot = layout.plot;
    const int most_labels = std::max(2, static_cast<int>(plot.width / (5.0 * em)));
    for (const time_tick& tick : time_ticks(around.axis_begin, around.axis_end, most_labels)) {
        const double along = std::floor(x_of(tick.seconds, layout, around) - plot.x) + 0.5; // the middle of a pixel
        const double x = plot.x + along;
        const double y = layout.from_top ? plot.y + along : plot.bottom() - along;
        const double length = (tick.label.empty() ? 0.25 : 0.5) * em;
        draw_line(context, x, plot.bottom(), 0.0, length);
        draw_line(context, plot.x, y, -length, 0.0);
        write_line(context, tick.label, {em}, x, plot.bottom() + 1.6 * em, alignment::center);
        write_line(context, tick.label, {em}, plot.x - 0.75 * em, y + 0.36 * em, alignment::right);
    }
    const std::string name = around.axis_end >= 3600.0 ? "time (h:min:s)" : "time (min:s)";
    write_line(context, name, {em}, plot.x + plot.width / 2.0, plot.bottom() + 3.2 * em, alignment::center);
    write_upwards(context, name, {em}, plot.x - 5.2 * em, plot.y + plot.height / 2.0);
}

// Above the square and to its right: a line at each boundary, the letters between them where they fit.
void draw_sections(cairo_t* context, const page_layout& layout, const labels& around)
{
    const double em = layout.em, height = layout.strip.height;
    const box& plot = layout.plot;
    const auto along = [&](double seconds) {
        return std::clamp(x_of(seconds, layout, around) - plot.x, 0.0, plot.width);
    };
    const auto upright = [&](double distance) {
        return layout.from_top ? plot.y + distance : plot.bottom() - distance;
    };
    for (const section& each : around.sections) {
        const double begin = along(each.start_seconds), end = along(each.end_seconds), middle = (begin + end) / 2.0;
        if (begin >= end)
            continue;
        for (const double edge : {begin, end}) {
            draw_line(context, plot.x + edge, plot.y, 0.0, -height);
            draw_line(context, plot.right(), upright(edge), height, 0.0);
        }
        if (em * static_cast<double>(each.label.size()) > end - begin)
            continue;
        write_line(context, each.label, {em, weight::bold}, plot.x + middle, plot.y - 0.2 * em, alignment::center);
        write_line(context, each.label, {em, weight::bold}, plot.right() + 0.55 * em, upright(middle) + 0.36 * em,
                   alignment::center);
    }
}

void draw_scale_labels(cairo_t* context, const page_layout& layout)
{
    const box& scale = layout.color_scale;
    const double em = layout.em;
    draw_frame(context, scale);
    for (const int level : {0, 64, 128, 192, 255}) {
        const double y = scale.y + scale.height * (1.0 - level / 255.0);
        draw_line(context, scale.right(), y, 0.4 * em, 0.0);
        write_line(context, std::to_string(level), {em}, scale.right() + 0.65 * em, y + 0.36 * em, alignment::left);
    }
    write_upwards(context, "similarity", {em}, scale.right() + 3.7 * em, scale.y + scale.height / 2.0);
}

} // namespace

page_layout lay_out(int page_pixels, const labels& around, const picture_options& options)
{
    page_layout layout{};
    const double em = layout.em = std::max(9.0, 6.0 + page_pixels / 100.0);
    layout.side = page_pixels;
    layout.from_top = options.begins_at == picture_options::origin::top;
    const double width = std::floor(page_pixels - std::max(left_of + right_of, above + below) * em);
    const double slack = page_pixels - width - (above + below) * em;
    layout.plot = {std::round(left_of * em), std::round(above * em + slack / 2.0), width, width};
    const double span = around.axis_end - around.axis_begin;
    const double covered = span > 0.0 ? (around.end_seconds - around.begin_seconds) / span : 1.0;
    const double square = std::clamp(std::round(covered * width), 1.0, width);
    const double offset = std::clamp(
        span > 0.0 ? std::round((around.begin_seconds - around.axis_begin) / span * width) : 0.0, 0.0, width - square);
    const double y = layout.from_top ? layout.plot.y + offset : layout.plot.bottom() - offset - square;
    layout.square = {layout.plot.x + offset, y, square, square};
    layout.color_scale = {std::round(layout.plot.right() + 1.1 * em), layout.plot.y, std::round(1.2 * em), width};
    layout.strip = {layout.plot.x, layout.plot.y - 1.2 * em, width, 0.9 * em};
    return layout;
}

double x_of(double seconds, const page_layout& layout, const labels& around)
{
    return layout.plot.x + (seconds - around.axis_begin) / (around.axis_end - around.axis_begin) * layout.plot.width;
}

void draw_page(cairo_t* context, const page_layout& layout, const labels& around)
{
    cairo_set_source_rgb(context, 1.0, 1.0, 1.0);
    cairo_paint(context);
    cairo_set_source_rgb(context, 0.0, 0.0, 0.0);
    cairo_set_line_width(context, std::max(1.0, std::round(layout.em / 14.0)));
    draw_titles(context, layout, around);
    fill_plot(context, layout.plot);
    draw_frame(context, layout.plot);
    draw_time_axes(context, layout, around);
    draw_sections(context, layout, around);
    draw_scale_labels(context, layout);
}

} // namespace picture
