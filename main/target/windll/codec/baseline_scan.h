#pragma once

#include "main/target/windll/codec/idct_kernels.h"
#include "main/target/windll/codec/jpeg_planes.h"
#include "main/target/windll/codec/scan_kernels.h"
#include "main/target/windll/codec/scan_source.h"
#include "main/target/windll/codec/scan_tables.h"

#include <array>
#include <cstdint>
#include <vector>

namespace ztlib {

// Blocks with nothing but a first coefficient, with low frequencies, and with any.
enum BlockClass : std::uint8_t { flat, smooth, detailed, classCount };

// Decodes the only scan of a sound baseline picture to what libjpeg-turbo makes of it, in a fraction
// of its time. What is irregular in any way it leaves to libjpeg, by IrregularScan: there is no
// warning and no repair here. One picture after the other; memory stays from picture to picture.
class BaselineScan final : public JpegGroupSource {
 public:
  // For an object behind its header, with calculated output dimensions, of which nothing changes.
  // False if it is no picture for this class.
  [[nodiscard]] bool Start(const jpeg_decompress_struct& object, bool lumaOnly);

  void ReadGroup(const Groups& groups) override;
  // Behind the last group. Returns how many bytes the scan has, with the end marker behind it.
  [[nodiscard]] std::size_t Finish();

 private:
  static constexpr std::uint32_t batchBlocks = 96;

  struct Component {
    std::uint32_t across;  // blocks of a unit
    std::uint32_t down;
    std::uint32_t side;        // samples of a block
    std::uint32_t firstBlock;  // within a unit
    int table;
    bool isWanted;
    std::int32_t predicted;
    // As the coefficients lie.
    alignas(32) std::array<std::int16_t, blockCoefficients> quantisers;
  };
  [[nodiscard]] bool TakeComponents(const jpeg_decompress_struct& object, bool lumaOnly);
  [[nodiscard]] bool MakeTables(const jpeg_decompress_struct& object);
  void MakeSteps();
  void Restart();
  void ReadBatch(std::uint32_t units);
  // Takes the samples of a batch from unit `firstUnit` of a group on.
  void Draw(Component& component, const Group& group, std::uint32_t firstUnit, std::uint32_t units);
  template <class Take>
  void ForBlocks(Component& component, const Group& group, std::uint32_t firstUnit,
                 std::uint32_t units, Take take);
  void SortBlocks(Component& component, const Group& group, std::uint32_t firstUnit,
                  std::uint32_t units);

  ScanSource source;
  std::array<Component, maxComponents> components{};
  int componentCount = 0;
  std::array<ScanTables, maxComponents> tables;
  ScanKernels::ReadBlocks readBlocks = nullptr;

  std::uint32_t unitsPerGroup = 0;
  std::uint32_t blocksPerUnit = 0;
  std::uint32_t unitsPerBatch = 0;
  std::uint64_t unitsLeft = 0;
  std::uint32_t restartInterval = 0;  // in units, 0 for none
  std::uint32_t unitsToRestart = 0;
  unsigned restarts = 0;

  std::vector<ScanKernels::Step> steps;
  std::vector<std::int16_t> coefficients;
  std::vector<std::uint8_t> lasts;
  std::array<std::array<IdctKernels::Block, batchBlocks>, classCount> sorted{};
  std::array<std::size_t, classCount> counts{};
};

}  // namespace ztlib
