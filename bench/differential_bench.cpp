#include "bench/clip.h"
#include "bench/decoding.h"
#include "bench/ffmpeg_peer.h"
#include "main/target/windll/codec/block_kernels.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include <benchmark/benchmark.h>

// Measures differential video at 1920x1080 and quality 75 through the exports, with a share of the
// blocks in every frame's list, and with the blocks that change in a real clip. The peers are plain
// video, FFmpeg's MJPEG, and its MPEG-4 without B frames, which shows the cost of a still scene for
// a codec with motion search. The least possible cost is one pass over the bytes of the picture: to
// read them for encoding, to copy them for decoding.

namespace {

constexpr int width = 1920;
constexpr int height = 1080;
constexpr int quality = 75;
constexpr int columns = width / 16;
constexpr int rows = height / 8 / 2;

using namespace kit;

// Returns gradients, texture and noise in UYVY, the same at every call.
Bytes Still() {
  Bytes pixels;
  std::mt19937 random(7);
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) {
      const double light = 100 + 60 * std::sin(x * 0.004) + 40 * std::cos(y * 0.006);
      const double texture = 12 * std::sin(x * 0.31) * std::sin(y * 0.27);
      const int noise = static_cast<int>(random() % 13) - 6;
      const double chroma = 128 + 30 * std::sin(x / 2 * 0.02 + y * 0.003);
      pixels.push_back(static_cast<std::uint8_t>(chroma));
      pixels.push_back(static_cast<std::uint8_t>(std::clamp(light + texture + noise, 0.0, 255.0)));
    }
  return pixels;
}

// Returns the same with changes that put this percentage of the blocks into the list: squares of
// blocks, whose neighbours are listed with them, at places that differ with `phase`.
Bytes Changed(int percent, int phase) {
  Bytes pixels = Still();
  constexpr int side = 7;
  std::vector<bool> listed(columns * rows);
  std::mt19937 random(static_cast<unsigned>(11 + phase));
  for (int count = 0; count < columns * rows * percent / 100;) {
    const int left = static_cast<int>(random() % (columns - side));
    const int top = static_cast<int>(random() % (rows - side));
    for (int y = 0; y < side; ++y)
      for (int x = 0; x < side; ++x) {
        const bool corner = (x == 0 || x == side - 1) && (y == 0 || y == side - 1);
        if (corner || listed[(top + y) * columns + left + x]) continue;
        listed[(top + y) * columns + left + x] = true;
        ++count;
      }
    for (int y = 16 * (top + 1); y < 16 * (top + side - 1); ++y)
      for (int x = 16 * (left + 1); x < 16 * (left + side - 1); ++x) {
        std::uint8_t& luma = pixels[(static_cast<std::size_t>(y) * width + x) * 2 + 1];
        luma = static_cast<std::uint8_t>(luma < 128 ? luma + 40 : luma - 40);
      }
  }
  return pixels;
}

// A key picture and those that follow it in turn.
using Pictures = std::vector<Bytes>;
constexpr int filmed = -1;  // a percentage that stands for the real clip

const Pictures& PicturesOf(int percent) {
  if (percent == filmed) return TheClip()->pictures;
  static std::map<int, Pictures> made;
  Pictures& pictures = made[percent];
  if (pictures.empty()) pictures = {Still(), Changed(percent, 0), Changed(percent, 1)};
  return pictures;
}

Image Picture(const Bytes& pixels) {
  return NewImage(ZTLIB_UYVY, width, height, pixels);
}

struct QualityEncoder : Encoder {
  QualityEncoder(int video, bool advanced) : Encoder(width, height, video) {
    Configure(Config()
                  .Int("JPEGQuality", quality)
                  .Int("IFrameInterval", INT32_MAX)
                  .Int("RPFrameInterval", INT32_MAX)
                  .Bool("AdvancedProfile", advanced));
  }
};

