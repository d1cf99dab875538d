#pragma once

#include "main/lib/base/fairy/fairy_base.h"

#include <cstdint>
#include <utility>
#include <vector>

namespace ztlib {

// A value and its text in trees.
struct CEnumerationEntry {
  std::int32_t value;
  const char* name;
  bool visible;  // offered to clients; a hidden value can be read all the same
};

// One of a list of named values, written by its name.
class CEnumerationBase : public AFairyItem {
 public:
  void CloneFrom(const AFairyItem& other, bool full) override;
  void ToCData(Token token, CData& data, const AFairyAccessFilter& filter) const override;
  void FromCData(Token token, const CData& data) override;
  void SetDefault() override;
  void ToCDataOptions(Token token, CData& data) const override;

 protected:
  CEnumerationBase(ACDataFairy& owner, Token token, std::uint64_t access, std::int32_t def,
                   std::vector<CEnumerationEntry> entries);

  std::int32_t value;
  std::int32_t defaultValue;

 private:
  // Null for a value without a row.
  [[nodiscard]] const char* NameOf(std::int32_t searched) const;

  std::vector<CEnumerationEntry> entries;
};

// An item of an enumeration, which trees hold as text.
template <class E>
class CEnumeration : public CEnumerationBase {
 public:
  CEnumeration(ACDataFairy& owner, Token token, std::uint64_t access, E def,
               std::vector<CEnumerationEntry> entries)
      : CEnumerationBase(owner, token, access, static_cast<std::int32_t>(def), std::move(entries)) {
  }
  [[nodiscard]] E Get() const { return static_cast<E>(value); }
  void Set(E newValue) {
    changed = true;
    value = static_cast<std::int32_t>(newValue);
  }
  [[nodiscard]] E GetDefault() const { return static_cast<E>(defaultValue); }
};

}  // namespace ztlib
