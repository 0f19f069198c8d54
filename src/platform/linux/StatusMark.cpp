#include "platform/linux/StatusMark.h"

#include <cairo/cairo.h>

#include <algorithm>
#include <memory>
#include <numbers>

namespace velmora::mark {
namespace {

struct Colour {
  double red, green, blue;
};
constexpr Colour kDisc{0.071, 0.039, 0.118};
constexpr Colour kRing{0.455, 0.247, 0.706};
constexpr Colour kHead{0.878, 0.698, 1.0};

void use(cairo_t* context, const Colour& c) {
  cairo_set_source_rgb(context, c.red, c.green, c.blue);
}

}  // namespace

void draw(cairo_surface_t* surface, int width, int height) {
  constexpr double kTop = -std::numbers::pi / 2;
  const std::unique_ptr<cairo_t, decltype(&cairo_destroy)> owned(cairo_create(surface),
                                                                 cairo_destroy);
  cairo_t* c = owned.get();
  const double unit = std::min(width, height) / 32.0;
  cairo_translate(c, width / 2.0, height / 2.0);
  cairo_scale(c, unit, unit);
  cairo_arc(c, 0, 0, 15.5, 0, 2 * std::numbers::pi);
  use(c, kDisc);
  cairo_fill(c);
  cairo_set_line_width(c, 4.5);
  cairo_arc(c, 0, 0, 10, 0, 2 * std::numbers::pi);
  use(c, kRing);
  cairo_stroke(c);
  cairo_set_line_cap(c, CAIRO_LINE_CAP_ROUND);
  cairo_arc(c, 0, 0, 10, kTop, -0.15);
  use(c, kHead);
  cairo_stroke(c);
}

std::vector<uint32_t> pixels(int size) {
  const std::unique_ptr<cairo_surface_t, decltype(&cairo_surface_destroy)> surface(
      cairo_image_surface_create(CAIRO_FORMAT_ARGB32, size, size), cairo_surface_destroy);
  draw(surface.get(), size, size);
  cairo_surface_flush(surface.get());
  const auto* bytes = cairo_image_surface_get_data(surface.get());
  const auto stride = static_cast<size_t>(cairo_image_surface_get_stride(surface.get()));
  std::vector<uint32_t> out;
  for (int y = 0; y < size; ++y) {
    const auto* row = reinterpret_cast<const uint32_t*>(bytes + static_cast<size_t>(y) * stride);
    for (int x = 0; x < size; ++x) {
      const uint32_t alpha = row[x] >> 24;
      uint32_t straight = alpha << 24;
      for (const int shift : {16, 8, 0})
        if (alpha) straight |= ((row[x] >> shift & 0xff) * 255 / alpha & 0xff) << shift;
      out.push_back(straight);
    }
  }
  return out;
}

}  // namespace velmora::mark
