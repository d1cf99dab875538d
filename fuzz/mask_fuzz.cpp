#include "fuzz/input.h"
#include "fuzz/require.h"
#include "main/lib/imgproc/mask.h"

using namespace ztlib;

namespace {

// Runs must be in order, apart from each other and inside, and area and box must be theirs.
void RequireSound(const CMask& mask) {
  std::int64_t area = 0;
  for (int y = 0; y < mask.GetHeight(); ++y) {
    std::int32_t before = -1;
    for (const CMaskRun& run : mask.GetRow(y)) {
      Require(before < run.start && run.start < run.end && run.end <= mask.GetWidth());
      Require(mask.GetLeft() <= run.start && run.end <= mask.GetRight());
      Require(mask.GetTop() <= y && y < mask.GetBottom());
      area += run.end - run.start;
      before = run.end;
    }
  }
  Require(area == mask.GetArea());
}

bool Same(const CMask& a, const CMask& b) {
  Require(a.GetHeight() == b.GetHeight());
  const auto isSame = [](const CMaskRun& one, const CMaskRun& other) {
    return one.start == other.start && one.end == other.end;
  };
  for (int y = 0; y < a.GetHeight(); ++y)
    if (!std::ranges::equal(a.GetRow(y), b.GetRow(y), isSame)) return false;
  return true;
}

}  // namespace

// The input has two 16-bit sizes, whose high bits stretch the coordinates, then arrays of 16-bit
// values, each behind its length. The first array is one mask, all of them are another; their
// combinations must obey the rules of sets.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Input in{{data, size}};
  const int width = in.Take<std::int16_t>() % 2048, height = in.Take<std::int16_t>() % 512;
  std::vector<std::vector<short>> arrays;
  CData masks;
  while (!in.rest.empty() && arrays.size() < 20) {
    std::vector<short>& array = arrays.emplace_back(in.Byte() % 24 / 2 * 2);
    for (short& value : array)
      value = in.Take<std::int16_t>();
    masks.AddShortArray(Tok::Empty, array);
  }
  CMask one, all;
  one.SetPolygonsFromArrays(width, height, {arrays.begin(), arrays.begin() + !arrays.empty()});
  all.SetPolygonsFromArrays(width, height, arrays);
  RequireSound(one);
  RequireSound(all);
  CMask fromTree;
  fromTree.BuildFromData(masks, {width, height});
  RequireSound(fromTree);
  if (height <= 0) return 0;

  CMask joined, common, other, inverse, twice;
  CMask::Unite(one, fromTree, joined);
  CMask::Intersect(one, fromTree, common);
  for (const CMask* mask : {&joined, &common})
    RequireSound(*mask);
  Require(joined.GetArea() + common.GetArea() == one.GetArea() + fromTree.GetArea());
  // The rule is: not (a or b) = not a and not b.
  CMask::Invert(joined, inverse);
  CMask::Invert(one, twice);
  CMask::Invert(fromTree, other);
  CMask::Intersect(twice, other, twice);
  Require(Same(inverse, twice));
  CMask::Invert(inverse, inverse);
  Require(Same(inverse, joined));
  // One more polygon removes nothing from a mask.
  if (!arrays.empty() && !arrays[0].empty()) {
    CMask::Unite(one, all, joined);
    Require(Same(joined, all));
  }
  return 0;
}
