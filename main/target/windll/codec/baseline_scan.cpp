#include "main/target/windll/codec/baseline_scan.h"

#include "main/target/windll/codec/jpeg_scaling.h"

#include <algorithm>
#include <cstring>

namespace ztlib {

namespace {

constexpr unsigned narrowIndexBits = 10;
constexpr unsigned firstRestart = 0xd0;
constexpr unsigned restartCount = 8;

// The first coefficient is eight times a block's mean, which has to stay within half of what
// samples can be clamped from.
constexpr std::int32_t maxFirst = 4088;
// What the place of a block's last coefficient tells of the block. Where the coefficient there may be
// 0, the block is of the class below if it is.
struct Shape {
  std::uint8_t which;
  std::uint8_t probe;
  std::uint8_t isLessWithoutProbe;
};
struct Shapes {
  Shape of[blockCoefficients];
};
// A quarter of low frequencies is what comes before place 10.
constexpr Shapes shapes = [] {
  Shapes made{};
  for (std::size_t last = 1; last < blockCoefficients; ++last)
    made.of[last].which = last < 10 ? smooth : detailed;
  for (const std::size_t last : {1, 10}) {
    made.of[last].probe = scanPlaces.of[last];
    made.of[last].isLessWithoutProbe = 1;
  }
  return made;
}();

// Ends a batch: what its look-up finds has no meaning.
const ScanTable& NoTable() {
  static const ScanTable table = [] {
    ScanTable made{};
    std::fill(std::begin(made.entries), std::end(made.entries), ScanTable::leftOut);
    return made;
  }();
  return table;
}

std::uint8_t FlatSample(std::int32_t first, std::int32_t quantiser) {
  return static_cast<std::uint8_t>(std::clamp(((first * quantiser + 4) >> 3) + 128, 0, 255));
}

// Fills squares of samples.
template <std::uint32_t side>
void FillBlocks(std::span<const IdctKernels::Block> blocks, std::size_t distance,
                std::int32_t quantiser) {
  for (const IdctKernels::Block& block : blocks) {
    const std::uint8_t sample = FlatSample(block.coefficients[0], quantiser);
    block.coefficients[0] = 0;
    std::uint8_t row[side];
    std::memset(row, sample, side);
    for (std::uint32_t y = 0; y < side; ++y)
      std::memcpy(block.target + y * distance, row, side);
  }
}

}  // namespace

bool BaselineScan::Start(const jpeg_decompress_struct& object, bool lumaOnly) {
  const bool isOneScan = !object.progressive_mode && !object.arith_code &&
                         object.comps_in_scan == object.num_components && object.Ss == 0 &&
                         object.Se == DCTSIZE2 - 1 && object.Ah == 0 && object.Al == 0;
  const std::span<const std::uint8_t> bytes(object.src->next_input_byte,
                                            object.src->bytes_in_buffer);
  if (!isOneScan || !ScanSource::HasEnd(bytes) || !TakeComponents(object, lumaOnly) ||
      !MakeTables(object))
    return false;
  const jpeg_component_info& luma = object.comp_info[0];
  const std::uint32_t rows = (luma.height_in_blocks + components[0].down - 1) / components[0].down;
  unitsPerGroup = (luma.width_in_blocks + components[0].across - 1) / components[0].across;
  unitsLeft = std::uint64_t{unitsPerGroup} * rows;
  restartInterval = object.restart_interval;
  unitsToRestart = restartInterval;
  restarts = 0;
  MakeSteps();
  source.Start(bytes);
  return true;
}

bool BaselineScan::TakeComponents(const jpeg_decompress_struct& object, bool lumaOnly) {
  componentCount = object.num_components;
  if (componentCount != 1 && componentCount != maxComponents) return false;
  blocksPerUnit = 0;
  for (int i = 0; i < componentCount; ++i) {
    const jpeg_component_info& from = object.comp_info[i];
    Component& to = components[i];
    const std::uint32_t side = ScaledWidth(from);
    const bool isScale = side == 1 || side == 2 || side == 4 || side == 8;
    if (object.cur_comp_info[i] != &from || !isScale || ScaledHeight(from) != side) return false;
    to.across = BlocksAcross(object, from);
    to.down = BlocksDown(object, from);
    to.side = side;
    to.firstBlock = blocksPerUnit;
    to.isWanted = i == 0 || !lumaOnly;
    to.predicted = 0;
    blocksPerUnit += to.across * to.down;
    const auto number = static_cast<unsigned>(from.quant_tbl_no);
    const JQUANT_TBL* const table =
        number < NUM_QUANT_TBLS ? object.quant_tbl_ptrs[number] : nullptr;
    if (!table) return false;
    for (std::size_t j = 0; j < blockCoefficients; ++j) {
      const unsigned quantiser = table->quantval[j];
      if (quantiser == 0 || quantiser > INT16_MAX) return false;
      to.quantisers[CoefficientIndex(j / DCTSIZE, j % DCTSIZE)] =
          static_cast<std::int16_t>(quantiser);
    }
  }
  return blocksPerUnit <= D_MAX_BLOCKS_IN_MCU;
}

// Components with the same codes share tables.
bool BaselineScan::MakeTables(const jpeg_decompress_struct& object) {
  bool isSkipping = false;
  const auto wantedOf = [this](int i) {
    return components[i].isWanted && components[i].side > 1 ? ScanTables::Wanted::all
                                                            : ScanTables::Wanted::firstOnly;
  };
  std::array<ScanTables::Quantisers, maxComponents> quantisers{};
  for (int i = 0; i < componentCount; ++i) {
    const jpeg_component_info& with = object.comp_info[i];
    isSkipping = isSkipping || wantedOf(i) == ScanTables::Wanted::firstOnly;
    int table = 0;
    for (; table < i; ++table) {
      const jpeg_component_info& other = object.comp_info[table];
      if (other.dc_tbl_no == with.dc_tbl_no && other.ac_tbl_no == with.ac_tbl_no &&
          wantedOf(table) == wantedOf(i))
        break;
    }
    components[i].table = table;
    for (std::size_t j = 0; j < blockCoefficients; ++j) {
      const auto own = static_cast<std::uint16_t>(components[i].quantisers[scanPlaces.of[j]]);
      quantisers[table][j] = std::max(quantisers[table][j], own);
    }
  }
  // Wide tables pay where they take many symbols at once; narrow ones stay in the first cache.
  const unsigned indexBits = isSkipping ? ScanTable::maxIndexBits : narrowIndexBits;
  for (int i = 0; i < componentCount; ++i) {
    if (components[i].table != i) continue;
    const auto first = static_cast<unsigned>(object.comp_info[i].dc_tbl_no);
    const auto others = static_cast<unsigned>(object.comp_info[i].ac_tbl_no);
    if (first >= NUM_HUFF_TBLS || others >= NUM_HUFF_TBLS) return false;
    const JHUFF_TBL* const firstTable = object.dc_huff_tbl_ptrs[first];
    const JHUFF_TBL* const othersTable = object.ac_huff_tbl_ptrs[others];
    if (!firstTable || !othersTable ||
        !tables[i].Make({.first = *firstTable,
                         .others = *othersTable,
                         .wanted = wantedOf(i),
                         .indexBits = indexBits},
                        quantisers[i]))
      return false;
  }
  const ScanKernels& kernels = KernelsFor<ScanKernels>();
  readBlocks = isSkipping ? kernels.readBlocks12 : kernels.readBlocks10;
  return true;
}

void BaselineScan::MakeSteps() {
  unitsPerBatch = batchBlocks / blocksPerUnit;
  steps.clear();
  for (std::uint32_t unit = 0; unit < unitsPerBatch; ++unit)
    for (int i = 0; i < componentCount; ++i) {
      const ScanTables& used = tables[components[i].table];
      steps.insert(steps.end(), components[i].across * components[i].down,
                   {&used.First(), &used.Others()});
    }
  steps.push_back({&NoTable(), &NoTable()});
  // Blocks whose later coefficients are skipped leave some behind.
  coefficients.assign(batchBlocks * blockCoefficients, 0);
  lasts.resize(batchBlocks + 1);
}

void BaselineScan::Restart() {
  source.EndSegment(firstRestart + restarts % restartCount);
  ++restarts;
  unitsToRestart = restartInterval;
  for (Component& component : components)
    component.predicted = 0;
}

void BaselineScan::ReadGroup(const Groups& groups) {
  if (unitsLeft == 0) throw IrregularScan();
  for (std::uint32_t unit = 0; unit < unitsPerGroup;) {
    if (restartInterval != 0 && unitsToRestart == 0) Restart();
    std::uint32_t units = std::min(unitsPerBatch, unitsPerGroup - unit);
    if (restartInterval != 0) units = std::min(units, unitsToRestart);
    ReadBatch(units);
    for (int i = 0; i < componentCount; ++i)
      if (components[i].isWanted) Draw(components[i], groups[i], unit, units);
    unitsToRestart -= units;
    unitsLeft -= units;
    unit += units;
  }
}

void BaselineScan::ReadBatch(std::uint32_t units) {
  const std::size_t count = std::size_t{units} * blocksPerUnit;
  // The last steps, so that the one that ends the batch follows.
  const ScanKernels::Step* const first = steps.data() + (steps.size() - 1 - count);
  const bool isSound = readBlocks(source.Batch(), first, count, coefficients.data(), lasts.data());
  if (!isSound || source.IsOverrun()) throw IrregularScan();
}

// Goes through the blocks of a component in a batch, whose first coefficients become whole, and
// calls `take` for each with its coefficients, the place of its last one and that of its samples.
template <class Take>
void BaselineScan::ForBlocks(Component& component, const Group& group, std::uint32_t firstUnit,
                             std::uint32_t units, Take take) {
  const std::size_t unitWidth = std::size_t{component.across} * component.side;
  std::uint8_t* target = group.samples + firstUnit * unitWidth;
  std::array<std::size_t, D_MAX_BLOCKS_IN_MCU> offsets{};
  const std::size_t count = std::size_t{component.across} * component.down;
  for (std::size_t i = 0; i < count; ++i)
    offsets[i] = (i / component.across * group.distance + i % component.across) * component.side;
  std::int16_t* values = &coefficients[component.firstBlock * blockCoefficients];
  const std::uint8_t* last = &lasts[component.firstBlock];
  std::int32_t predicted = component.predicted;
  std::int32_t least = 0;
  std::int32_t greatest = 0;
  for (std::uint32_t unit = 0; unit < units; ++unit) {
    for (std::size_t i = 0; i < count; ++i) {
      std::int16_t* const block = values + i * blockCoefficients;
      predicted += block[0];
      block[0] = static_cast<std::int16_t>(predicted);
      least = std::min(least, predicted);
      greatest = std::max(greatest, predicted);
      take(block, last[i], target + offsets[i]);
    }
    values += blocksPerUnit * blockCoefficients;
    last += blocksPerUnit;
    target += unitWidth;
  }
  component.predicted = predicted;
  const std::int64_t quantiser = component.quantisers[0];
  if (least * quantiser < -maxFirst || greatest * quantiser > maxFirst) throw IrregularScan();
}

void BaselineScan::SortBlocks(Component& component, const Group& group, std::uint32_t firstUnit,
                              std::uint32_t units) {
  std::array<IdctKernels::Block*, classCount> ends{};
  for (std::size_t i = 0; i < classCount; ++i)
    ends[i] = sorted[i].data();
  ForBlocks(component, group, firstUnit, units,
            [&ends](std::int16_t* values, std::uint8_t last, std::uint8_t* target) {
              // Which class is next cannot be foreseen, so there is no branch.
              const Shape& shape = shapes.of[last];
              const int isLess = (values[shape.probe] == 0 ? 1 : 0) & shape.isLessWithoutProbe;
              *ends[static_cast<std::size_t>(shape.which - isLess)]++ = {values, target};
            });
  for (std::size_t i = 0; i < classCount; ++i)
    counts[i] = static_cast<std::size_t>(ends[i] - sorted[i].data());
}

void BaselineScan::Draw(Component& component, const Group& group, std::uint32_t firstUnit,
                        std::uint32_t units) {
  const std::int32_t quantiser = component.quantisers[0];
  if (component.side == 1)
    return ForBlocks(component, group, firstUnit, units,
                     [quantiser](std::int16_t* values, std::uint8_t, std::uint8_t* target) {
                       *target = FlatSample(values[0], quantiser);
                       values[0] = 0;
                     });
  SortBlocks(component, group, firstUnit, units);
  const IdctKernels& kernels = KernelsFor<IdctKernels>();
  const auto transform = [&](IdctKernels::Transform how, BlockClass which) {
    if (counts[which] > 0 &&
        !how(sorted[which].data(), counts[which], group.distance, component.quantisers.data()))
      throw IrregularScan();
  };
  const std::span<const IdctKernels::Block> flats(sorted[flat].data(), counts[flat]);
  switch (component.side) {
    case 8:
      FillBlocks<8>(flats, group.distance, quantiser);
      transform(kernels.quarter, smooth);
      transform(kernels.full, detailed);
      break;
    case 4:
      FillBlocks<4>(flats, group.distance, quantiser);
      transform(kernels.toFours, smooth);
      transform(kernels.toFours, detailed);
      break;
    default:
      FillBlocks<2>(flats, group.distance, quantiser);
      transform(kernels.toTwos, smooth);
      transform(kernels.toTwos, detailed);
      break;
  }
}

std::size_t BaselineScan::Finish() {
  if (unitsLeft != 0) throw IrregularScan();
  source.EndSegment(ScanSource::endOfImage);
  return source.BytesRead();
}

}  // namespace ztlib
