#include "client/frame_file.h"

#include "client/interrupt.h"
#include "client/platform.h"
#include "client/text.h"
#include "ztlib.h"

#include <algorithm>
#include <cinttypes>
#include <filesystem>

CFrameFileReader::CFrameFileReader(const std::string& name, std::uint32_t shortest)
    : path(name), minSize(shortest), file(name) {
  std::error_code error;
  if (FileKindOf(PathOf(path)) != EFileKind::regular || path == standardName) return;
  const std::uintmax_t size = std::filesystem::file_size(PathOf(path), error);
  if (!error) fileSize = size;
}

std::span<std::uint8_t> CFrameFileReader::Ahead(std::uint64_t size) {
  // A size from a damaged header may be any; the room grows with what is really there.
  constexpr std::size_t largestStep = 1 << 20;
  while (buffer.size() < size) {
    const std::size_t before = buffer.size();
    const std::size_t step =
        static_cast<std::size_t>(std::min<std::uint64_t>(largestStep, size - before));
    buffer.resize(before + step);
    const std::size_t got = file.Read(std::span(buffer).subspan(before));
    buffer.resize(before + got);
    if (got < step) break;
  }
  return std::span(buffer).first(
      static_cast<std::size_t>(std::min<std::uint64_t>(size, buffer.size())));
}

std::uint64_t CFrameFileReader::Rest(std::uint64_t size) {
  return fileSize ? *fileSize - position : Ahead(size).size();
}

bool CFrameFileReader::IsFrameAt(std::uint64_t offset) {
  std::span<std::uint8_t> bytes = Ahead(offset + minSize);
  if (bytes.size() == offset) return true;
  if (bytes.size() < offset + minSize) return false;
  bytes = bytes.subspan(static_cast<std::size_t>(offset));
  const ztlib_blob blob{bytes.data(), minSize};
  const CFrameStart start = ReadFrameStart(bytes.first<8>());
  return start.totalSize >= minSize && IsFrameOrigin(start.origin) &&
         IsVideoFormat(ztlib_getVideoFormat(&blob));
}

std::optional<CCodedFrame> CFrameFileReader::Next() {
  if (damage) return std::nullopt;
  buffer.erase(buffer.begin(), buffer.begin() + static_cast<std::ptrdiff_t>(passed));
  passed = 0;
  const std::span<std::uint8_t> header = Ahead(minSize);
  if (header.empty() || (header.size() < minSize && Interrupted())) return std::nullopt;
  const auto stop = [&](const std::string& text) {
    damage = CDamage{position, Text("frame %" PRId64 ": ", index) + text};
    return std::nullopt;
  };
  if (header.size() < minSize)
    return stop(Text("cut, %zu bytes left where a header belongs", header.size()));
  const CFrameStart start = ReadFrameStart(header.first<8>());
  // A frame that looks wrong is passed over by its size as long as that leads to another one. No
  // such frame is worth the memory of several recordings.
  constexpr std::uint32_t mostPassedOver = 1 << 28;
  if (!IsFrameAt(0) && (start.totalSize < minSize || start.totalSize > mostPassedOver ||
                        start.totalSize > Rest(start.totalSize) || !IsFrameAt(start.totalSize)))
    return stop("damaged, no frame header");
  const std::uint64_t rest = Rest(start.totalSize);
  if (start.totalSize > rest) {
    if (!fileSize && Interrupted()) return std::nullopt;
    return stop(Text("cut or damaged, %" PRIu32 " bytes announced and %" PRIu64 " left",
                     start.totalSize, rest));
  }
  const CCodedFrame frame{index++, position, Ahead(start.totalSize)};
  if (frame.bytes.size() < start.totalSize)
    throw CError(Text("%s: cannot read at offset %" PRIu64, path.c_str(), position));
  position += start.totalSize;
  passed = start.totalSize;
  return frame;
}