void Encode(benchmark::State& state, int video, int percent, bool advanced) {
  std::vector<Image> images;
  for (const Bytes& pixels : PicturesOf(percent))
    images.push_back(Picture(pixels));
  const std::span<const Image> following = std::span(images).subspan(1);
  const QualityEncoder encoder(video, advanced);
  (void)encoder.Process(images[0].get(), true);
  state.counters["bytes"] = EncodeAgain(state, encoder, following);
  const Bytes frame = encoder.Process(following[0].get());
  std::int32_t blocks;
  std::memcpy(&blocks, &frame[84], sizeof blocks);
  state.counters["blocks"] = blocks;
}

// Adds up all bytes of the picture in vector registers.
void ReadPass(benchmark::State& state, int percent) {
  const Pictures& images = PicturesOf(percent);
  std::size_t next = 0;
  for (auto _ : state) {
    const Bytes& pixels = images[1 + next++ % (images.size() - 1)];
    std::array<std::uint64_t, 8> sums{};
    for (std::size_t i = 0; i + 64 <= pixels.size(); i += 64)
      for (std::size_t j = 0; j < sums.size(); ++j) {
        std::uint64_t word;
        std::memcpy(&word, &pixels[i + 8 * j], sizeof word);
        sums[j] += word;
      }
    benchmark::DoNotOptimize(sums);
  }
}

void Thumbnail(benchmark::State& state) {
  const Pictures& images = PicturesOf(30);
  Bytes means(std::size_t{width} / 8 * (height / 8));
  std::size_t next = 0;
  for (auto _ : state) {
    const Bytes& pixels = images[1 + next++ % 2];
    for (std::size_t y = 0; y < height / 8; ++y)
      ztlib::KernelsFor<ztlib::BlockKernels>().meanLuma(
          &means[y * (width / 8)], &pixels[y * 16 * width], std::size_t{width} * 2, width / 8, 8);
    benchmark::DoNotOptimize(means.data());
    benchmark::ClobberMemory();
  }
}

void Decode(benchmark::State& state, int video, int percent, bool advanced, int format) {
  const QualityEncoder encoder(video, advanced);
  std::vector<Bytes> coded;
  for (const Bytes& pixels : PicturesOf(percent))
    coded.push_back(encoder.Process(Picture(pixels).get(), coded.empty()));
  Decoder decoder(format, 1, video);
  decoder.Process(NewImage().get(), coded[0]);
  DecodeAgain(state, decoder, std::span(coded).subspan(1));
}

// Copies into two frames in turn, as the decoder copies its base into a client frame.
void CopyPass(benchmark::State& state, std::size_t size) {
  const Bytes source(size, 1);
  Bytes targets[] = {Bytes(size), Bytes(size)};
  std::size_t next = 0;
  for (auto _ : state) {
    std::memcpy(targets[next % 2].data(), source.data(), size);
    benchmark::DoNotOptimize(targets[next++ % 2].data());
    benchmark::ClobberMemory();
  }
}

void EncodePeer(benchmark::State& state, AVCodecID id, int percent) {
  FfmpegPeer peer(avcodec_find_encoder(id), width, height);
  std::vector<AVFrame*> frames;
  for (const Bytes& pixels : PicturesOf(percent))
    frames.push_back(peer.Planes(pixels));
  std::int64_t next = 0;
  const auto encode = [&] {
    AVFrame* frame = frames[next == 0 ? 0 : 1 + next % (frames.size() - 1)];
    frame->pts = next++;
    const int bytes = peer.Encode(frame);
    state.counters["bytes"] = bytes;
    return bytes > 0;
  };
  bool good = encode();
  for (auto _ : state)
    good = encode() && good;
  if (!good) state.SkipWithError("not encoded");
  for (AVFrame*& frame : frames)
    av_frame_free(&frame);
}

