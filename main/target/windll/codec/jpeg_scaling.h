#pragma once

#include "main/target/windll/codec/jpeg_io.h"

#include <algorithm>
#include <cstdint>

namespace ztlib {

// Samples that a block of a component is scaled to, across and down, and the least of them. For
// objects whose output dimensions are calculated.
#if JPEG_LIB_VERSION >= 70
inline std::uint32_t ScaledWidth(const jpeg_component_info& component) {
  return component.DCT_h_scaled_size;
}
inline std::uint32_t ScaledHeight(const jpeg_component_info& component) {
  return component.DCT_v_scaled_size;
}
inline std::uint32_t LeastScaledSize(const jpeg_decompress_struct& object) {
  return std::min(object.min_DCT_h_scaled_size, object.min_DCT_v_scaled_size);
}
#else
inline std::uint32_t ScaledWidth(const jpeg_component_info& component) {
  return component.DCT_scaled_size;
}
inline std::uint32_t ScaledHeight(const jpeg_component_info& component) {
  return component.DCT_scaled_size;
}
inline std::uint32_t LeastScaledSize(const jpeg_decompress_struct& object) {
  return object.min_DCT_scaled_size;
}
#endif

// Blocks of a component in one unit of the scan, across and down. A component alone has one.
inline std::uint32_t BlocksAcross(const jpeg_decompress_struct& object,
                                  const jpeg_component_info& component) {
  return object.num_components == 1 ? 1 : component.h_samp_factor;
}
inline std::uint32_t BlocksDown(const jpeg_decompress_struct& object,
                                const jpeg_component_info& component) {
  return object.num_components == 1 ? 1 : component.v_samp_factor;
}

}  // namespace ztlib
