#include "main/target/windll/codec/scan_source.h"

#include <algorithm>
#include <cstring>

namespace ztlib {

namespace {

constexpr std::uint8_t markerByte = 0xff;
constexpr std::size_t capacity = 4 * ScanSource::maxBatchBytes;
// Kernels read some bytes ahead.
constexpr std::size_t slack = 64;

}  // namespace

bool ScanSource::HasEnd(std::span<const std::uint8_t> scan) {
  // Some cameras fill their frames up.
  constexpr std::size_t maxFilling = 4096;
  const std::size_t most = std::min(scan.size(), maxFilling);
  for (std::size_t i = 2; i <= most; ++i)
    if (scan[scan.size() - i] == markerByte && scan[scan.size() - i + 1] == endOfImage) return true;
  return false;
}

void ScanSource::Start(std::span<const std::uint8_t> scan) {
  bytes = scan;
  read = 0;
  plain.resize(capacity + maxBatchBytes + slack);
  StartSegment();
}

void ScanSource::StartSegment() {
  filled = 0;
  marker = 0;
  place = {plain.data(), 0, 0};
}

ScanBits& ScanSource::Batch() {
  const auto at = static_cast<std::size_t>(place.next - plain.data());
  if (marker == 0 && at + maxBatchBytes > filled) {
    // Some bytes in front of the place are still among its bits.
    const std::size_t taken = at - std::min<std::size_t>(at, place.count / 8);
    const std::size_t kept = filled - taken;
    std::memmove(plain.data(), plain.data() + taken, kept);
    filled = kept;
    place.next -= taken;
    Fill();
  }
  return place;
}

void ScanSource::Fill() {
  while (filled < capacity) {
    const auto* const begin = bytes.data() + read;
    const std::size_t most = std::min(capacity - filled, bytes.size() - read);
    if (most == 0) throw IrregularScan();
    const auto* const found =
        static_cast<const std::uint8_t*>(std::memchr(begin, markerByte, most));
    const std::size_t count = found ? static_cast<std::size_t>(found - begin) : most;
    std::memcpy(plain.data() + filled, begin, count);
    filled += count;
    read += count;
    if (!found) continue;
    ++read;
    bool isFilledUp = false;
    for (; read < bytes.size() && bytes[read] == markerByte; ++read)
      isFilledUp = true;
    if (read == bytes.size()) throw IrregularScan();
    const std::uint8_t code = bytes[read++];
    if (code != 0) {
      marker = code;
      return;
    }
    if (isFilledUp) throw IrregularScan();
    plain[filled++] = markerByte;
  }
}

bool ScanSource::IsOverrun() const {
  const auto at = static_cast<std::size_t>(place.next - plain.data());
  return 8 * at > 8 * filled + place.count;
}

void ScanSource::EndSegment(unsigned expected) {
  const auto at = static_cast<std::size_t>(place.next - plain.data());
  const std::size_t bitsRead = 8 * at - place.count;
  if (marker != expected || bitsRead > 8 * filled || 8 * filled - bitsRead >= 8)
    throw IrregularScan();
  StartSegment();
}

}  // namespace ztlib