// Decodes what follows the first picture, which it refers to, again and again.
void DecodePeer(benchmark::State& state, AVCodecID id, int percent) {
  FfmpegPeer encoder(avcodec_find_encoder(id), width, height);
  FfmpegPeer decoder(avcodec_find_decoder(id), width, height);
  std::vector<Bytes> packets;
  for (const Bytes& pixels : PicturesOf(percent)) {
    AVFrame* frame = encoder.Planes(pixels);
    frame->pts = static_cast<std::int64_t>(packets.size());
    avcodec_send_frame(encoder.context, frame);
    avcodec_receive_packet(encoder.context, encoder.packet);
    packets.emplace_back(encoder.packet->data, encoder.packet->data + encoder.packet->size);
    av_packet_unref(encoder.packet);
    av_frame_free(&frame);
  }
  AVFrame* decoded = av_frame_alloc();
  const auto decode = [&](Bytes& bytes) {
    const std::size_t size = bytes.size();
    bytes.resize(size + AV_INPUT_BUFFER_PADDING_SIZE);
    decoder.packet->data = bytes.data();
    decoder.packet->size = static_cast<int>(size);
    const bool sent = avcodec_send_packet(decoder.context, decoder.packet) == 0;
    const int received = avcodec_receive_frame(decoder.context, decoded);
    bytes.resize(size);
    return sent && (received == 0 || received == AVERROR(EAGAIN));
  };
  bool good = decode(packets[0]);
  std::size_t next = 0;
  for (auto _ : state)
    good = decode(packets[1 + next++ % (packets.size() - 1)]) && good;
  if (!good) state.SkipWithError("not decoded");
  av_frame_free(&decoded);
}

const bool registered = [] {
  const auto add = [](const std::string& name, auto function, auto... arguments) {
    benchmark::RegisterBenchmark(name.c_str(), function, arguments...)
        ->Unit(benchmark::kMillisecond);
  };
  add("thumbnail/1080p/ztlib", Thumbnail);
  add("thumbnail/1080p/read_pass", ReadPass, 30);
  std::vector<std::pair<int, std::string>> variants;
  for (int percent : {0, 1, 5, 30})
    variants.emplace_back(percent, "/1080p_" + std::to_string(percent) + "_percent/");
  if (TheClip()) variants.emplace_back(filmed, "/1080p_" + TheClip()->name + "/");
  for (const auto& [share, variant] : variants) {
    const int percent = share;
    add("encode_diff" + variant + "ztlib", Encode, ZTLIB_VIDEO_MJPEGDIFF, percent, false);
    add("encode_diff" + variant + "plain_mjpeg", Encode, ZTLIB_VIDEO_MJPEG, percent, false);
    add("encode_diff" + variant + "ffmpeg_mjpeg", EncodePeer, AV_CODEC_ID_MJPEG, percent);
    add("encode_diff" + variant + "ffmpeg_mpeg4", EncodePeer, AV_CODEC_ID_MPEG4, percent);
    add("encode_diff" + variant + "read_pass", ReadPass, percent);
    add("encode_diff_advanced" + variant + "ztlib", Encode, ZTLIB_VIDEO_MJPEGDIFF, percent, true);
    add("encode_diff_advanced" + variant + "plain_mjpeg", Encode, ZTLIB_VIDEO_MJPEG, percent, true);
    for (const auto& [name, format, bytes] :
         {std::tuple("decode_diff_uyvy", ZTLIB_UYVY, 2), {"decode_diff_rgb", ZTLIB_RGB, 4}}) {
      add(name + variant + "ztlib", Decode, ZTLIB_VIDEO_MJPEGDIFF, percent, false,
          static_cast<int>(format));
      add(name + variant + "plain_mjpeg", Decode, ZTLIB_VIDEO_MJPEG, percent, false,
          static_cast<int>(format));
      add(name + variant + "ffmpeg_mjpeg", DecodePeer, AV_CODEC_ID_MJPEG, percent);
      add(name + variant + "ffmpeg_mpeg4", DecodePeer, AV_CODEC_ID_MPEG4, percent);
      if (percent <= 5)
        add(name + variant + "memcpy", CopyPass, std::size_t{width} * height * bytes);
    }
    for (const auto& [name, video] :
         {std::pair("ztlib", ZTLIB_VIDEO_MJPEGDIFF), {"plain_mjpeg", ZTLIB_VIDEO_MJPEG}})
      add("decode_diff_advanced" + variant + name, Decode, static_cast<int>(video), percent, true,
          static_cast<int>(ZTLIB_UYVY));
  }
  return true;
}();

}  // namespace
