#include "fuzz/require.h"
#include "main/lib/base/exceptions.h"
#include "main/lib/base/fairy/fairy_container.h"
#include "main/lib/base/fairy/fairy_enum.h"
#include "main/lib/base/fairy/fairy_numeric.h"
#include "main/lib/imgproc/mask.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <stdexcept>
#include <vector>

using namespace ztlib;

namespace {

enum class Mode : std::int32_t { Off, On, Hidden };

class CInner : public CDataFairy<CInner> {
 public:
  using CDataFairy::CDataFairy;
  CFairySimpleItem<int> x{*this, Tok::X, 1, 3};
  CStringItem name{*this, Tok::Name};
};

class CRecord : public CDataFairy<CRecord> {
 public:
  CFairySimpleItem<bool> enabled{*this, Tok::Enabled, 1, true};
  CFairySimpleItem<int> bits{*this, Tok::Bits};
  CFairySimpleItem<long long> count{*this, Tok::Count, 1, 7};
  CFairySimpleItem<double> factor{*this, Tok::Factor, 1, 0.5};
  CFairySimpleItem<CGuid> id{*this, Tok::ID};
  CFairySimpleItem<std::shared_ptr<CBinData>> motion{*this, Tok::Motion};
  CFairyLimitedNumericItem<long long> limited{*this, Tok::ViolationTimeMs, 1, 0, 0, 60000};
  CStringItem text{*this, Tok::Name};
  CEnumeration<Mode> mode{
      *this, Tok::Type, 1, Mode::On, {{0, "off", true}, {1, "on", true}, {2, "hidden", false}}};
  CTUTCTime time{*this, Tok::EventTime};
  CFairyCData config{*this, Tok::Config};
  CFairyArrayItem<std::shared_ptr<CData>> figures{*this, Tok::Figures};
  CMaskArray masks{*this, Tok::Masks};
  CFairyNestedArray<CInner> points{*this, Tok::Points};
  CInner point{*this, Tok::Point};
};

// Only refused text and refused entries of lists may throw, and the record stays usable.
void Read(ACDataFairy& record, const CData& tree) {
  try {
    record.FromCData(tree);
  } catch (const std::invalid_argument&) {
  } catch (const std::out_of_range&) {
  } catch (const CException&) {
  }
}

bool Same(const CData& a, const CData& b) {
  const CBinData first = ToTagged(a), second = ToTagged(b);
  return std::equal(first.Data(), first.Data() + first.Size(), second.Data(),
                    second.Data() + second.Size());
}

}  // namespace

// Any block is read as a record. What the record then writes is read back to the same values, and
// so is what a clone writes.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  CData tree;
  Require(ParseTagged(tree, data, size));
  CRecord record, again, clone;
  Read(record, tree);
  Require(record.limited.Contains(record.limited.Get()));
  const CData written = record.ToCData({});
  CData parsed;
  const CBinData bytes = ToTagged(written);
  Require(ParseTagged(parsed, bytes.Data(), bytes.Size()));
  again.FromCDataPassive(parsed);
  Require(Same(again.ToCData({}), written));
  clone.CloneFrom(static_cast<const ACDataFairy*>(&record), true);
  Require(Same(clone.ToCDataFull({}), record.ToCDataFull({})));
  // Only items that the tree has changed differ from those of a new record.
  CRecord changed;
  changed.CloneChanged(static_cast<const ACDataFairy*>(&record));
  if (!record.time.changed) changed.time.Set(record.time.Get());
  Require(Same(changed.ToCData({}), written));

  CMask mask;
  try {
    CData list;
    record.masks.ToCData(Tok::Masks, list, {});
    mask.BuildFromData(list.Child(Tok::Masks), {64, 48});
  } catch (const CException&) {
    Require(false);
  }
  record.SetDefaults();
  again.SetDefaults();
  Require(record.points.Count() == 0 && again.factor.Get() == 0.5);
  return 0;
}
