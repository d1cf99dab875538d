#pragma once

#include "main/target/windll/codec/jpeg_io.h"
#include "main/target/windll/codec/unit_kernels.h"

#include <array>

namespace ztlib {

// Codes the scan of a baseline picture whose chroma is halved both ways, with the bytes of libjpeg.
class UnitCoder {
 public:
  // The quantisers of `object`, whose codes are those that libjpeg sets by default.
  void SetTables(const jpeg_compress_struct& object);

  void Begin(std::span<std::uint8_t> room);
  // A row of units for `blocksAcross` blocks of luma. False if there is no more room.
  [[nodiscard]] bool CodeRow(UnitKernels::Planes planes, std::size_t blocksAcross, bool hasLower);
  // Fills the last byte up.
  [[nodiscard]] bool Finish();
  [[nodiscard]] std::span<std::uint8_t> Room() const { return room; }

 private:
  static constexpr std::size_t batchUnits = 16;

  // Moves the whole bytes of the batch into the room.
  bool Empty();

  UnitTables luma{};
  UnitTables chroma{};
  UnitKernels::Stream stream{};
  std::span<std::uint8_t> room;
  std::array<std::uint8_t, batchUnits * UnitKernels::maxUnitBytes> batch;
};

}  // namespace ztlib
