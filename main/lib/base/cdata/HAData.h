#pragma once

#include "main/lib/base/cdata/bin_data.h"
#include "main/lib/base/cdata/counted_form.h"
#include "main/lib/base/cdata/guid.h"
#include "main/lib/base/cdata/tagged_form.h"
#include "main/lib/base/cdata/token_table.h"
#include "main/lib/base/cdata/value.h"

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace ztlib {

// The tree of named, typed values in which configuration, requests and results travel. A tree is
// used by one thread at a time; only the bytes of a CBinData may be shared between trees of
// different threads. Both flat forms come with it.

class CDataIndex;

// Children deeper below the root than this are invalid in both flat forms, so that a hostile block
// cannot exhaust the stack of whatever walks its tree.
inline constexpr int cdDeepestNode = 256;

// `key`: 0 without a name, above 0 the token of the name, below 0 the number of a name of the
// node's own (bit 63 cleared).
struct CDataElement {
  std::int64_t key = 0;
  CDataValue value;
};

// One node: an ordered list of elements. Names may repeat; a search gives the first position. A
// lookup by token or name throws nothing but where it says so.
class CData {
 public:
  CData();
  // Deep, except that the bytes of binary values are shared.
  CData(const CData& other);
  CData(CData&& other) noexcept;
  CData& operator=(CData other) noexcept;
  ~CData();

  void Reserve(std::uint64_t count);
  void Clear();

  // Appends an element; a token outside of the table gives one without a name.
  void AddBool(Token token, bool value);
  void AddByte(Token token, std::uint8_t value);
  void AddShort(Token token, std::int16_t value);
  void AddInt(Token token, std::int32_t value);
  void AddLongLong(Token token, std::int64_t value);
  void AddDouble(Token token, double value);
  void AddString(Token token, std::string value);
  void AddWideString(Token token, std::u16string value);
  void AddByteArray(Token token, std::vector<std::uint8_t> value);
  void AddShortArray(Token token, std::vector<std::int16_t> value);
  void AddGuid(Token token, const CGuid& value);
  void AddTime(Token token, std::uint64_t value);
  void AddBinary(Token token, std::shared_ptr<CBinData> value);
  // The child stays where it is for as long as its element lives.
  CData& AddChild(Token token);
  CData& AddChild(Token token, CData&& child);
  // Under the token of the name if there is one, else under a name of the node's own.
  CDataElement& Append(std::string_view name, CDataValue value);

  [[nodiscard]] std::uint64_t Count() const { return elements.size(); }
  [[nodiscard]] std::span<const CDataElement> Elements() const { return elements; }
  // Position of the first element of that name, or -1. No search finds an element without a name.
  [[nodiscard]] std::int64_t Find(Token token) const;
  // The first search by name in a node of more than 50 elements builds the index.
  [[nodiscard]] std::int64_t FindByName(std::string_view name) const;
  // Position of the first element of that name if it is of this kind, or -1.
  [[nodiscard]] std::int64_t Exists(Token token, std::uint16_t kind) const;
  // That element's value, or null.
  [[nodiscard]] const CDataValue* Find(Token token, std::uint16_t kind) const;
  [[nodiscard]] CDataValue* Find(Token token, std::uint16_t kind);

  // The first element of that name if it is of exactly this kind, else the default.
  [[nodiscard]] std::int32_t GetInt(Token token, std::int32_t def) const;
  [[nodiscard]] double GetDouble(Token token, double def) const;
  [[nodiscard]] bool GetBool(Token token, bool def) const;
  [[nodiscard]] std::int64_t GetLongLong(Token token, std::int64_t def) const;

  // Throws CDataException "Unknown token: NAME" unless the first element of that name is a node
  // that is not null.
  CData& Child(Token token);
  const CData& Child(Token token) const;
  // Throws CDataException "Unknown index: POSITION" behind the end.
  const CDataElement& At(std::uint64_t position) const;
  CDataElement& At(std::uint64_t position);
  // The node or array at a position, which may be null. Throw CDataException "Unknown token:
  // POSITION" for an element of another kind.
  [[nodiscard]] const CData* NodeAt(std::uint64_t position) const;
  [[nodiscard]] const std::vector<std::int16_t>* ShortArrayAt(std::uint64_t position) const;
  // 0 bool, 1 int, 2 double, 3 string, 4 binary, 5 node; -1 for all else and behind the end.
  [[nodiscard]] int Type(std::uint64_t position) const;

  // Does nothing behind the end.
  void RemoveAt(std::uint64_t position);
  void RemoveAll(Token token);

  [[nodiscard]] std::string_view KeyText(std::int64_t key) const {
    if (key < 0) return LocalName(key);
    return key < TokenCount ? TokenText(static_cast<Token>(key)) : std::string_view();
  }
  // As both flat forms have it: cut to what the one byte of its length says.
  [[nodiscard]] std::string_view WrittenName(std::int64_t key) const {
    const std::string_view name = KeyText(key);
    return name.substr(0, static_cast<std::uint8_t>(name.size()));
  }
  [[nodiscard]] bool HasIndex() const { return index != nullptr; }

 private:
  CDataElement& Push(std::int64_t key, CDataValue&& value);
  void Push(Token token, CDataValue&& value);
  [[nodiscard]] const CDataValue& ValueAt(std::uint64_t position, std::uint16_t kind) const;
  [[nodiscard]] std::string_view LocalName(std::int64_t key) const;
  [[nodiscard]] std::uint64_t KeyHash(std::int64_t key) const;
  void BuildIndex() const;

  std::vector<CDataElement> elements;
  std::vector<std::string> localNames;
  mutable std::unique_ptr<CDataIndex> index;
};

}  // namespace ztlib
