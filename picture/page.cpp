#include "picture/page.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <numbers>
#include <string>

#include "picture/color_table.h"
#include "picture/time_ticks.h"

namespace picture {

namespace {

struct box {
    double x, y, width, height;
};

// An image whose colours are `color_at(x, y)`, counted from the top left corner.
template <class COLOR_AT>
surface_ptr make_image(int width, int height, const COLOR_AT& color_at)
{
    surface_ptr image(cairo_image_surface_create(CAIRO_FORMAT_RGB24, width, height), cairo_surface_destroy);
    unsigned char* const bytes = cairo_image_surface_get_data(image.get());
    const std::ptrdiff_t stride = cairo_image_surface_get_stride(image.get());
    for (int y = 0; bytes != nullptr && y < height; ++y) { // null: whoever draws the image meets its error
        auto* const line = reinterpret_cast<std::uint32_t*>(bytes + y * stride);
        for (int x = 0; x < width; ++x)
            line[x] = color_at(x, y);
    }
    cairo_surface_mark_dirty(image.get());
    return image;
}

void draw_image(cairo_t* context, cairo_surface_t* image, const box& place)
{
    cairo_save(context);
    cairo_translate(context, place.x, place.y);
    cairo_scale(context, place.width / cairo_image_surface_get_width(image),
                place.height / cairo_image_surface_get_height(image));
    cairo_set_source_surface(context, image, 0.0, 0.0);
    cairo_pattern_set_filter(cairo_get_source(context), CAIRO_FILTER_NEAREST);
    cairo_paint(context);
    cairo_restore(context);
}

// Widths around the square, in the size of the letters.
constexpr double left_of = 6.4, right_of = 6.6, above = 4.6, below = 4.2;

double letter_size(int page_pixels)
{
    return 6.0 + page_pixels / 100.0;
}

class page {
public:
    page(cairo_t* context, int pixels) : cairo_(context), size_(pixels), em_(letter_size(pixels))
    {
        const double side = square_side_on_page(pixels);
        const double slack = size_ - side - (above + below) * em_;
        plot_ = {std::round(left_of * em_), std::round(above * em_ + slack / 2.0), side, side};
    }

    void draw(const square& drawn, const picture_options& options);

private:
    enum class alignment { left, center, right };

    void font(double size, cairo_font_weight_t weight);
    void text(const std::string& words, double x, double y, alignment align);
    void upward_text(const std::string& words, double x, double y);
    double width(const std::string& words);
    std::string shortened(std::string words, double room);
    void line(double x, double y, double dx, double dy);
    void frame(const box& place);
    void titles(const square& drawn);
    void time_axes(const square& drawn, bool from_top);
    void color_scale(color_map map);

