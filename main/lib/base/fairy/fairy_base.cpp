#include "main/lib/base/fairy/fairy_base.h"

#include "main/lib/base/debug.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>
#include <type_traits>
#include <utility>
#include <vector>

namespace ztlib {

namespace {

constexpr char source[] = "main/lib/base/fairy/fairy_base";
constexpr int blankItemLine = 32;
constexpr int blankRecordLine = 37;
constexpr int changedLine = 123;

// As std::stod, but never in the client's locale.
double ReadDoubleText(std::string_view text) {
  text.remove_prefix(std::min(text.find_first_not_of(" \t\n\v\f\r"), text.size()));
  const bool plus = text.starts_with('+');
  if (plus) text.remove_prefix(1);
  double value = 0;
  const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
  if (result.ec != std::errc() || (plus && text.starts_with('-')))
    throw std::invalid_argument("stod");
  return value;
}

template <class V>
bool ReadInteger(std::int64_t number, V& out) {
  if constexpr (!std::is_same_v<V, double>) {
    if (number < std::int64_t{std::numeric_limits<V>::min()} ||
        number > std::int64_t{std::numeric_limits<V>::max()})
      return false;
  }
  out = static_cast<V>(number);
  return true;
}

template <class V>
bool ReadDouble(double number, V& out) {
  if constexpr (std::is_same_v<V, double>) {
    out = number;
    return true;
  } else {
    constexpr auto lowest = static_cast<double>(std::numeric_limits<V>::min());
    constexpr auto highest = static_cast<double>(std::numeric_limits<V>::max());
    // Also false for what is no number.
    if (!(number >= lowest && number <= highest)) return false;
    // 2^63 passes as the nearest double of the largest integer, and wraps.
    const std::int64_t truncated = number >= 0x1p63 ? std::numeric_limits<std::int64_t>::min()
                                                    : static_cast<std::int64_t>(number);
    out = static_cast<V>(truncated);
    return true;
  }
}

template <class V>
bool ReadNumber(const CDataValue& element, V& out) {
  switch (element.GetKind()) {
    case cdBool:
      return ReadInteger(element.GetBool() ? 1 : 0, out);
    case cdInt:
      return ReadInteger(element.GetInt(), out);
    case cdLongLong:
      return ReadInteger(element.GetLongLong(), out);
    case cdDouble:
      return ReadDouble(element.GetDouble(), out);
    case cdString:
      if constexpr (std::is_same_v<V, double>)
        return ReadDouble(ReadDoubleText(element.GetString()), out);
      else
        return ReadInteger(std::stoll(element.GetString()), out);
    default:
      return false;
  }
}

}  // namespace

AFairyItem::AFairyItem() = default;

AFairyItem::AFairyItem(ACDataFairy& owner, Token token, std::uint64_t access)
    : flags(static_cast<std::uint32_t>(access)),
      blankWhenFiltered(static_cast<std::uint32_t>(access >> 32)) {
  owner.AddItem(token, this);
}

AFairyItem::~AFairyItem() = default;

void AFairyItem::CloneChanged(const AFairyItem& other) {
  if (other.changed) CloneFrom(other, false);
}

void AFairyItem::ToCDataBlank(Token, CData&, const AFairyAccessFilter& filter) const {
  ZT_LOG(2, source, blankItemLine,
         "%s called but no implementation exists! (flags: 0x%08x filter: 0x%08x)",
         "virtual void AFairyItem::ToCDataBlank(Token, CData&, const AFairyAccessFilter&) const",
         flags, filter.mask);
}

void AFairyItem::FromCDataPassive(Token token, const CData& data) {
  FromCData(token, data);
}

void AFairyItem::SetDefault() {}

void AFairyItem::ToCDataOptions(Token, CData&) const {}

ACDataFairy::~ACDataFairy() = default;

CData ACDataFairy::ToCDataBlank(const AFairyAccessFilter& filter) const {
  ZT_LOG(2, source, blankRecordLine, "%s called but no implementation exists! (filter: 0x%08x)",
         "virtual CData ACDataFairy::ToCDataBlank(const AFairyAccessFilter&) const", filter.mask);
  return {};
}

template <class V>
bool TCFairyValueItem<V>::TryRead(Token token, const CData& data) {
  const std::int64_t position = data.Find(token);
  if (position < 0) return true;
  if (!Read(data.At(static_cast<std::uint64_t>(position)).value, value)) return false;
  return changed = true;
}

template <class V>
void TCFairyValueItem<V>::CloneFrom(const AFairyItem& other, bool full) {
  const auto* original = dynamic_cast<const TCFairyValueItem*>(&other);
  if (!original) return;
  value = original->value;
  if (full) defaultValue = original->defaultValue;
}

template <class V>
void TCFairyValueItem<V>::ToCData(Token token, CData& data, const AFairyAccessFilter&) const {
  Write(data, token, value);
}

template <class V>
void TCFairyValueItem<V>::FromCData(Token token, const CData& data) {
  (void)TryRead(token, data);
}

template <class V>
void TCFairyValueItem<V>::SetDefault() {
  changed = true;
  value = defaultValue;
}

template <class V>
void TCFairyValueItem<V>::ToCDataOptions(Token token, CData& data) const {
  Write(data.AddChild(token), Tok::Default, defaultValue);
}

template <class V>
void CFairySimpleItem<V>::CloneFrom(const AFairyItem& other, bool full) {
  TCFairyValueItem<V>::CloneFrom(other, full);
  const auto* original = dynamic_cast<const CFairySimpleItem*>(&other);
  if (original && full) hasDefault = original->hasDefault;
}

template <class V>
void CFairySimpleItem<V>::FromCData(Token token, const CData& data) {
  const bool changed = this->TryRead(token, data);
  ZT_ASSERT(changed, source, changedLine);
}

template <class V>
void CFairySimpleItem<V>::SetDefault() {
  if (hasDefault) TCFairyValueItem<V>::SetDefault();
}

template <class V>
void CFairySimpleItem<V>::Write(CData& data, Token token, const V& written) const {
  if constexpr (std::is_same_v<V, bool>)
    data.AddBool(token, written);
  else if constexpr (std::is_same_v<V, int>)
    data.AddInt(token, written);
  else if constexpr (std::is_same_v<V, long long>)
    data.AddLongLong(token, written);
  else if constexpr (std::is_same_v<V, double>)
    data.AddDouble(token, written);
  else if constexpr (std::is_same_v<V, CGuid>)
    data.AddGuid(token, written);
  else
    data.AddBinary(token, written);
}

template <class V>
bool CFairySimpleItem<V>::Read(const CDataValue& element, V& out) const {
  if constexpr (std::is_arithmetic_v<V>) {
    return ReadNumber(element, out);
  } else if constexpr (std::is_same_v<V, CGuid>) {
    if (element.GetKind() == cdString) return CGuid::Parse(element.GetString().c_str(), out);
    if (element.GetKind() != cdGuid) return false;
    // Without a payload it is written as zeros, and so it is read.
    out = element.GetGuid() ? *element.GetGuid() : CGuid{};
    return true;
  } else {
    if (element.GetKind() != cdBinary) return false;
    out = element.GetBinary();
    return true;
  }
}

CStringItem::CStringItem(ACDataFairy& owner, Token token, std::uint64_t access, std::string def)
    : TCFairyValueItem(owner, token, access, std::move(def)) {}

void CStringItem::Set(const std::string& text) {
  changed = true;
  value = text;
}

void CStringItem::ToCDataBlank(Token token, CData& data, const AFairyAccessFilter&) const {
  data.AddString(token, {});
}

void CStringItem::Write(CData& data, Token token, const std::string& written) const {
  data.AddString(token, written);
}

bool CStringItem::Read(const CDataValue& element, std::string& out) const {
  if (element.GetKind() != cdString) return false;
  out = element.GetString();
  return true;
}

template class TCFairyValueItem<bool>;
template class TCFairyValueItem<int>;
template class TCFairyValueItem<long long>;
template class TCFairyValueItem<double>;
template class TCFairyValueItem<CGuid>;
template class TCFairyValueItem<std::shared_ptr<CBinData>>;
template class TCFairyValueItem<std::string>;
template class TCFairyValueItem<std::uint64_t>;
template class TCFairyValueItem<CData>;
template class TCFairyValueItem<std::vector<std::shared_ptr<CData>>>;
template class TCFairyValueItem<std::vector<std::vector<short>>>;
template class CFairySimpleItem<bool>;
template class CFairySimpleItem<int>;
template class CFairySimpleItem<long long>;
template class CFairySimpleItem<double>;
template class CFairySimpleItem<CGuid>;
template class CFairySimpleItem<std::shared_ptr<CBinData>>;

}  // namespace ztlib
