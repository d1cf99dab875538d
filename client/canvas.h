#pragma once

#include <cstdint>
#include <span>
#include <vector>

// A small painter with soft edges: colours as they look in daylight, and beside them how strongly
// each spot glows by itself.
struct CColor {
  float red = 0, green = 0, blue = 0;
};

struct CPoint {
  float x = 0, y = 0;
};

struct CPaint {
  CColor color;
  float glow = 0;
  float opacity = 1;
};

// A picture that is painted shape by shape, in daylight colours of 0 to 255.
class CCanvas {
 public:
  struct CPixel {
    CColor color;
    float glow = 0;
  };

  CCanvas(int pictureWidth, int pictureHeight);

  [[nodiscard]] int Width() const { return width; }
  [[nodiscard]] int Height() const { return height; }
  [[nodiscard]] CPixel& At(int x, int y) {
    return pixels[std::size_t(y) * std::size_t(width) + std::size_t(x)];
  }
  [[nodiscard]] std::span<const CPixel> Pixels() const { return pixels; }

  void FillRectangle(CPoint corner, CPoint opposite, float radius, const CPaint& paint);
  void FillEllipse(CPoint center, float radiusX, float radiusY, const CPaint& paint);
  // A stroke with round ends.
  void DrawLine(CPoint from, CPoint to, float thickness, const CPaint& paint);
  // Corners clockwise on the screen.
  void FillConvex(std::span<const CPoint> corners, const CPaint& paint);

 private:
  // Paints inside the box where `distance` (in pixels, negative inside) says so.
  template <class Distance>
  void Fill(CPoint low, CPoint high, const CPaint& paint, Distance&& distance);

  int width, height;
  std::vector<CPixel> pixels;
};
