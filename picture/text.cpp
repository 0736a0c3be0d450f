#include "picture/text.h"

#include <algorithm>
#include <memory>

#include <pango/pangocairo.h>

namespace picture {

namespace {

struct unreference {
    void operator()(PangoLayout* layout) const { g_object_unref(layout); }
    void operator()(PangoFontDescription* description) const { pango_font_description_free(description); }
};

// Laying a text out takes time by its length, and no page shows more of it: of a long one both ends are enough.
std::string without_middle(const std::string& words)
{
    constexpr std::size_t end_bytes = 512;
    if (words.size() <= 2 * end_bytes)
        return words;
    const auto continues = [](char c) { return (static_cast<unsigned char>(c) & 0xc0) == 0x80; };
    std::size_t head = end_bytes, tail = words.size() - end_bytes;
    while (head > 0 && continues(words[head]))
        --head;
    while (tail < words.size() && continues(words[tail]))
        ++tail;
    return words.substr(0, head) + "…" + words.substr(tail);
}

} // namespace

void write_line(cairo_t* context, const std::string& words, const font& letters, double x, double y, alignment align,
                double room)
{
    const std::unique_ptr<PangoLayout, unreference> layout(pango_cairo_create_layout(context));
    const std::unique_ptr<PangoFontDescription, unreference> description(
        pango_font_description_from_string("sans-serif"));
    pango_font_description_set_absolute_size(description.get(), letters.size * PANGO_SCALE);
    if (letters.thickness == weight::bold)
        pango_font_description_set_weight(description.get(), PANGO_WEIGHT_BOLD);
    pango_layout_set_font_description(layout.get(), description.get());
    pango_layout_set_single_paragraph_mode(layout.get(), true);
    const std::string shown = without_middle(words);
    pango_layout_set_text(layout.get(), shown.data(), static_cast<int>(shown.size()));

    PangoRectangle extent;
    pango_layout_get_extents(layout.get(), nullptr, &extent);
    if (room > 0.0 && extent.width > room * PANGO_SCALE) {
        pango_layout_set_ellipsize(layout.get(), PANGO_ELLIPSIZE_MIDDLE);
        pango_layout_set_width(layout.get(), static_cast<int>(room * PANGO_SCALE));
        pango_layout_get_extents(layout.get(), nullptr, &extent);
    }
    const double shift = align == alignment::left ? 0.0 : align == alignment::center ? 0.5 : 1.0;
    const double baseline = pango_layout_get_baseline(layout.get());
    cairo_move_to(context, x - (extent.x + shift * extent.width) / PANGO_SCALE, y - baseline / PANGO_SCALE);
    pango_cairo_show_layout(context, layout.get());
}

} // namespace picture
