#pragma once

#include "client/frame.h"
#include "client/picture_encoder.h"
#include "client/picture_source.h"
#include "client/record_settings.h"
#include "client/scaler.h"
#include "client/statistics.h"

#include <cstdint>
#include <optional>
#include <span>

struct CSize {
  int width = 0, height = 0;
};

// Brings pictures of any size to a packed pixel format: each is scaled to the size `scaled`, of
// which the top left part is kept.
class CPacker {
 public:
  // ZTLIB_YUV, or ZTLIB_UYVY in an even width.
  CPacker(ztlib_pixel_format targetFormat, CSize targetSize, CSize scaledSize)
      : pixelFormat(targetFormat), size(targetSize), scaled(scaledSize) {}

  [[nodiscard]] ztlib::Image Pack(const AVFrame& picture);

 private:
  ztlib_pixel_format pixelFormat;
  CSize size, scaled;
  CScaler scaler;
};

// The smallest parts of a picture in a video format; 1 by 1 if any size will do.
[[nodiscard]] CSize StepsOf(ztlib_video_format videoFormat);

// Codes pictures of any size.
class CCoder {
 public:
  CCoder(const ztlib::EncoderSettings& encoderSettings, CSize scaledSize);

  void Code(const AVFrame& picture);

  // Of the last picture.
  [[nodiscard]] const AVFrame& Input() const { return FrameOf(*input); }
  [[nodiscard]] std::span<std::uint8_t> Coded() const { return coded; }

  [[nodiscard]] const ztlib::EncoderSettings& Settings() const { return settings; }
  [[nodiscard]] CSize Scaled() const { return scaled; }

  // Of both stages together.
  [[nodiscard]] double FramesPerSecond() const {
    const double seconds = convert.SecondsPerRun() + encode.SecondsPerRun();
    return seconds > 0 ? 1 / seconds : 0;
  }

  CStage convert{"convert"}, encode{"encode"};

 private:
  ztlib::EncoderSettings settings;
  CSize scaled;
  CPacker packer;
  std::unique_ptr<IPictureEncoder> encoder;
  std::optional<ztlib::Image> input;
  std::span<std::uint8_t> coded;
};

// Takes pictures from a source and codes them, one at a time.
class CRecorder {
 public:
  CRecorder(IPictureSource& pictureSource, const CRecordSettings& recordSettings)
      : source(pictureSource), settings(recordSettings) {}

  // Codes the next picture; false at the end, and when the user wants it to end.
  bool Step();

  // Throws CError if there was no picture to be coded.
  void CheckNotEmpty() const;

  // Of the last step.
  [[nodiscard]] const AVFrame& Source() const { return *picture; }
  [[nodiscard]] const CCoder& Coder() const { return *coder; }

  [[nodiscard]] std::int64_t Frames() const { return frames; }
  // The number of frames there will be as far as the source knows, 0 if it does not.
  [[nodiscard]] std::int64_t Expected() const;
  // How much of the work is done, negative if that is not known.
  [[nodiscard]] double Share() const;

  CStage decodeInput{"decode input"};

 private:
  // Settles the size of the coded pictures.
  void Open();

  IPictureSource& source;
  CRecordSettings settings;
  FramePtr picture = NewFrame();
  std::optional<CCoder> coder;
  std::int64_t frames = 0, skipped = 0;
};
