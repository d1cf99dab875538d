#include "client/canvas.h"

#include <algorithm>
#include <cmath>

CCanvas::CCanvas(int pictureWidth, int pictureHeight)
    : width(pictureWidth),
      height(pictureHeight),
      pixels(std::size_t(pictureWidth) * std::size_t(pictureHeight)) {}

template <class Distance>
void CCanvas::Fill(CPoint low, CPoint high, const CPaint& paint, Distance&& distance) {
  const int left = std::max(0, static_cast<int>(low.x) - 1);
  const int top = std::max(0, static_cast<int>(low.y) - 1);
  const int right = std::min(width - 1, static_cast<int>(high.x) + 1);
  const int bottom = std::min(height - 1, static_cast<int>(high.y) + 1);
  for (int y = top; y <= bottom; ++y)
    for (int x = left; x <= right; ++x) {
      const float edge = distance(float(x) + 0.5F, float(y) + 0.5F);
      const float share = std::clamp(0.5F - edge, 0.0F, 1.0F) * paint.opacity;
      if (share <= 0) continue;
      CPixel& pixel = At(x, y);
      pixel.color.red += (paint.color.red - pixel.color.red) * share;
      pixel.color.green += (paint.color.green - pixel.color.green) * share;
      pixel.color.blue += (paint.color.blue - pixel.color.blue) * share;
      pixel.glow += (paint.glow - pixel.glow) * share;
    }
}

void CCanvas::FillRectangle(CPoint corner, CPoint opposite, float radius, const CPaint& paint) {
  const CPoint center{(corner.x + opposite.x) / 2, (corner.y + opposite.y) / 2};
  const CPoint half{(opposite.x - corner.x) / 2 - radius, (opposite.y - corner.y) / 2 - radius};
  Fill(corner, opposite, paint, [&](float x, float y) {
    const float outX = std::abs(x - center.x) - half.x;
    const float outY = std::abs(y - center.y) - half.y;
    return std::hypot(std::max(outX, 0.0F), std::max(outY, 0.0F)) +
           std::min(std::max(outX, outY), 0.0F) - radius;
  });
}

void CCanvas::FillEllipse(CPoint center, float radiusX, float radiusY, const CPaint& paint) {
  Fill({center.x - radiusX, center.y - radiusY}, {center.x + radiusX, center.y + radiusY}, paint,
       [&](float x, float y) {
         return (std::hypot((x - center.x) / radiusX, (y - center.y) / radiusY) - 1) *
                std::min(radiusX, radiusY);
       });
}

void CCanvas::DrawLine(CPoint from, CPoint to, float thickness, const CPaint& paint) {
  const float radius = thickness / 2;
  const CPoint along{to.x - from.x, to.y - from.y};
  const float square = std::max(along.x * along.x + along.y * along.y, 1e-6F);
  Fill({std::min(from.x, to.x) - radius, std::min(from.y, to.y) - radius},
       {std::max(from.x, to.x) + radius, std::max(from.y, to.y) + radius}, paint,
       [&](float x, float y) {
         const float share =
             std::clamp(((x - from.x) * along.x + (y - from.y) * along.y) / square, 0.0F, 1.0F);
         return std::hypot(x - from.x - along.x * share, y - from.y - along.y * share) - radius;
       });
}

void CCanvas::FillConvex(std::span<const CPoint> corners, const CPaint& paint) {
  CPoint low = corners[0], high = corners[0];
  for (const CPoint& corner : corners) {
    low = {std::min(low.x, corner.x), std::min(low.y, corner.y)};
    high = {std::max(high.x, corner.x), std::max(high.y, corner.y)};
  }
  Fill(low, high, paint, [&](float x, float y) {
    float farthest = -1e9F;
    for (std::size_t i = 0; i < corners.size(); ++i) {
      const CPoint& a = corners[i];
      const CPoint& b = corners[(i + 1) % corners.size()];
      const float length = std::hypot(b.x - a.x, b.y - a.y);
      farthest = std::max(farthest, ((b.y - a.y) * (x - a.x) - (b.x - a.x) * (y - a.y)) / length);
    }
    return farthest;
  });
}
