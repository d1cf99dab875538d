#pragma once

#include "client/library.h"
#include "client/picture_source.h"
#include "client/scaler.h"
#include "client/statistics.h"

#include <cstdint>
#include <optional>
#include <span>

struct CRecordSettings {
  int videoFormat = ZTLIB_VIDEO_MJPEG;
  int quality = 75;
  int width = 0, height = 0;  // 0: as the first picture
  std::int64_t frames = 0;    // 0: all
};

// Takes pictures from a source and codes them, one at a time.
class CRecorder {
 public:
  CRecorder(IPictureSource& pictureSource, const CRecordSettings& recordSettings)
      : source(pictureSource), settings(recordSettings) {}

  // Codes the next picture; false at the end.
  bool Step();

  // Of the last step.
  [[nodiscard]] const AVFrame& Source() const { return *picture; }
  [[nodiscard]] const AVFrame& EncoderInput() const { return FrameOf(input); }
  [[nodiscard]] std::span<std::uint8_t> Coded() const { return coded; }

  [[nodiscard]] std::int64_t Frames() const { return frames; }
  // The number of frames there will be as far as the source knows, 0 if it does not.
  [[nodiscard]] std::int64_t Expected() const;
  // How much of the work is done, negative if that is not known.
  [[nodiscard]] double Share() const;
  [[nodiscard]] int Width() const { return settings.width; }
  [[nodiscard]] int Height() const { return settings.height; }

  CStage decodeInput{"decode input"}, convert{"convert"}, encode{"encode"};

 private:
  [[nodiscard]] ImagePtr Convert();

  IPictureSource& source;
  CRecordSettings settings;
  FramePtr picture = NewFrame();
  CScaler scaler;
  ImagePtr input;
  std::optional<CEncoder> encoder;
  std::span<std::uint8_t> coded;
  std::int64_t frames = 0;
};
