#pragma once

namespace velmora {

// Display coordinates: the origin is the top left corner of the main display, y grows downwards.
struct Point {
  double x = 0.0;
  double y = 0.0;
  bool operator==(const Point&) const = default;
};

struct Rect {
  double x = 0.0;
  double y = 0.0;
  double width = 0.0;
  double height = 0.0;

  double minX() const { return x; }
  double minY() const { return y; }
  double maxX() const { return x + width; }
  double maxY() const { return y + height; }
  // The left and top edges belong to the rectangle, the right and bottom edges do not.
  bool contains(Point p) const {
    return p.x >= minX() && p.x < maxX() && p.y >= minY() && p.y < maxY();
  }
  bool operator==(const Rect&) const = default;
};

}  // namespace velmora
