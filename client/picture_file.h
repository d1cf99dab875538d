#pragma once

#include "client/av.h"
#include "client/scaler.h"

#include <cstdint>
#include <span>

// Codes single pictures as image files.
class CPictureCoder {
 public:
  enum class EKind { png, jpeg };

  explicit CPictureCoder(EKind fileKind) : kind(fileKind) {}

  // The file image, valid until the next call.
  [[nodiscard]] std::span<const std::uint8_t> Code(const AVFrame& picture);

 private:
  void Open(AVPixelFormat format, int width, int height);

  EKind kind;
  CScaler scaler;
  CodecPtr codec;
  PacketPtr packet = NewPacket();
  std::int64_t pictures = 0;  // the encoders want rising times
};
