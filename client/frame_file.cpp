#include "client/frame_file.h"

#include "client/platform.h"
#include "client/text.h"
#include "ztlib.h"

#include <array>
#include <cerrno>
#include <cinttypes>
#include <cstring>
#include <filesystem>

CFrameFileReader::CFrameFileReader(const std::string& name, std::uint32_t shortest)
    : path(name), minSize(shortest) {
  std::error_code error;
  const std::uintmax_t size = std::filesystem::file_size(PathOf(path), error);
  if (!error) file.open(PathOf(path), std::ios::binary);
  if (error || !file)
    throw CError(path + ": cannot read: " + (error ? error.message() : std::strerror(errno)));
  fileSize = size;
}

void CFrameFileReader::Read(std::uint64_t offset, std::span<std::uint8_t> target) {
  file.seekg(static_cast<std::streamoff>(offset));
  if (!file.read(reinterpret_cast<char*>(target.data()),
                 static_cast<std::streamsize>(target.size())))
    throw CError(Text("%s: cannot read at offset %" PRIu64, path.c_str(), offset));
}

bool CFrameFileReader::IsFrameAt(std::uint64_t offset) {
  if (offset == fileSize) return true;
  std::array<std::uint8_t, minFrameSize> bytes{};
  if (fileSize - offset < minSize) return false;
  Read(offset, std::span(bytes).first(minSize));
  const ztlib_blob blob{bytes.data(), minSize};
  const CFrameStart start = ReadFrameStart(std::span(bytes).first<8>());
  return start.totalSize >= minSize && IsFrameKind(start.kind) &&
         IsVideoFormat(ztlib_getVideoFormat(&blob));
}

std::optional<CCodedFrame> CFrameFileReader::Next() {
  if (damage || position == fileSize) return std::nullopt;
  const std::uint64_t rest = fileSize - position;
  const auto stop = [&](const std::string& text) {
    damage = CDamage{position, Text("frame %" PRId64 ": ", index) + text};
    return std::nullopt;
  };
  if (rest < minSize) return stop(Text("cut, %" PRIu64 " bytes left where a header belongs", rest));
  std::array<std::uint8_t, 8> bytes{};
  Read(position, bytes);
  const CFrameStart start = ReadFrameStart(bytes);
  // A frame that looks wrong is passed over by its size as long as that leads to another one.
  if (!IsFrameAt(position) && (start.totalSize < minSize || start.totalSize > rest ||
                               !IsFrameAt(position + start.totalSize)))
    return stop("damaged, no frame header");
  if (start.totalSize > rest)
    return stop(Text("cut or damaged, %" PRIu32 " bytes announced and %" PRIu64 " left",
                     start.totalSize, rest));
  buffer.resize(start.totalSize);
  Read(position, buffer);
  const CCodedFrame frame{index++, position, buffer};
  position += start.totalSize;
  return frame;
}
