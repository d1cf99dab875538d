#include "bench/clip.h"

#include "client/media_input.h"
#include "client/scaler.h"

#include <cstddef>
#include <cstdlib>
#include <filesystem>
#include <optional>

namespace {

constexpr int width = 1920;
constexpr int height = 1080;
constexpr std::size_t length = 16;

std::optional<CClip> ReadClip() {
  const char* const path = std::getenv("ZTLIB_BENCH_CLIP");
  if (!path || !*path) return std::nullopt;
  CClip clip{.name = std::filesystem::path(path).stem().string()};
  CMediaInput input(path);
  CScaler scaler;
  const FramePtr picture = NewFrame();
  while (clip.pictures.size() < length && input.Next(*picture)) {
    const AVFrame& scaled = scaler.Convert(*picture, AV_PIX_FMT_UYVY422, width, height);
    kit::Bytes& bytes = clip.pictures.emplace_back();
    for (int y = 0; y < height; ++y) {
      const std::uint8_t* const row = scaled.data[0] + std::ptrdiff_t{y} * scaled.linesize[0];
      bytes.insert(bytes.end(), row, row + std::ptrdiff_t{2} * width);
    }
  }
  if (clip.pictures.size() < 3) throw CError(clip.name + ": has fewer than three pictures");
  return clip;
}

}  // namespace

const CClip* TheClip() {
  static const std::optional<CClip> clip = ReadClip();
  return clip ? &*clip : nullptr;
}
