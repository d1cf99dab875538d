#include "main/target/windll/codec/jpeg_planes.h"

#include <algorithm>

namespace ztlib {

namespace {

// Samples that a block of a component is scaled to, across and down, and the least of them.
#if JPEG_LIB_VERSION >= 70
std::uint32_t ScaledWidth(const jpeg_component_info& component) {
  return component.DCT_h_scaled_size;
}
std::uint32_t ScaledHeight(const jpeg_component_info& component) {
  return component.DCT_v_scaled_size;
}
std::uint32_t LeastScaledSize(const jpeg_decompress_struct& object) {
  return std::min(object.min_DCT_h_scaled_size, object.min_DCT_v_scaled_size);
}
#else
std::uint32_t ScaledWidth(const jpeg_component_info& component) {
  return component.DCT_scaled_size;
}
std::uint32_t ScaledHeight(const jpeg_component_info& component) {
  return component.DCT_scaled_size;
}
std::uint32_t LeastScaledSize(const jpeg_decompress_struct& object) {
  return object.min_DCT_scaled_size;
}
#endif

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

bool JpegPlanes::Supports(const jpeg_decompress_struct& object) {
  if (object.num_components != componentCount || object.jpeg_color_space != JCS_YCbCr) return false;
  const jpeg_component_info* const component = object.comp_info;
  const std::uint32_t least = LeastScaledSize(object);
  const std::uint32_t width = object.max_h_samp_factor * least;
  const std::uint32_t height = object.max_v_samp_factor * least;
  if (UnitWidth(component[0]) != width || UnitHeight(component[0]) != height) return false;
  for (int i = 1; i < componentCount; ++i)
    if (UnitWidth(component[i]) != UnitWidth(component[1]) ||
        UnitHeight(component[i]) != UnitHeight(component[1]))
      return false;
  const std::uint32_t chromaWidth = UnitWidth(component[1]);
  const std::uint32_t chromaHeight = UnitHeight(component[1]);
  if (chromaWidth == width && chromaHeight == height) return true;
  // libjpeg repeats samples instead of blending them in pictures that are tiny in one sense or
  // another.
  const bool blended = least > 1 && component[1].downsampled_width > 2;
  return blended && 2 * chromaWidth == width &&
         (chromaHeight == height || 2 * chromaHeight == height);
}

void JpegPlanes::Start(const jpeg_decompress_struct& object) {
  groupsRead = 0;
  std::array<std::size_t, componentCount> distances{};
  std::size_t needed = 0;
  for (int i = 0; i < componentCount; ++i) {
    const jpeg_component_info& component = object.comp_info[i];
    Plane& plane = planes[i];
    plane.groupRows = UnitHeight(component);
    plane.width = component.downsampled_width;
    plane.height = component.downsampled_height;
    // One unit of alignment in front, and room for a byte behind.
    distances[i] = alignment + Align(component.width_in_blocks * ScaledWidth(component) + 1);
    needed += distances[i] * plane.groupRows * keptGroups;
  }
  halvedAcross = planes[1].width < planes[0].width;
  halvedDown = planes[1].groupRows < planes[0].groupRows;
  if (memory.size() < needed + alignment) memory.resize(needed + alignment);
  const auto address = reinterpret_cast<std::uintptr_t>(memory.data());
  std::uint8_t* next = memory.data() + (Align(address) - address);
  for (int i = 0; i < componentCount; ++i)
    for (auto& group : planes[i].rows)
      for (std::uint32_t y = 0; y < planes[i].groupRows; ++y) {
        group[y] = next + alignment;
        next += distances[i];
      }
}

void JpegPlanes::ReadGroup(jpeg_decompress_struct& object) {
  const std::uint32_t slot = groupsRead % keptGroups;
  JSAMPARRAY rows[componentCount];
  for (int i = 0; i < componentCount; ++i)
    rows[i] = planes[i].rows[slot].data();
  jpeg_read_raw_data(&object, rows, planes[0].groupRows);
  ++groupsRead;
  for (int i = 1; i < componentCount; ++i)
    for (std::uint32_t y = 0; y < planes[i].groupRows; ++y) {
      std::uint8_t* const row = rows[i][y];
      row[-1] = row[0];
      row[planes[i].width] = row[planes[i].width - 1];
    }
}

JpegPlanes::Row JpegPlanes::ReadRow(jpeg_decompress_struct& object, std::uint32_t y) {
  const Plane& chroma = planes[1];
  const std::uint32_t near = halvedDown ? y / 2 : y;
  std::uint32_t far = near;
  if (halvedDown && y % 2 == 0 && near > 0) far = near - 1;
  if (halvedDown && y % 2 != 0 && near + 1 < chroma.height) far = near + 1;
  while (groupsRead <= std::max(near, far) / chroma.groupRows)
    ReadGroup(object);
  return {.y = planes[0].Row(y),
          .near = {planes[1].Row(near), planes[2].Row(near)},
          .far = {planes[1].Row(far), planes[2].Row(far)}};
}

void JpegPlanes::ReadRest(jpeg_decompress_struct& object) {
  while (object.output_scanline < object.output_height)
    ReadGroup(object);
}

}  // namespace ztlib
