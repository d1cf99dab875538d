#pragma once

#include "main/lib/base/cdata/bin_data.h"
#include "main/lib/base/cdata/guid.h"

#include <bit>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace ztlib {

class CData;

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

}  // namespace ztlib
