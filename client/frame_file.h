#pragma once

#include "client/frame_header.h"
#include "client/input_file.h"
#include "client/output_file.h"

#include <cstdint>
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

  // As far as it is known: of a pipe, what was read of it.
  [[nodiscard]] std::uint64_t FileSize() const {
    return fileSize.value_or(position - passed + buffer.size());
  }
  [[nodiscard]] std::uint64_t Position() const { return position; }
  // How much of it is behind, 0 to 1; negative if the whole is not known.
  [[nodiscard]] double Share() const {
    return fileSize ? double(position) / double(*fileSize) : -1;
  }

 private:
  // What lies ahead of the last frame, in `buffer`; fewer bytes where the file ends.
  [[nodiscard]] std::span<std::uint8_t> Ahead(std::uint64_t size);
  // How many bytes lie ahead; of a pipe, at most `size`.
  [[nodiscard]] std::uint64_t Rest(std::uint64_t size);
  // Whether the bytes so far ahead can be a frame's header. The end of the file is as good.
  [[nodiscard]] bool IsFrameAt(std::uint64_t offset);

  std::string path;
  std::uint32_t minSize;
  CInputFile file;
  std::optional<std::uint64_t> fileSize;  // of a regular file
  std::uint64_t position = 0;             // behind the last frame
  std::int64_t index = 0;
  std::vector<std::uint8_t> buffer;  // of the last frame and what was read behind it
  std::size_t passed = 0;            // of that, the last frame
  std::optional<CDamage> damage;
};
