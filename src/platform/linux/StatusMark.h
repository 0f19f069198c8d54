#pragma once

#include <cstdint>
#include <vector>

struct _cairo_surface;

namespace velmora {

// The program's mark: a ring with its head at a quarter turn, on a dark disc, so that it can be
// told from light and from dark panels.
namespace mark {

// `size` x `size` pixels, 0xAARRGGBB with straight alpha, row by row from the top.
std::vector<uint32_t> pixels(int size);
// Over what the surface shows, as large as fits into it, centred. Lengths in pixels.
void draw(_cairo_surface* surface, int width, int height);

}  // namespace mark
}  // namespace velmora
