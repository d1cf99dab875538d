#include "main/target/windll/codec/jpeg_planes.h"

#include "main/target/windll/codec/jpeg_scaling.h"

#include <algorithm>

namespace ztlib {

namespace {

// Samples of one unit of the picture.
std::uint32_t UnitWidth(const jpeg_component_info& component) {
  return component.h_samp_factor * ScaledWidth(component);
}
std::uint32_t UnitHeight(const jpeg_component_info& component) {
  return component.v_samp_factor * ScaledHeight(component);
}

constexpr std::size_t alignment = 64;

std::size_t Align(std::size_t size) {
  return (size + alignment - 1) / alignment * alignment;
}

}  // namespace

bool JpegPlanes::Supports(const jpeg_decompress_struct& object, bool lumaOnly) {
  const jpeg_component_info* const component = object.comp_info;
  const std::uint32_t least = LeastScaledSize(object);
  const std::uint32_t width = object.max_h_samp_factor * least;
  const std::uint32_t height = object.max_v_samp_factor * least;
  if (UnitWidth(component[0]) != width || UnitHeight(component[0]) != height) return false;
  if (lumaOnly) return true;
  if (object.num_components != maxComponents || object.jpeg_color_space != JCS_YCbCr) return false;
  for (int i = 1; i < maxComponents; ++i)
    if (UnitWidth(component[i]) != UnitWidth(component[1]) ||
        UnitHeight(component[i]) != UnitHeight(component[1]))
      return false;
  const std::uint32_t chromaWidth = UnitWidth(component[1]);
  const std::uint32_t chromaHeight = UnitHeight(component[1]);
  if (chromaWidth == width && chromaHeight == height) return true;
  if (2 * chromaWidth != width) return false;
  // libjpeg repeats samples instead of blending them in pictures that are tiny in one sense or
  // another. Of these only the smallest scale is of use.
  if (least == 1) return chromaHeight == height;
  return component[1].downsampled_width > 2 &&
         (chromaHeight == height || 2 * chromaHeight == height);
}

void JpegPlanes::Start(const jpeg_decompress_struct& object, bool lumaOnly) {
  planeCount = lumaOnly ? 1 : maxComponents;
  groupsRead = 0;
  std::size_t needed = alignment;
  for (int i = 0; i < planeCount; ++i) {
    const jpeg_component_info& component = object.comp_info[i];
    Plane& plane = planes[i];
    plane.groupRows = BlocksDown(object, component) * ScaledHeight(component);
    plane.width = component.downsampled_width;
    plane.height = component.downsampled_height;
    plane.keptRows = plane.groupRows * (plane.height > plane.groupRows ? keptGroups : 1);
    // Whole units, with one unit of alignment in front and room for a byte behind.
    const std::uint32_t unit = BlocksAcross(object, component);
    const std::uint32_t blocks = (component.width_in_blocks + unit - 1) / unit * unit;
    // An odd number of cache lines, as those of one column would otherwise push each other out.
    plane.distance =
        (alignment + Align(std::size_t{blocks} * ScaledWidth(component) + 1)) | alignment;
    needed += plane.distance * plane.keptRows;
  }
  across = planeCount == 1 || planes[1].width == planes[0].width ? Widening::none
           : LeastScaledSize(object) > 1                         ? Widening::blended
                                                                 : Widening::repeated;
  halvedDown = planeCount > 1 && planes[1].groupRows < planes[0].groupRows;
  if (memory.size() < needed) memory.resize(needed);
  const auto address = reinterpret_cast<std::uintptr_t>(memory.data());
  std::uint8_t* next = memory.data() + (Align(address) - address);
  for (int i = 0; i < planeCount; ++i) {
    planes[i].samples = next + alignment;
    next += planes[i].distance * planes[i].keptRows;
  }
}

void JpegPlanes::ReadGroup(JpegGroupSource& source) {
  JpegGroupSource::Groups groups{};
  for (int i = 0; i < planeCount; ++i)
    groups[i] = {.samples = planes[i].Row(groupsRead * planes[i].groupRows),
                 .distance = planes[i].distance,
                 .rows = planes[i].groupRows};
  source.ReadGroup(groups);
  ++groupsRead;
  for (int i = 1; i < planeCount; ++i)
    for (std::uint32_t y = 0; y < groups[i].rows; ++y) {
      std::uint8_t* const row = groups[i].samples + y * groups[i].distance;
      row[-1] = row[0];
      row[planes[i].width] = row[planes[i].width - 1];
    }
}

JpegPlanes::Row JpegPlanes::ReadRow(JpegGroupSource& source, std::uint32_t y) {
  if (planeCount == 1) {
    while (groupsRead <= y / planes[0].groupRows)
      ReadGroup(source);
    return {.y = planes[0].Row(y), .near = {}, .far = {}};
  }
  const Plane& chroma = planes[1];
  const std::uint32_t near = halvedDown ? y / 2 : y;
  std::uint32_t far = near;
  if (halvedDown && y % 2 == 0 && near > 0) far = near - 1;
  if (halvedDown && y % 2 != 0 && near + 1 < chroma.height) far = near + 1;
  while (groupsRead <= std::max(near, far) / chroma.groupRows)
    ReadGroup(source);
  return {.y = planes[0].Row(y),
          .near = {planes[1].Row(near), planes[2].Row(near)},
          .far = {planes[1].Row(far), planes[2].Row(far)}};
}

void JpegPlanes::ReadRest(JpegGroupSource& source) {
  while (groupsRead * planes[0].groupRows < planes[0].height)
    ReadGroup(source);
}

}  // namespace ztlib
