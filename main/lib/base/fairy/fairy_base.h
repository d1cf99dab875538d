#pragma once

#include "main/lib/base/cdata/HAData.h"

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace ztlib {

// Typed records. A record class declares one item per field; each item registers itself with the
// record under a token, and the record then goes to and from a tree, clones, resets and describes
// itself without code of its own. Nothing here has a lock: the owner of a record serialises its
// use.

// Of the reader of a tree: an item is written when its flags and the mask have a bit in common.
struct AFairyAccessFilter {
  std::uint32_t mask = 0xFFFFFFFFu;
};

class ACDataFairy;

// One field of a record, a member object of it.
class AFairyItem {
 public:
  // The low half of `access` becomes the flags, the high half `blankWhenFiltered`.
  AFairyItem(ACDataFairy& owner, Token token, std::uint64_t access = 1);
  AFairyItem(const AFairyItem&) = delete;
  AFairyItem& operator=(const AFairyItem&) = delete;

  // Takes the value of an item of the same class, with `full` also default and limits. Another
  // class changes nothing.
  virtual void CloneFrom(const AFairyItem& other, bool full) = 0;
  // The same for a value that the other item has read, been set to or reset to.
  virtual void CloneChanged(const AFairyItem& other);
  virtual ~AFairyItem();
  virtual void ToCData(Token token, CData& data, const AFairyAccessFilter& filter) const = 0;
  // An empty form of the value. Logs that there is none, unless overridden.
  virtual void ToCDataBlank(Token token, CData& data, const AFairyAccessFilter& filter) const;
  // Looks at the first element of the token; an absent one changes nothing.
  virtual void FromCData(Token token, const CData& data) = 0;
  virtual void FromCDataPassive(Token token, const CData& data);
  virtual void SetDefault();
  // Default and range in a child of the token.
  virtual void ToCDataOptions(Token token, CData& data) const;

  bool changed = false;  // since construction
  std::uint32_t flags = 0;
  std::uint32_t blankWhenFiltered = 0;  // 1: an item that the filter leaves out is written blank

 protected:
  AFairyItem();  // of a record that stands alone
};

// What a record can do, whatever its items are.
class ACDataFairy {
 public:
  using Items = std::vector<std::pair<Token, AFairyItem*>>;

  virtual ~ACDataFairy();
  [[nodiscard]] virtual CData ToCData(const AFairyAccessFilter& filter) const = 0;
  // Logs and gives an empty tree, unless overridden.
  virtual CData ToCDataBlank(const AFairyAccessFilter& filter) const;
  // Items whose tokens are absent keep their values. What an item throws ends the reading.
  virtual void FromCData(const CData& data) = 0;
  virtual void FromCDataPassive(const CData& data) = 0;
  virtual void SetDefaults() = 0;
  virtual void AddItem(Token token, AFairyItem* item) = 0;
  // Throws "Using null-pointer". Records of different sizes are logged and left alone.
  virtual void CloneFrom(const ACDataFairy* other, bool full) = 0;
  virtual void CloneChanged(const ACDataFairy* other) = 0;
  virtual void ToCDataOptions(Token token, CData& data) const = 0;
  virtual void ToCDataOptions(CData& data) const = 0;
  // Values, and their description under "Options".
  [[nodiscard]] virtual CData ToCDataFull(const AFairyAccessFilter& filter) const = 0;
  // In the order of declaration, which is that of the written elements.
  [[nodiscard]] virtual const Items& GetItems() const = 0;
};

// All that items with a value and a default have in common.
template <class V>
class TCFairyValueItem : public AFairyItem {
 public:
  [[nodiscard]] const V& Get() const { return value; }
  void Set(V newValue) {
    changed = true;
    value = std::move(newValue);
  }
  [[nodiscard]] const V& GetDefault() const { return defaultValue; }

  void CloneFrom(const AFairyItem& other, bool full) override;
  void ToCData(Token token, CData& data, const AFairyAccessFilter& filter) const override;
  void FromCData(Token token, const CData& data) override;
  void SetDefault() override;
  void ToCDataOptions(Token token, CData& data) const override;

 protected:
  // How the type stands in a tree. Read is false, with `out` as it was, for an element that has no
  // value of the type.
  virtual void Write(CData& data, Token token, const V& written) const = 0;
  [[nodiscard]] virtual bool Read(const CDataValue& element, V& out) const = 0;
  // False when there is an element and it was not taken.
  [[nodiscard]] bool TryRead(Token token, const CData& data);

  TCFairyValueItem(ACDataFairy& owner, Token token, std::uint64_t access, V def)
      : AFairyItem(owner, token, access), value(def), defaultValue(std::move(def)) {}

  V value;
  V defaultValue;
};

// V: bool, int, long long, double, CGuid or std::shared_ptr<CBinData>. Numbers convert from each
// other and from text as far as their range goes; text that is no number throws as std::stoll
// does. What does not convert is reported as the assertion "changed" and leaves the value alone.
template <class V>
class CFairySimpleItem : public TCFairyValueItem<V> {
 public:
  CFairySimpleItem(ACDataFairy& owner, Token token, std::uint64_t access = 1)
      : TCFairyValueItem<V>(owner, token, access, V{}) {}
  CFairySimpleItem(ACDataFairy& owner, Token token, std::uint64_t access, V def)
      : TCFairyValueItem<V>(owner, token, access, std::move(def)), hasDefault(true) {}
  [[nodiscard]] bool HasDefault() const { return hasDefault; }

  void CloneFrom(const AFairyItem& other, bool full) override;
  void FromCData(Token token, const CData& data) override;
  void SetDefault() override;

 protected:
  void Write(CData& data, Token token, const V& written) const override;
  [[nodiscard]] bool Read(const CDataValue& element, V& out) const override;

  bool hasDefault = false;
};

// Takes strings only.
class CStringItem : public TCFairyValueItem<std::string> {
 public:
  CStringItem(ACDataFairy& owner, Token token, std::uint64_t access = 1, std::string def = {});
  virtual void Set(const std::string& text);
  void ToCDataBlank(Token token, CData& data, const AFairyAccessFilter& filter) const override;

 protected:
  void Write(CData& data, Token token, const std::string& written) const override;
  [[nodiscard]] bool Read(const CDataValue& element, std::string& out) const override;
};

// A point in time in ms since 1601-01-01 UTC. Takes times, texts "YYYY-MM-DDThh:mm:ssZ", and
// doubles, which do not mark it as changed; all else is ignored.
class CTUTCTime : public TCFairyValueItem<std::uint64_t> {
 public:
  CTUTCTime(ACDataFairy& owner, Token token, std::uint64_t access = 1, std::uint64_t def = 0);
  void FromCData(Token token, const CData& data) override;
  // Exactly that form, years 1601 to 9999, of the calendar; a second of 60 is allowed. On failure
  // `msSince1601` stays.
  [[nodiscard]] static bool Parse(std::string_view text, std::uint64_t& msSince1601);

 protected:
  void Write(CData& data, Token token, const std::uint64_t& written) const override;
  [[nodiscard]] bool Read(const CDataValue& element, std::uint64_t& out) const override;
};

// Instantiated for the values of the item classes, in whichever header those are.
extern template class TCFairyValueItem<bool>;
extern template class TCFairyValueItem<int>;
extern template class TCFairyValueItem<long long>;
extern template class TCFairyValueItem<double>;
extern template class TCFairyValueItem<CGuid>;
extern template class TCFairyValueItem<std::shared_ptr<CBinData>>;
extern template class TCFairyValueItem<std::string>;
extern template class TCFairyValueItem<std::uint64_t>;
extern template class TCFairyValueItem<CData>;
extern template class TCFairyValueItem<std::vector<std::shared_ptr<CData>>>;
extern template class TCFairyValueItem<std::vector<std::vector<short>>>;
extern template class CFairySimpleItem<bool>;
extern template class CFairySimpleItem<int>;
extern template class CFairySimpleItem<long long>;
extern template class CFairySimpleItem<double>;
extern template class CFairySimpleItem<CGuid>;
extern template class CFairySimpleItem<std::shared_ptr<CBinData>>;

}  // namespace ztlib
