#pragma once

#include "main/target/windll/codec/jpeg_io.h"

#include <cstddef>
#include <cstdint>

namespace ztlib {

// Keeps pictures in several scans, which libjpeg holds as a whole and passes over once a scan, in
// proportion to their stream and to the picture that is asked for. Pictures in one scan are read
// row by row and need no limit. A picture above a limit fails like any other bad stream.
class JpegLimits {
 public:
  // More scans than any encoder makes.
  static constexpr int maxScans = 500;
  // The first scan of a block takes a bit at least.
  static constexpr std::uint64_t maxBlocksPerByte = 8;
  // How often all scans together may visit a block of the picture that is asked for. A usual
  // picture with full chroma has 14 visits for each luma block, one with halved chroma 8.
  static constexpr std::uint64_t maxVisitsPerBlock = 64;
  // Tiny pictures may have as many scans as there are: they cost less than a call.
  static constexpr std::uint64_t freeVisits = 1 << 16;

  JpegLimits();
  JpegLimits(const JpegLimits&) = delete;
  JpegLimits& operator=(const JpegLimits&) = delete;

  // Right after the object's creation. The limits outlive the object.
  void Attach(jpeg_decompress_struct& object);

  // Between reading the header, with the scale set, and the start of decompression into a target
  // of `width` by `height` pixels. The stream has `streamSize` bytes.
  void Start(jpeg_decompress_struct& object, std::uint32_t width, std::uint32_t height,
             std::size_t streamSize);

 private:
  struct Monitor : jpeg_progress_mgr {
    int scan = 0;
    std::uint64_t visits = 0;
    std::uint64_t maxVisits = 0;

    void CheckScan(jpeg_decompress_struct& object);
  };
  using MemoryLimit = decltype(jpeg_memory_mgr::max_memory_to_use);

  Monitor monitor{};
  MemoryLimit clientMemoryLimit = 0;
};

}  // namespace ztlib
