#pragma once

#include "tests/kit/bytes.h"

#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include <jpeglib.h>

// Streams of libjpeg itself, and pictures to feed it with.
namespace jpeg_reference {

using kit::Bytes;

// Returns three components a pixel: gradients, noise and hard edges from a fixed seed.
inline Bytes Scene(int width, int height, std::uint32_t seed = 1) {
  Bytes pixels;
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) {
      seed = seed * 1664525 + 1013904223;
      const int noise = static_cast<int>(seed >> 28);
      const int edge = ((x / 11 + y / 7) & 1) * 40;
      for (int value : {x * 2 + y + edge + noise, 90 + x - y / 2 + edge, 200 - x + y - noise})
        pixels.push_back(static_cast<std::uint8_t>(value & 0xff));
    }
  return pixels;
}

struct Style {
  const char* name = "default";
  int lumaAcross = 2;
  int lumaDown = 2;
  int components = 3;
  bool progressive = false;
  int restartInterval = 0;  // in rows of units
  int quality = 75;
  // The sampling factors of U and V, each across and down, as those above are of luma.
  std::array<int, 4> chroma = {1, 1, 1, 1};
  J_COLOR_SPACE space = JCS_YCbCr;  // the name under which three components are stored
};

// Encodes three-byte YCbCr pixels, or their luma alone.
inline Bytes Encode(const Bytes& ycc, int width, int height, const Style& style = {}) {
  jpeg_compress_struct object{};
  jpeg_error_mgr errors;
  object.err = jpeg_std_error(&errors);
  jpeg_create_compress(&object);
  unsigned char* memory = nullptr;
  unsigned long size = 0;
  jpeg_mem_dest(&object, &memory, &size);
  object.image_width = static_cast<JDIMENSION>(width);
  object.image_height = static_cast<JDIMENSION>(height);
  object.input_components = style.components;
  object.in_color_space = style.components == 3 ? style.space : JCS_GRAYSCALE;
  jpeg_set_defaults(&object);
  jpeg_set_colorspace(&object, object.in_color_space);
  jpeg_set_quality(&object, style.quality, TRUE);
  object.comp_info[0].h_samp_factor = style.lumaAcross;
  object.comp_info[0].v_samp_factor = style.lumaDown;
  for (int i = 1; i < style.components; ++i) {
    object.comp_info[i].h_samp_factor = style.chroma[2 * i - 2];
    object.comp_info[i].v_samp_factor = style.chroma[2 * i - 1];
  }
  if (style.progressive) jpeg_simple_progression(&object);
  object.restart_in_rows = style.restartInterval;
  jpeg_start_compress(&object, TRUE);
  Bytes row(static_cast<std::size_t>(width * style.components));
  for (int y = 0; y < height; ++y) {
    for (int i = 0; i < width * style.components; ++i)
      row[i] = ycc[static_cast<std::size_t>(y) * width * 3 + (style.components == 3 ? i : 3 * i)];
    JSAMPROW pointer = row.data();
    jpeg_write_scanlines(&object, &pointer, 1);
  }
  jpeg_finish_compress(&object);
  Bytes stream(memory, memory + size);
  jpeg_destroy_compress(&object);
  std::free(memory);
  return stream;
}

}  // namespace jpeg_reference
