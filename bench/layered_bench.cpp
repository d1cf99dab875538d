#include "bench/decoding.h"
#include "client/layered/layered_encoder.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <random>
#include <string>
#include <vector>

extern "C" {
#include <jpeglib.h>
}

#include <benchmark/benchmark.h>

// Measures layered video at 1920x1088 through the exports, at every scale. The peer is
// libjpeg-turbo, which decodes the same picture at the same scale. Its quality is the one that
// gives the nearest number of bytes; both numbers are reported.

namespace {

constexpr int width = 1920;
constexpr int height = 1088;

using kit::Bytes;

// Returns gradients, texture, edges and noise, with chroma at half size.
const CLayeredPicture& TheScene() {
  static Bytes planes[3];
  static const CLayeredPicture scene = [] {
    std::mt19937 random(7);
    const auto byte = [](double value) {
      return static_cast<std::uint8_t>(std::clamp(value, 0.0, 255.0));
    };
    for (int y = 0; y < height; ++y)
      for (int x = 0; x < width; ++x) {
        const double light = 100 + 60 * std::sin(x * 0.004) + 40 * std::cos(y * 0.006);
        const double texture = 12 * std::sin(x * 0.31) * std::sin(y * 0.27);
        const int noise = static_cast<int>(random() % 13) - 6;
        const int edge = (x / 97 + y / 61) % 2 * 18;
        planes[0].push_back(byte(light + texture + noise + edge));
        if (x % 2 != 0 || y % 2 != 0) continue;
        planes[1].push_back(byte(128 + 30 * std::sin(x * 0.01 + y * 0.003) + edge / 2));
        planes[2].push_back(byte(128 + 25 * std::cos(y * 0.008)));
      }
    return CLayeredPicture{width,
                           height,
                           {planes[0].data(), planes[1].data(), planes[2].data()},
                           {width, width / 2, width / 2}};
  }();
  return scene;
}

const Bytes& TheFrame() {
  static const Bytes frame = CLayeredEncoder({}).Encode(TheScene());
  return frame;
}

Bytes EncodeJpeg(int quality) {
  jpeg_compress_struct object{};
  jpeg_error_mgr errors;
  object.err = jpeg_std_error(&errors);
  jpeg_create_compress(&object);
  unsigned char* memory = nullptr;
  unsigned long size = 0;
  jpeg_mem_dest(&object, &memory, &size);
  object.image_width = width;
  object.image_height = height;
  object.input_components = 3;
  object.in_color_space = JCS_YCbCr;
  jpeg_set_defaults(&object);
  jpeg_set_quality(&object, quality, TRUE);
  object.raw_data_in = TRUE;
  jpeg_start_compress(&object, TRUE);
  for (int top = 0; top < height; top += 16) {
    JSAMPROW rows[3][16];
    JSAMPARRAY planes[3] = {rows[0], rows[1], rows[2]};
    for (int i = 0; i < 3; ++i)
      for (int y = 0; y < (i == 0 ? 16 : 8); ++y)
        rows[i][y] = const_cast<JSAMPROW>(TheScene().planes[i] +
                                          ((i == 0 ? top : top / 2) + y) * TheScene().strides[i]);
    jpeg_write_raw_data(&object, planes, 16);
  }
  jpeg_finish_compress(&object);
  Bytes stream(memory, memory + size);
  jpeg_destroy_compress(&object);
  std::free(memory);
  return stream;
}

const Bytes& TheJpeg() {
  static const Bytes stream = [] {
    const auto distance = [](const Bytes& made) {
      return std::abs(static_cast<double>(made.size()) - static_cast<double>(TheFrame().size()));
    };
    Bytes best = EncodeJpeg(50);
    for (int quality = 51; quality <= 98; ++quality) {
      Bytes made = EncodeJpeg(quality);
      if (distance(made) < distance(best)) best = std::move(made);
    }
    return best;
  }();
  return stream;
}

void DecodeZtlib(benchmark::State& state, int format, int scale) {
  kit::Decoder decoder(format, scale, ZTLIB_VIDEO_LAYERED);
  DecodeAgain(state, decoder, TheFrame());
  state.counters["bytes"] = static_cast<double>(TheFrame().size());
}

void DecodeJpeg(benchmark::State& state, J_COLOR_SPACE space, int scale) {
  const Bytes& stream = TheJpeg();
  jpeg_decompress_struct object{};
  jpeg_error_mgr errors;
  object.err = jpeg_std_error(&errors);
  jpeg_create_decompress(&object);
  Bytes pixels(std::size_t{width} * height * 4);
  for (auto _ : state) {
    jpeg_mem_src(&object, stream.data(), stream.size());
    jpeg_read_header(&object, TRUE);
    object.out_color_space = space;
    object.scale_num = 1;
    object.scale_denom = static_cast<unsigned>(scale);
    jpeg_start_decompress(&object);
    const std::size_t rowSize = std::size_t{object.output_width} * object.output_components;
    while (object.output_scanline < object.output_height) {
      JSAMPROW row = &pixels[rowSize * object.output_scanline];
      jpeg_read_scanlines(&object, &row, 1);
    }
    jpeg_finish_decompress(&object);
    benchmark::DoNotOptimize(pixels.data());
  }
  jpeg_destroy_decompress(&object);
  state.counters["bytes"] = static_cast<double>(stream.size());
}

const bool registered = [] {
  const auto add = [](const std::string& name, auto function, auto... arguments) {
    benchmark::RegisterBenchmark(name.c_str(), function, arguments...)
        ->Unit(benchmark::kMillisecond);
  };
  struct Target {
    const char* name;
    int format;
    J_COLOR_SPACE space;  // of the peer
  };
  for (const Target& target :
       {Target{"rgb", ZTLIB_RGB, JCS_EXT_BGRX}, Target{"yuv", ZTLIB_YUV, JCS_YCbCr},
        Target{"yuyv", ZTLIB_YUYV, JCS_YCbCr}})
    for (const int scale : {1, 2, 4, 8}) {
      std::string variant = std::string("decode_layered_") + target.name + "/1080p";
      if (scale > 1) variant += "_scale" + std::to_string(scale);
      add(variant + "/ztlib", DecodeZtlib, target.format, scale);
      add(variant + "/libjpeg_turbo", DecodeJpeg, target.space, scale);
    }
  return true;
}();

}  // namespace
