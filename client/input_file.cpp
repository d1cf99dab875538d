#include "client/input_file.h"

#include "client/interrupt.h"
#include "client/platform.h"

#include <cerrno>
#include <cstring>

CInputFile::CInputFile(const std::string& name) : path(name) {
  // A pipe that nobody writes to is waited for.
  const CInterruptibleWait wait;
  errno = 0;
  if (FileKindOf(PathOf(path)) == EFileKind::folder)
    errno = EISDIR;
  else
    file.reset(path == standardName ? BinaryInput() : OpenForReading(PathOf(path)));
  if (file) return;
  if (errno == EINTR) ThrowIfInterrupted();
  throw CError(path + ": cannot read: " + std::strerror(errno));
}

std::size_t CInputFile::Read(std::span<std::uint8_t> target) {
  const CInterruptibleWait wait;
  const std::size_t size = std::fread(target.data(), 1, target.size(), file.get());
  if (std::ferror(file.get()) && !Interrupted())
    throw CError(path + ": cannot read: " + std::strerror(errno));
  return size;
}
