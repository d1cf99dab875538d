#pragma once

#include "main/lib/base/fairy/fairy_base.h"

namespace ztlib {

// A number with limits, both of which are allowed values. V: long long. A value that is read from
// outside of them is reported as the assertion "contains"; a cloned one is refused silently.
template <class V>
class CFairyLimitedNumericItem : public CFairySimpleItem<V> {
 public:
  CFairyLimitedNumericItem(ACDataFairy& owner, Token token, std::uint64_t access, V def, V minimum,
                           V maximum)
      : CFairySimpleItem<V>(owner, token, access, def), minimum(minimum), maximum(maximum) {}
  [[nodiscard]] bool Contains(V value) const { return value >= minimum && value <= maximum; }
  [[nodiscard]] V GetMinimum() const { return minimum; }
  [[nodiscard]] V GetMaximum() const { return maximum; }

  void CloneFrom(const AFairyItem& other, bool full) override;
  void FromCData(Token token, const CData& data) override;
  void ToCDataOptions(Token token, CData& data) const override;

 private:
  [[nodiscard]] bool Read(const CDataValue& element, V& out) const override;

  V minimum;
  V maximum;
};

extern template class CFairyLimitedNumericItem<long long>;

}  // namespace ztlib
