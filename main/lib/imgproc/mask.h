#pragma once

#include "main/lib/base/cdata/HAData.h"
#include "main/lib/base/fairy/fairy_container.h"
#include "main/lib/base/image_rw.h"
#include "main/lib/imgproc/gray_view.h"

#include <cstdint>
#include <list>
#include <vector>

namespace ztlib {

// The pixels `start` to `end` - 1 of a row.
struct CMaskRun {
  std::int32_t start;
  std::int32_t end;
};

struct CMaskPoint {
  std::int64_t x;
  std::int64_t y;
};
using CMaskPolygon = std::vector<CMaskPoint>;
using PolygonList = std::list<CMaskPolygon>;

// An area of a picture as runs by row: ascending, without overlap, and never touching each other.
class CMask {
 public:
  using Row = std::vector<CMaskRun>;

  CMask();
  CMask(const CMask& other);
  CMask(CMask&& other) noexcept;
  CMask& operator=(CMask other) noexcept;
  ~CMask();

  // Rows outside of the mask are empty.
  [[nodiscard]] const Row& GetRow(int y) const;
  [[nodiscard]] std::int32_t GetHeight() const { return height; }
  [[nodiscard]] std::int32_t GetWidth() const { return width; }
  [[nodiscard]] std::int32_t GetArea() const { return area; }
  // The bounding box, right and bottom exclusive; all 0 for a mask without pixels.
  [[nodiscard]] std::int64_t GetLeft() const { return left; }
  [[nodiscard]] std::int64_t GetTop() const { return top; }
  [[nodiscard]] std::int64_t GetRight() const { return right; }
  [[nodiscard]] std::int64_t GetBottom() const { return bottom; }

  // From one array of virtual coordinates (x, y in turn, both by the width) per polygon. Without a
  // polygon the mask is the one over the frame's corners, whose last row and column are outside.
  // A child that is no short array throws CDataException "Unknown token: POSITION". A size that no
  // memory can hold throws std::bad_alloc.
  void BuildFromData(const CData& masks, const Size& size);
  // From polygons in pixels, filled by the even-odd rule and united. Points are moved to the
  // nearest pixel. Polygons without any point between them give a mask of all pixels.
  void SetPolygons(int width, int height, const PolygonList& polygons);
  void SetPolygonsFromArrays(int width, int height,
                             const std::vector<std::vector<short>>& polygons);

  // `out` may be an input. Inputs of different sizes, or an empty input of Invert, throw
  // CException.
  static void Invert(const CMask& in, CMask& out);
  static void Intersect(const CMask& a, const CMask& b, CMask& out);
  static void Unite(const CMask& a, const CMask& b, CMask& out);

  // Paint the pixels inside of the mask, or those outside. Throw CException unless the image has
  // the mask's size. The fourth byte of a pixel stays.
  void Overlay(TCImageView<TTGray<unsigned char>>& image, std::uint8_t value) const;
  void Overlay(TCImageView<TTYUV<unsigned char>>& image, std::uint8_t y, std::uint8_t u,
               std::uint8_t v) const;
  void Overlay(TCImageView<TTRGB<unsigned char>>& image, std::uint8_t b, std::uint8_t g,
               std::uint8_t r) const;
  void OverlayInverse(TCImageView<TTGray<unsigned char>>& image, std::uint8_t value) const;
  void OverlayInverse(TCImageView<TTYUV<unsigned char>>& image, std::uint8_t y, std::uint8_t u,
                      std::uint8_t v) const;
  void OverlayInverse(TCImageView<TTRGB<unsigned char>>& image, std::uint8_t b, std::uint8_t g,
                      std::uint8_t r) const;

 private:
  CMask(std::int32_t width, std::int32_t height);
  void Swap(CMask& other) noexcept;
  // Computes area and bounding box from the rows.
  void Measure();

  std::vector<Row> rows;  // none at all for a width of 0 or less
  std::int32_t height = 0;
  std::int32_t width = 0;
  std::int32_t area = 0;
  std::int64_t left = 0;
  std::int64_t top = 0;
  std::int64_t right = 0;
  std::int64_t bottom = 0;
};

// The polygons of a mask as a field of a record.
class CMaskArray : public CFairyArrayItem<std::vector<short>> {
 public:
  using CFairyArrayItem::CFairyArrayItem;
};

}  // namespace ztlib
