#include "bench/clip.h"
#include "bench/decoding.h"
#include "bench/ffmpeg_peer.h"
#include "main/target/windll/codec/jpeg_decoder.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <utility>
#include <vector>

extern "C" {
#include <jpeglib.h>
#include <libavcodec/avcodec.h>
#include <turbojpeg.h>
}

#include <benchmark/benchmark.h>

// Measures plain video at 1920x1080 and quality 75 through the exports. The peers are direct calls
// of libjpeg-turbo with four-byte or gray pixels, its decoder that leaves the planes as they are,
// and FFmpeg's codec on one thread, which stays in planes, too. The library's own decoder is also
// measured as it decodes what its road for sound pictures leaves out.

namespace {

constexpr int width = 1920;
constexpr int height = 1080;
constexpr int quality = 75;

using namespace kit;

struct QualityEncoder : Encoder {
  QualityEncoder() : Encoder(width, height) { Configure(Config().Int("JPEGQuality", quality)); }
};

// A picture in UYVY, and its frame of plain video.
struct Scene {
  explicit Scene(Bytes uyvy) : pixels(std::move(uyvy)) {
    frame = QualityEncoder().Process(Picture(ZTLIB_UYVY).get());
  }
  [[nodiscard]] Image Picture(int format) const {
    if (format == ZTLIB_UYVY) return NewImage(format, width, height, pixels);
    return NewImage(format, width, height, [this](std::size_t i) {
      const std::size_t pair = i / 8 * 4;
      const std::size_t places[] = {pair + i / 4 % 2 * 2 + 1, pair, pair + 2};  // Y, U, V
      return i % 4 == 3 ? 255 : pixels[places[i % 4]];
    });
  }
  Bytes pixels;
  Bytes frame;
};

// Soft gradients, fine texture, sensor noise and edges.
const Scene& DrawnScene() {
  static const Scene scene([] {
    Bytes pixels;
    std::mt19937 random(7);
    for (int row = 0; row < height; ++row)
      for (int column = 0; column < width; ++column) {
        const double light = 100 + 60 * std::sin(column * 0.004) + 40 * std::cos(row * 0.006);
        const double texture = 12 * std::sin(column * 0.31) * std::sin(row * 0.27);
        const int noise = static_cast<int>(random() % 13) - 6;
        const int edge = (column / 97 + row / 61) % 2 * 18;
        const auto append = [&pixels](double value) {
          pixels.push_back(static_cast<std::uint8_t>(std::clamp(value, 0.0, 255.0)));
        };
        append(column % 2 == 0 ? 128 + 30 * std::sin(column * 0.01 + row * 0.003) + edge / 2
                               : 128 + 25 * std::cos(row * 0.008));
        append(light + texture + noise + edge);
      }
    return pixels;
  }());
  return scene;
}

const Scene& FilmedScene() {
  static const Scene scene(TheClip()->pictures.front());
  return scene;
}

// The scenes are made only for the benchmarks that run.
using SceneOf = const Scene& (*)();

constexpr std::size_t headerSize = 112;

void DecodeZtlib(benchmark::State& state, SceneOf scene, int format, int scale) {
  Decoder decoder(format, scale);
  DecodeAgain(state, decoder, scene().frame);
}

void DecodeLibjpeg(benchmark::State& state, SceneOf scene, int format, int scale) {
  const Bytes& frame = scene().frame;
  Bytes target(std::size_t{width} * height * 4);
  jpeg_decompress_struct object{};
  jpeg_error_mgr errors;
  object.err = jpeg_std_error(&errors);
  jpeg_create_decompress(&object);
  for (auto _ : state) {
    jpeg_mem_src(&object, frame.data() + headerSize, frame.size() - headerSize);
    jpeg_read_header(&object, TRUE);
    object.out_color_space = format == ZTLIB_GRAY ? JCS_GRAYSCALE : JCS_EXT_BGRX;
    object.scale_num = 1;
    object.scale_denom = static_cast<unsigned>(scale);
    jpeg_start_decompress(&object);
    while (object.output_scanline < object.output_height) {
      JSAMPROW row = &target[std::size_t{object.output_width} * 4 * object.output_scanline];
      jpeg_read_scanlines(&object, &row, 1);
    }
    jpeg_finish_decompress(&object);
  }
  jpeg_destroy_decompress(&object);
}

void DecodeToPlanes(benchmark::State& state, SceneOf scene, int scale) {
  const Bytes& frame = scene().frame;
  Bytes planes[] = {Bytes(std::size_t{width} * height), Bytes(std::size_t{width} * height / 4),
                    Bytes(std::size_t{width} * height / 4)};
  unsigned char* targets[] = {planes[0].data(), planes[1].data(), planes[2].data()};
  const tjhandle decoder = tjInitDecompress();
  for (auto _ : state)
    if (tjDecompressToYUVPlanes(decoder, frame.data() + headerSize, frame.size() - headerSize,
                                targets, width / scale, nullptr, height / scale,
                                TJFLAG_ACCURATEDCT) != 0) {
      state.SkipWithError("not decoded");
      break;
    }
  tjDestroy(decoder);
}

void DecodeOnLibjpegRoad(benchmark::State& state, SceneOf scene, int format, int scale) {
  const Bytes& frame = scene().frame;
  ztlib::CJPEGDecoder decoder(ztlib::JpegRoad::libjpeg);
  Bytes target(std::size_t{width} * height * 4);
  const auto scaled = [scale](int size) { return static_cast<std::uint32_t>(size / scale); };
  for (auto _ : state)
    decoder.Decode(std::span(frame).subspan(headerSize),
                   {.format = static_cast<ztlib::PixelFormat>(format),
                    .pixels = target.data(),
                    .width = scaled(width),
                    .height = scaled(height)},
                   static_cast<std::uint32_t>(scale));
}

void DecodeFfmpeg(benchmark::State& state, SceneOf scene, int scale) {
  const Bytes& frame = scene().frame;
  Bytes padded(frame.begin() + headerSize, frame.end());
  const auto size = static_cast<int>(padded.size());
  padded.resize(padded.size() + AV_INPUT_BUFFER_PADDING_SIZE);
  const AVCodec* codec = avcodec_find_decoder(AV_CODEC_ID_MJPEG);
  AVCodecContext* context = avcodec_alloc_context3(codec);
  context->thread_count = 1;
  for (; scale > 1; scale /= 2)
    ++context->lowres;
  avcodec_open2(context, codec, nullptr);
  AVPacket* packet = av_packet_alloc();
  AVFrame* decoded = av_frame_alloc();
  for (auto _ : state) {
    packet->data = padded.data();
    packet->size = size;
    if (avcodec_send_packet(context, packet) != 0 || avcodec_receive_frame(context, decoded) != 0) {
      state.SkipWithError("not decoded");
      break;
    }
  }
  av_frame_free(&decoded);
  av_packet_free(&packet);
  avcodec_free_context(&context);
}

void EncodeZtlib(benchmark::State& state, SceneOf scene, int format) {
  const Image image = scene().Picture(format);
  EncodeAgain(state, QualityEncoder(), {&image, 1});
}

// The blue, green and red that the decoder gives are encoded, so that the stream is the same.
void EncodeLibjpeg(benchmark::State& state, SceneOf scene) {
  const Bytes& frame = scene().frame;
  jpeg_decompress_struct reader{};
  jpeg_error_mgr errors;
  reader.err = jpeg_std_error(&errors);
  jpeg_create_decompress(&reader);
  jpeg_mem_src(&reader, frame.data() + headerSize, frame.size() - headerSize);
  jpeg_read_header(&reader, TRUE);
  reader.out_color_space = JCS_EXT_BGRX;
  jpeg_start_decompress(&reader);
  Bytes pixels(std::size_t{width} * height * 4);
  while (reader.output_scanline < reader.output_height) {
    JSAMPROW row = &pixels[std::size_t{width} * 4 * reader.output_scanline];
    jpeg_read_scanlines(&reader, &row, 1);
  }
  jpeg_finish_decompress(&reader);
  jpeg_destroy_decompress(&reader);

  Bytes target(std::size_t{width} * height * 2);
  jpeg_compress_struct object{};
  object.err = jpeg_std_error(&errors);
  jpeg_create_compress(&object);
  for (auto _ : state) {
    unsigned char* memory = target.data();
    unsigned long size = target.size();
    jpeg_mem_dest(&object, &memory, &size);
    object.image_width = width;
    object.image_height = height;
    object.input_components = 4;
    object.in_color_space = JCS_EXT_BGRX;
    jpeg_set_defaults(&object);
    jpeg_set_quality(&object, quality, TRUE);
    jpeg_start_compress(&object, TRUE);
    while (object.next_scanline < object.image_height) {
      JSAMPROW row = &pixels[std::size_t{width} * 4 * object.next_scanline];
      jpeg_write_scanlines(&object, &row, 1);
    }
    jpeg_finish_compress(&object);
  }
  jpeg_destroy_compress(&object);
}

void EncodeFfmpeg(benchmark::State& state, SceneOf scene) {
  FfmpegPeer peer(avcodec_find_encoder(AV_CODEC_ID_MJPEG), width, height);
  AVFrame* picture = peer.Planes(scene().pixels);
  for (auto _ : state) {
    ++picture->pts;
    const int bytes = peer.Encode(picture);
    if (bytes == 0) {
      state.SkipWithError("not encoded");
      break;
    }
    state.counters["bytes"] = bytes;
  }
  av_frame_free(&picture);
}

const bool registered = [] {
  const auto add = [](const std::string& name, auto function, auto... arguments) {
    benchmark::RegisterBenchmark(name.c_str(), function, arguments...)
        ->Unit(benchmark::kMillisecond);
  };
  const auto addScene = [&add](const std::string& size, SceneOf scene) {
    for (const auto& [name, format] : {std::pair("decode_rgb", ZTLIB_RGB),
                                       {"decode_yuv", ZTLIB_YUV},
                                       {"decode_uyvy", ZTLIB_UYVY},
                                       {"decode_gray", ZTLIB_GRAY}})
      for (int scale : {1, 2, 4, 8}) {
        std::string variant = std::string(name) + "/" + size;
        if (scale > 1) variant += "_scale" + std::to_string(scale);
        const int pixels = format;
        add(variant + "/ztlib", DecodeZtlib, scene, pixels, scale);
        add(variant + "/libjpeg_turbo", DecodeLibjpeg, scene, pixels, scale);
        add(variant + "/libjpeg_turbo_planes", DecodeToPlanes, scene, scale);
        add(variant + "/libjpeg_road", DecodeOnLibjpegRoad, scene, pixels, scale);
        add(variant + "/ffmpeg", DecodeFfmpeg, scene, scale);
      }
    for (const auto& [name, format] :
         {std::pair("encode_yuv", ZTLIB_YUV), {"encode_uyvy", ZTLIB_UYVY}}) {
      const std::string variant = std::string(name) + "/" + size;
      add(variant + "/ztlib", EncodeZtlib, scene, static_cast<int>(format));
      add(variant + "/libjpeg_turbo", EncodeLibjpeg, scene);
      add(variant + "/ffmpeg", EncodeFfmpeg, scene);
    }
  };
  addScene("1080p", DrawnScene);
  if (TheClip()) addScene("1080p_" + TheClip()->name, FilmedScene);
  return true;
}();

}  // namespace
