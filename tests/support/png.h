#pragma once

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include <cairo.h>

// The pixels of a PNG, 0xRRGGBB, from the top left corner.
struct png {
    int width, height;
    std::vector<std::uint32_t> pixels;

    explicit png(const std::string& path)
    {
        cairo_surface_t* const image = cairo_image_surface_create_from_png(path.c_str());
        width = cairo_image_surface_get_width(image);
        height = cairo_image_surface_get_height(image);
        pixels.resize(static_cast<std::size_t>(width * height)); // a line of 4 bytes a pixel has no padding
        std::memcpy(pixels.data(), cairo_image_surface_get_data(image), pixels.size() * sizeof pixels[0]);
        cairo_surface_destroy(image);
    }
    std::uint32_t at(int x, int y) const { return pixels[static_cast<std::size_t>(y * width + x)] & 0xffffff; }
};
