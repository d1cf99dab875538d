#pragma once

#include "main/lib/base/cdata/token_table.h"

#include <bit>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

// The tree of named, typed values in which configuration, requests and results travel, and its two
// flat forms. A tree is used by one thread at a time; only the bytes of a CBinData may be shared
// between trees of different threads.

// A globally unique identifier, its bytes in the order of its text.
struct CGuid {
  std::uint8_t bytes[16] = {};
  [[nodiscard]] bool IsEmpty() const;
  [[nodiscard]] static CGuid Generate();
  // Reads the text without braces. Text behind the last digit is ignored; on failure `out` stays.
  [[nodiscard]] static bool Parse(const char* text, CGuid& out);
  // "{8-4-4-4-12}", upper case, bytes in order of memory.
  [[nodiscard]] std::string ToString() const;
  bool operator==(const CGuid&) const = default;
};

// A run of bytes of which an offset cuts off the front. Copies share the bytes.
class CBinData {
 public:
  CBinData() = default;
  CBinData(const void* data, std::uint64_t size);
  // Borrows memory that must outlive the object and all its copies.
  [[nodiscard]] static CBinData Wrap(void* data, std::uint64_t size);
  [[nodiscard]] static CBinData Uninitialised(std::uint64_t size);
  [[nodiscard]] bool HasMemory() const { return bytes != nullptr; }
  [[nodiscard]] std::uint8_t* Data() { return bytes + offset; }
  [[nodiscard]] const std::uint8_t* Data() const { return bytes + offset; }
  [[nodiscard]] std::uint64_t Size() const { return length - offset; }
  [[nodiscard]] std::uint64_t GetOffset() const { return offset; }
  // Cut to the length of the bytes.
  void SetOffset(std::uint64_t newOffset) { offset = newOffset < length ? newOffset : length; }
  // Lets go of the old bytes; the new ones are zero and the object's own.
  void Resize(std::uint64_t size);

 private:
  std::shared_ptr<std::uint8_t[]> owner;  // null for borrowed bytes
  std::uint8_t* bytes = nullptr;
  std::uint64_t length = 0;
  std::uint64_t offset = 0;
};

// One bit each, so that a set of kinds is a mask.
enum CDataKind : std::uint16_t {
  cdEmpty = 0,
  cdBool = 1,
  cdByte = 2,
  cdShort = 4,
  cdInt = 8,
  cdLongLong = 0x10,
  cdDouble = 0x20,
  cdString = 0x40,
  cdWideString = 0x80,
  cdByteArray = 0x100,
  cdShortArray = 0x200,
  cdGuid = 0x400,
  cdTime = 0x800,
  cdBinary = 0x1000,
  cdNode = 0x2000
};

// Children deeper below the root than this are invalid in both flat forms, so that a hostile block
// cannot exhaust the stack of whatever walks its tree.
inline constexpr int cdDeepestNode = 256;

class CData;

// One value of any kind, which it owns. The getter of another kind gives 0, "" or null, and so does
// the getter of a null payload.
class CDataValue {
 public:
  CDataValue() : bits(0) {}
  CDataValue(const CDataValue& other);
  CDataValue(CDataValue&& other) noexcept { Take(other); }
  CDataValue& operator=(CDataValue other) noexcept {
    Destroy();
    Take(other);
    return *this;
  }
  ~CDataValue() { Destroy(); }

  // A bool keeps the byte as it came, 0 or not.
  static CDataValue OfBool(std::uint8_t value) { return CDataValue(cdBool, value); }
  static CDataValue OfByte(std::uint8_t value) { return CDataValue(cdByte, value); }
  static CDataValue OfShort(std::int16_t value) { return CDataValue(cdShort, value); }
  static CDataValue OfInt(std::int32_t value) { return CDataValue(cdInt, value); }
  static CDataValue OfLongLong(std::int64_t value) { return CDataValue(cdLongLong, value); }
  static CDataValue OfTime(std::uint64_t value) { return CDataValue(cdTime, value); }
  static CDataValue OfDouble(double value) {
    return CDataValue(cdDouble, std::bit_cast<std::uint64_t>(value));
  }
  static CDataValue OfString(std::string value);
  static CDataValue OfWideString(std::u16string value);
  // Null is a legal payload of those that are held by pointer.
  static CDataValue OfByteArray(std::unique_ptr<std::vector<std::uint8_t>> value);
  static CDataValue OfShortArray(std::unique_ptr<std::vector<std::int16_t>> value);
  static CDataValue OfGuid(std::unique_ptr<CGuid> value);
  static CDataValue OfBinary(std::shared_ptr<CBinData> value);
  static CDataValue OfNode(std::unique_ptr<CData> value);

