#pragma once

#include "client/frame_file.h"
#include "client/statistics.h"

#include <cstdint>
#include <optional>
#include <string>

// Plays a .zts file. Frames that cannot be decoded are left out, and standard error tells of them;
// it names each up to a number that a reader still reads.
class CFramePlayer {
 public:
  CFramePlayer(const std::string& file, const ztlib::DecoderSettings& decoderSettings)
      : path(file), reader(file), settings(decoderSettings), decoder(decoderSettings) {}

  // The next frame as it is coded; nothing at the end, and when the user wants it to end.
  [[nodiscard]] std::optional<CCodedFrame> Next();
  // How much of the file is behind, 0 to 1; negative if that is not known.
  [[nodiscard]] double Share() const { return reader.Share(); }

  // Passes over a frame that nobody wants to see. Later ones may build on it.
  void Skip(const CCodedFrame& frame, const CFrameHeader& header);
  // The picture of a frame, valid until the next call; null for one that is left out.
  [[nodiscard]] const AVFrame* Decode(const CCodedFrame& frame, const CFrameHeader& header);

  // Tells what else was left out. Throws CError if the file holds no frame.
  void Close() const;

  [[nodiscard]] std::int64_t Frames() const { return frames; }
  [[nodiscard]] std::int64_t Pictures() const { return pictures; }
  [[nodiscard]] std::int64_t DamagedFrames() const { return damaged; }
  // For want of a key frame before.
  [[nodiscard]] std::int64_t BaselessFrames() const { return baseless; }
  // Whether a frame could not be decoded, or the file not be followed to its end.
  [[nodiscard]] bool IsDamaged() const { return reader.Damage() || damaged > 0; }
  [[nodiscard]] double DecodedPerSecond() const { return decode.RunsPerSecond(); }

 private:
  void DecodeSkipped();
  void ForgetSkipped();
  void Complain(const std::string& text) const;
  [[nodiscard]] std::string ReasonFor(const CCodedFrame& frame, const ztlib::Error& error) const;

  std::string path;
  CFrameFileReader reader;
  ztlib::DecoderSettings settings;
  ztlib::Decoder decoder;
  CStage decode{"decode"};
  // Not decoded as long as the frame that is wanted may stand alone.
  std::vector<ztlib::Bytes> skipped;
  std::size_t skippedBytes = 0;
  std::int64_t frames = 0, pictures = 0, damaged = 0, baseless = 0;
};
