#pragma once

#include "client/frame_header.h"
#include "client/output_file.h"

#include <cstdint>
#include <fstream>
#include <optional>
#include <span>
#include <string>
#include <vector>

// A .zts file is coded frames back to back, each as long as the `totalSize` in its header says.

// Writes one. Failures throw CError.
class CFrameFileWriter {
 public:
  CFrameFileWriter(COutputs& outputs, const std::string& path,
                   EUnfinished unfinished = EUnfinished::dropped)
      : file(outputs.Open(path, unfinished)) {}

  void Write(std::span<const std::uint8_t> frame) {
    file->Write(frame);
    bytes += frame.size();
  }
  void Close() { file->Close(); }
  [[nodiscard]] std::uint64_t Bytes() const { return bytes; }

 private:
  std::shared_ptr<COutputFile> file;
  std::uint64_t bytes = 0;
};

struct CCodedFrame {
  std::int64_t index = 0;    // counted from 0
  std::uint64_t offset = 0;  // in the file
  std::span<std::uint8_t> bytes;
};

struct CDamage {
  std::uint64_t offset = 0;
  std::string text;
};

// Walks through one as far as its sizes lead. Failures to read throw CError.
class CFrameFileReader {
 public:
  // `minSize` is that of the shortest frame; layers are shorter than whole frames.
  explicit CFrameFileReader(const std::string& path, std::uint32_t minSize = minFrameSize);

  // The next frame, its bytes valid until the next call; nothing at the end of the file and where
  // the file cannot be followed any further, which is then told by Damage().
  [[nodiscard]] std::optional<CCodedFrame> Next();
  [[nodiscard]] const std::optional<CDamage>& Damage() const { return damage; }

  [[nodiscard]] std::uint64_t FileSize() const { return fileSize; }
  [[nodiscard]] std::uint64_t Position() const { return position; }

 private:
  void Read(std::uint64_t offset, std::span<std::uint8_t> target);
  // Whether the bytes at the offset can be a frame's header. The end of the file is as good.
  [[nodiscard]] bool IsFrameAt(std::uint64_t offset);

  std::string path;
  std::uint32_t minSize;
  std::ifstream file;
  std::uint64_t fileSize = 0;
  std::uint64_t position = 0;
  std::int64_t index = 0;
  std::vector<std::uint8_t> buffer;
  std::optional<CDamage> damage;
};
