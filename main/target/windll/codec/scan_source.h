#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace ztlib {

// Where a kernel stands in the bits of a scan. Of `bits` the upper `count` are still to be read;
// those below them are 0, or are what `next` begins with.
struct ScanBits {
  const std::uint8_t* next;
  std::uint64_t bits;
  unsigned count;
};

// A scan that is not what a sound picture has: libjpeg decodes that picture.
struct IrregularScan {};

// The bytes of a scan, one segment between markers at a time, without the zeros that are stuffed
// behind bytes of 255. Fails by IrregularScan.
class ScanSource {
 public:
  // A kernel may take this much without being asked for more. What lies behind the segment's end
  // are bytes of some other place.
  static constexpr std::size_t maxBatchBytes = 20 * 1024;

  static constexpr unsigned endOfImage = 0xd9;

  // Whether these bytes seem to have an end marker: those of most pictures that were cut have not.
  [[nodiscard]] static bool HasEnd(std::span<const std::uint8_t> scan);

  void Start(std::span<const std::uint8_t> scan);

  // Room for a batch. The kernel leaves its place in the bits.
  [[nodiscard]] ScanBits& Batch();
  // The last batch went beyond the end of the segment.
  [[nodiscard]] bool IsOverrun() const;

  // The segment ends here, in its last byte, and the marker follows it.
  void EndSegment(unsigned marker);
  // Bytes that have been read, with the last marker.
  [[nodiscard]] std::size_t BytesRead() const { return read; }

 private:
  void StartSegment();
  void Fill();

  std::span<const std::uint8_t> bytes;
  std::size_t read = 0;
  std::vector<std::uint8_t> plain;
  std::size_t filled = 0;  // of the plain bytes
  unsigned marker = 0;     // behind them, once it is found
  ScanBits place{};
};

}  // namespace ztlib