  [[nodiscard]] std::uint16_t GetKind() const { return kind; }
  [[nodiscard]] bool GetBool() const { return kind == cdBool && bits != 0; }
  // Also the stored byte of a bool.
  [[nodiscard]] std::uint8_t GetByte() const { return Scalar<std::uint8_t>(cdByte | cdBool); }
  [[nodiscard]] std::int16_t GetShort() const { return Scalar<std::int16_t>(cdShort); }
  [[nodiscard]] std::int32_t GetInt() const { return Scalar<std::int32_t>(cdInt); }
  [[nodiscard]] std::int64_t GetLongLong() const { return Scalar<std::int64_t>(cdLongLong); }
  [[nodiscard]] double GetDouble() const {
    return kind == cdDouble ? std::bit_cast<double>(bits) : 0;
  }
  [[nodiscard]] std::uint64_t GetTime() const { return Scalar<std::uint64_t>(cdTime); }
  [[nodiscard]] const std::string& GetString() const {
    return kind == cdString ? text : None<std::string>();
  }
  [[nodiscard]] const std::u16string& GetWideString() const {
    return kind == cdWideString ? wideText : None<std::u16string>();
  }
  [[nodiscard]] const std::vector<std::uint8_t>* GetByteArray() const {
    return kind == cdByteArray ? byteArray.get() : nullptr;
  }
  [[nodiscard]] const std::vector<std::int16_t>* GetShortArray() const {
    return kind == cdShortArray ? shortArray.get() : nullptr;
  }
  [[nodiscard]] const CGuid* GetGuid() const { return kind == cdGuid ? guid.get() : nullptr; }
  [[nodiscard]] const std::shared_ptr<CBinData>& GetBinary() const {
    return kind == cdBinary ? binary : None<std::shared_ptr<CBinData>>();
  }
  [[nodiscard]] CData* GetNode() { return kind == cdNode ? node.get() : nullptr; }
  [[nodiscard]] const CData* GetNode() const { return kind == cdNode ? node.get() : nullptr; }

 private:
  static constexpr std::uint16_t scalarKinds =
      cdBool | cdByte | cdShort | cdInt | cdLongLong | cdDouble | cdTime;

  template <class T>
  CDataValue(CDataKind kind, T value) : bits(static_cast<std::uint64_t>(value)), kind(kind) {}
  template <class T>
  [[nodiscard]] T Scalar(std::uint16_t kinds) const {
    return kind & kinds ? static_cast<T>(bits) : T{};
  }
  template <class T>
  static const T& None() {
    static const T none;
    return none;
  }
  // Moves the payload of `other` into this one, which holds nothing, and leaves `other` empty.
  void Take(CDataValue& other) noexcept {
    if ((other.kind & ~scalarKinds) != 0) return TakeOwned(other);
    bits = other.bits;
    kind = std::exchange(other.kind, std::uint16_t{cdEmpty});
  }
  void TakeOwned(CDataValue& other) noexcept;
  void Destroy() noexcept {
    if ((kind & ~scalarKinds) != 0) DestroyOwned();
    kind = cdEmpty;
  }
  void DestroyOwned() noexcept;

  union {
    std::uint64_t bits;  // integers sign-extended, doubles as they are
    std::string text;
    std::u16string wideText;
    std::unique_ptr<std::vector<std::uint8_t>> byteArray;
    std::unique_ptr<std::vector<std::int16_t>> shortArray;
    std::unique_ptr<CGuid> guid;
    std::shared_ptr<CBinData> binary;
    std::unique_ptr<CData> node;
  };
  std::uint16_t kind = cdEmpty;
};

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
  class CDataIndex;

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

// The tagged form, in which a tree crosses the library's boundary. A size of 4 GiB or more throws
// std::length_error.
[[nodiscard]] std::uint32_t TaggedSize(const CData& data);
// `out` has room for TaggedSize bytes. Gives the pointer behind the last byte written. At an empty
// value it stops with a complete form of what stands before, and gives null.
std::uint8_t* WriteTagged(const CData& data, std::uint8_t* out);
// Measured, allocated once and written; zeros behind a form that had to stop early.
[[nodiscard]] CBinData ToTagged(const CData& data);
// Of a list whose user looks at its first nodes only.
struct CDataListLimit {
  Token list;
  std::uint64_t mostNodes;  // at least 1
};
// Clears the target, reads as far as the bytes make sense, keeps that, and is always true. Elements
// of the root whose kind is in the mask are passed over; children of the root with the limit's name
// end behind their last allowed node, and what follows in them costs nothing.
bool ParseTagged(CData& data, const void* bytes, std::uint64_t size, std::uint16_t skipMask = 0,
                 const CDataListLimit* limit = nullptr);

// The counted form, for files of bool, int, double, string, byte array and node. Elements of other
// kinds are counted but not written, so what follows them is lost to a reader. Sizes and writing
// are those of a node: the element count, then the elements.
[[nodiscard]] std::uint32_t CountedSize(const CData& data);
std::uint8_t* WriteCounted(const CData& data, std::uint8_t* out);
// Reads `count` elements from `cursor`, which has `size` bytes, and moves it behind what was read.
// Clears the target, keeps what was good, and is always true.
bool ParseCounted(CData& data, std::uint32_t count, const std::uint8_t*& cursor,
                  std::uint64_t size);
// False when the file cannot be written or read, or is no counted form; the target then stays.
[[nodiscard]] bool SaveCountedFile(const CData& data, const char* path);
[[nodiscard]] bool LoadCountedFile(CData& data, const char* path);
