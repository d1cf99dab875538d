#include "main/lib/base/fairy/fairy_numeric.h"

#include "main/lib/base/debug.h"

namespace ztlib {

namespace {
constexpr char source[] = "main/lib/base/fairy/fairy_numeric";
constexpr int containsLine = 67;
}  // namespace

template <class V>
void CFairyLimitedNumericItem<V>::CloneFrom(const AFairyItem& other, bool full) {
  const auto* original = dynamic_cast<const CFairyLimitedNumericItem*>(&other);
  if (!original) return;
  if (full) {
    minimum = original->minimum;
    maximum = original->maximum;
  }
  if (Contains(original->value)) CFairySimpleItem<V>::CloneFrom(other, full);
}

template <class V>
void CFairyLimitedNumericItem<V>::FromCData(Token token, const CData& data) {
  const bool contains = this->TryRead(token, data);
  ZT_ASSERT(contains, source, containsLine);
}

template <class V>
bool CFairyLimitedNumericItem<V>::Read(const CDataValue& element, V& out) const {
  V read;
  if (!CFairySimpleItem<V>::Read(element, read) || !Contains(read)) return false;
  out = read;
  return true;
}

template <class V>
void CFairyLimitedNumericItem<V>::ToCDataOptions(Token token, CData& data) const {
  CData& description = data.AddChild(token);
  this->Write(description, Tok::Default, this->defaultValue);
  this->Write(description, Tok::Minimum, minimum);
  this->Write(description, Tok::Maximum, maximum);
}

template class CFairyLimitedNumericItem<long long>;

}  // namespace ztlib
