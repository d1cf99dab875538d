#pragma once

#include "main/lib/base/fairy/fairy_base.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

namespace ztlib {

// All behaviour of records. A record is an item itself, so that it can be a member of another one;
// as an item it is cloned in full, and reading it does not set its own mark.
class CDataFairyBase : public ACDataFairy, public AFairyItem {
 public:
  CDataFairyBase();
  CDataFairyBase(ACDataFairy& owner, Token token, std::uint64_t access = 1);
  ~CDataFairyBase() override;

  [[nodiscard]] CData ToCData(const AFairyAccessFilter& filter) const override;
  using ACDataFairy::ToCDataBlank;
  using AFairyItem::ToCDataBlank;
  void FromCData(const CData& data) override;
  void FromCDataPassive(const CData& data) override;
  void SetDefaults() override;
  void AddItem(Token token, AFairyItem* item) override;
  void CloneFrom(const ACDataFairy* other, bool full) override;
  void CloneChanged(const ACDataFairy* other) override;
  void ToCDataOptions(Token token, CData& data) const override;
  void ToCDataOptions(CData& data) const override;
  [[nodiscard]] CData ToCDataFull(const AFairyAccessFilter& filter) const override;
  [[nodiscard]] const Items& GetItems() const override { return items; }

  void CloneFrom(const AFairyItem& other, bool full) override;
  void CloneChanged(const AFairyItem& other) override;
  void ToCData(Token token, CData& data, const AFairyAccessFilter& filter) const override;
  void FromCData(Token token, const CData& data) override;
  void FromCDataPassive(Token token, const CData& data) override;
  void SetDefault() override;

 private:
  // Gives each item its counterpart, and the token of that. Nothing happens unless the lists match.
  template <class Clone>
  void ClonePairwise(const ACDataFairy* other, Clone clone);

  Items items;
};

// The base of the record class T.
template <class T>
class CDataFairy : public CDataFairyBase {
 public:
  using CDataFairyBase::CDataFairyBase;
};

// A member without a form of its own.
class CFairyCData : public TCFairyValueItem<CData> {
 public:
  CFairyCData(ACDataFairy& owner, Token token, std::uint64_t access = 1, CData def = {})
      : TCFairyValueItem<CData>(owner, token, access, std::move(def)) {}
  [[nodiscard]] CData& Edit() {
    changed = true;
    return value;
  }

 private:
  void Write(CData& data, Token token, const CData& written) const override;
  [[nodiscard]] bool Read(const CDataValue& element, CData& out) const override;
};

// A list of trees or of short arrays. V: std::shared_ptr<CData> or std::vector<short>. An entry of
// another kind throws CDataException "Unknown token: POSITION", and the list stays.
template <class V>
class CFairyArrayItem : public TCFairyValueItem<std::vector<V>> {
 public:
  CFairyArrayItem(ACDataFairy& owner, Token token, std::uint64_t access = 1,
                  std::vector<V> def = {})
      : TCFairyValueItem<std::vector<V>>(owner, token, access, std::move(def)) {}

 private:
  void Write(CData& data, Token token, const std::vector<V>& written) const override;
  [[nodiscard]] bool Read(const CDataValue& element, std::vector<V>& out) const override;
};

// A list of records. Reading makes it as long as the list that was read.
class CFairyNestedArrayBase : public AFairyItem {
 public:
  [[nodiscard]] std::size_t Count() const { return records.size(); }
  void Resize(std::size_t count);

  void CloneFrom(const AFairyItem& other, bool full) override;
  void ToCData(Token token, CData& data, const AFairyAccessFilter& filter) const override;
  void FromCData(Token token, const CData& data) override;
  void SetDefault() override;
  void ToCDataOptions(Token token, CData& data) const override;

 protected:
  using AFairyItem::AFairyItem;
  [[nodiscard]] virtual std::unique_ptr<CDataFairyBase> Create() const = 0;

  std::vector<std::unique_ptr<CDataFairyBase>> records;

 private:
  void Fit(std::size_t count);
};

// T: a record class with a default constructor. A position behind the end throws
// std::out_of_range.
template <class T>
class CFairyNestedArray : public CFairyNestedArrayBase {
 public:
  CFairyNestedArray(ACDataFairy& owner, Token token, std::uint64_t access = 1)
      : CFairyNestedArrayBase(owner, token, access) {}
  T& At(std::size_t position) { return static_cast<T&>(*records.at(position)); }
  const T& At(std::size_t position) const { return static_cast<const T&>(*records.at(position)); }
  T& Add() {
    Resize(Count() + 1);
    return At(Count() - 1);
  }

 private:
  [[nodiscard]] std::unique_ptr<CDataFairyBase> Create() const override {
    return std::make_unique<T>();
  }
};

// One member of any item class, under "Config".
template <class T>
class AlarmConfig : public CDataFairy<AlarmConfig<T>> {
 public:
  T config{*this, Tok::Config, 1};
};

extern template class CFairyArrayItem<std::shared_ptr<CData>>;
extern template class CFairyArrayItem<std::vector<short>>;

}  // namespace ztlib
