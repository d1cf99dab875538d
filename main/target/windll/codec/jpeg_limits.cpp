#include "main/target/windll/codec/jpeg_limits.h"

#include <algorithm>
#include <limits>

#include <jerror.h>

namespace ztlib {

namespace {

std::uint64_t BlocksOf(const jpeg_component_info& component) {
  return std::uint64_t{component.width_in_blocks} * component.height_in_blocks;
}

}  // namespace

JpegLimits::JpegLimits() {
  monitor.progress_monitor = [](j_common_ptr object) {
    static_cast<Monitor*>(object->progress)->CheckScan(*reinterpret_cast<j_decompress_ptr>(object));
  };
}

void JpegLimits::Attach(jpeg_decompress_struct& object) {
  object.progress = &monitor;
  clientMemoryLimit = object.mem->max_memory_to_use;
}

void JpegLimits::Start(jpeg_decompress_struct& object, std::uint32_t width, std::uint32_t height,
                       std::size_t streamSize) {
  std::uint64_t blocks = 0;
  for (int i = 0; i < object.num_components; ++i)
    blocks += BlocksOf(object.comp_info[i]);
  if (jpeg_has_multiple_scans(&object) && blocks / maxBlocksPerByte > streamSize)
    RaiseJpegError(object, JERR_IMAGE_TOO_BIG);

  // The largest picture that gives the target at the scale in force.
  const auto fullSize = [&object](std::uint32_t scaled) {
    constexpr std::uint64_t most = JPEG_MAX_DIMENSION;
    return std::min(most, (std::uint64_t{scaled} + 1) * object.scale_denom);
  };
  const auto inBlocks = [](std::uint64_t samples) { return (samples + DCTSIZE - 1) / DCTSIZE; };
  monitor.scan = 0;
  monitor.visits = 0;
  monitor.maxVisits =
      freeVisits + maxVisitsPerBlock * inBlocks(fullSize(width)) * inBlocks(fullSize(height));

  constexpr std::uint64_t slack = 1 << 20;
  constexpr std::uint64_t bytesPerPixel = 12;  // four full components take 8
  constexpr std::uint64_t unit = 32;           // the widest that sizes are filled up to
  const std::uint64_t justified =
      slack + bytesPerPixel * (fullSize(width) + unit) * (fullSize(height) + unit);
  // The client's own limit, from the environment, is 0 where there is none.
  const std::uint64_t most = clientMemoryLimit > 0 ? static_cast<std::uint64_t>(clientMemoryLimit)
                                                   : std::numeric_limits<MemoryLimit>::max();
  object.mem->max_memory_to_use = static_cast<MemoryLimit>(std::min(most, justified));
}

// Called while scans are read, several times each.
void JpegLimits::Monitor::CheckScan(jpeg_decompress_struct& object) {
  if (object.input_scan_number == scan) return;
  scan = object.input_scan_number;
  for (int i = 0; i < object.comps_in_scan; ++i)
    visits += BlocksOf(*object.cur_comp_info[i]);
  if (jpeg_has_multiple_scans(&object) && (scan > maxScans || visits > maxVisits))
    RaiseJpegError(object, JERR_BAD_PROGRESSION);
}

}  // namespace ztlib