    cairo_t* cairo_;
    double size_, em_;
    box plot_{};
};

void page::text(const std::string& words, double x, double y, alignment align)
{
    const double shift = align == alignment::left ? 0.0 : align == alignment::center ? 0.5 : 1.0;
    cairo_move_to(cairo_, x - shift * width(words), y);
    cairo_show_text(cairo_, words.c_str());
}

void page::upward_text(const std::string& words, double x, double y)
{
    cairo_save(cairo_);
    cairo_translate(cairo_, x, y);
    cairo_rotate(cairo_, -std::numbers::pi / 2.0);
    text(words, 0.0, 0.0, alignment::center);
    cairo_restore(cairo_);
}

void page::font(double size, cairo_font_weight_t weight)
{
    cairo_select_font_face(cairo_, "sans-serif", CAIRO_FONT_SLANT_NORMAL, weight);
    cairo_set_font_size(cairo_, size * em_);
}

double page::width(const std::string& words)
{
    cairo_text_extents_t extents;
    cairo_text_extents(cairo_, words.c_str(), &extents);
    return extents.x_advance;
}

// Takes characters, of one byte or more, off the end until the words fit.
std::string page::shortened(std::string words, double room)
{
    if (width(words) <= room)
        return words;
    const auto continues = [](char c) { return (static_cast<unsigned char>(c) & 0xc0) == 0x80; };
    while (!words.empty() && width(words + "…") > room) {
        while (words.size() > 1 && continues(words.back()))
            words.pop_back();
        words.pop_back();
    }
    return words + "…";
}

void page::line(double x, double y, double dx, double dy)
{
    cairo_move_to(cairo_, x, y);
    cairo_rel_line_to(cairo_, dx, dy);
    cairo_stroke(cairo_);
}

void page::frame(const box& place)
{
    cairo_rectangle(cairo_, place.x, place.y, place.width, place.height);
    cairo_stroke(cairo_);
}

void page::titles(const square& drawn)
{
    const double center = plot_.x + plot_.width / 2.0;
    const double room = 2.0 * std::min(center, size_ - center) - em_;
    font(1.4, CAIRO_FONT_WEIGHT_BOLD);
    text(shortened(drawn.title, room), center, plot_.y - 2.4 * em_, alignment::center);
    font(1.0, CAIRO_FONT_WEIGHT_NORMAL);
    text(shortened(drawn.subtitle, room), center, plot_.y - 0.9 * em_, alignment::center);
}

void page::time_axes(const square& drawn, bool from_top)
{
    const double bottom = plot_.y + plot_.height;
    const double half_height = 0.36 * em_; // of a digit
    const double span = drawn.end_seconds - drawn.begin_seconds;
    const int most_labels = std::max(2, static_cast<int>(plot_.width / (5.0 * em_)));
    for (const time_tick& tick : time_ticks(drawn.begin_seconds, drawn.end_seconds, most_labels)) {
        const double along = (tick.seconds - drawn.begin_seconds) / span * plot_.width;
        const double x = plot_.x + along;
        const double y = from_top ? plot_.y + along : bottom - along;
        const double length = (tick.label.empty() ? 0.25 : 0.5) * em_;
        line(x, bottom, 0.0, length);
        line(plot_.x, y, -length, 0.0);
        text(tick.label, x, bottom + 1.6 * em_, alignment::center);
        text(tick.label, plot_.x - 0.75 * em_, y + half_height, alignment::right);
    }
    const std::string name = drawn.end_seconds >= 3600.0 ? "time (h:min:s)" : "time (min:s)";
    text(name, plot_.x + plot_.width / 2.0, bottom + 3.2 * em_, alignment::center);
    upward_text(name, plot_.x - 5.2 * em_, plot_.y + plot_.height / 2.0);
}

void page::color_scale(color_map map)
{
    const box bar{plot_.x + plot_.width + 1.1 * em_, plot_.y, 1.2 * em_, plot_.height};
    const std::array<std::uint32_t, 256> colors = color_table(map);
    const surface_ptr ramp = make_image(1, 256, [&](int, int y) { return colors[static_cast<std::size_t>(255 - y)]; });
    draw_image(cairo_, ramp.get(), bar);
    frame(bar);
    const double right = bar.x + bar.width;
    for (const int level : {0, 64, 128, 192, 255}) {
        const double y = bar.y + bar.height * (1.0 - level / 255.0);
        line(right, y, 0.4 * em_, 0.0);
        text(std::to_string(level), right + 0.65 * em_, y + 0.36 * em_, alignment::left);
    }
    upward_text("similarity", right + 3.7 * em_, bar.y + bar.height / 2.0);
}

void page::draw(const square& drawn, const picture_options& options)
{
    cairo_set_source_rgb(cairo_, 1.0, 1.0, 1.0);
    cairo_paint(cairo_);
    cairo_set_source_rgb(cairo_, 0.0, 0.0, 0.0);
    cairo_set_line_width(cairo_, std::max(1.0, em_ / 14.0));
    titles(drawn);
    if (drawn.cells > 0)
        draw_image(cairo_, square_image(drawn, options).get(), plot_);
    else
        text("no frames", plot_.x + plot_.width / 2.0, plot_.y + plot_.height / 2.0, alignment::center);
    frame(plot_);
    time_axes(drawn, options.begins_at == picture_options::origin::top);
    color_scale(options.colors);
}

} // namespace

surface_ptr square_image(const square& drawn, const picture_options& options)
{
    const std::array<std::uint32_t, 256> colors = color_table(options.colors);
    const bool from_top = options.begins_at == picture_options::origin::top;
    const int side = drawn.pixels;
    return make_image(side, side, [&](int x, int y) {
        const std::int64_t row = from_top ? y : side - 1 - y;
        return colors[drawn.similarity[static_cast<std::size_t>(x * std::int64_t{side} + row)]];
    });
}

int square_side_on_page(int page_pixels)
{
    return static_cast<int>(page_pixels - std::max(left_of + right_of, above + below) * letter_size(page_pixels));
}

void draw_page(cairo_t* context, int page_pixels, const square& drawn, const picture_options& options)
{
    page(context, page_pixels).draw(drawn, options);
}

} // namespace picture
