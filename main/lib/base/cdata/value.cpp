#include "main/lib/base/cdata/value.h"

#include "main/lib/base/cdata/HAData.h"

#include <type_traits>

namespace ztlib {

CDataValue CDataValue::OfString(std::string value) {
  CDataValue result;
  new (&result.text) std::string(std::move(value));
  result.kind = cdString;
  return result;
}

CDataValue CDataValue::OfWideString(std::u16string value) {
  CDataValue result;
  new (&result.wideText) std::u16string(std::move(value));
  result.kind = cdWideString;
  return result;
}

CDataValue CDataValue::OfByteArray(std::unique_ptr<std::vector<std::uint8_t>> value) {
  CDataValue result;
  new (&result.byteArray) std::unique_ptr(std::move(value));
  result.kind = cdByteArray;
  return result;
}

CDataValue CDataValue::OfShortArray(std::unique_ptr<std::vector<std::int16_t>> value) {
  CDataValue result;
  new (&result.shortArray) std::unique_ptr(std::move(value));
  result.kind = cdShortArray;
  return result;
}

CDataValue CDataValue::OfGuid(std::unique_ptr<CGuid> value) {
  CDataValue result;
  new (&result.guid) std::unique_ptr(std::move(value));
  result.kind = cdGuid;
  return result;
}

CDataValue CDataValue::OfBinary(std::shared_ptr<CBinData> value) {
  CDataValue result;
  new (&result.binary) std::shared_ptr(std::move(value));
  result.kind = cdBinary;
  return result;
}

CDataValue CDataValue::OfNode(std::unique_ptr<CData> value) {
  CDataValue result;
  new (&result.node) std::unique_ptr(std::move(value));
  result.kind = cdNode;
  return result;
}

CDataValue::CDataValue(const CDataValue& other) : bits(0) {
  const auto clone = [](const auto& pointer) {
    using T = std::remove_cvref_t<decltype(*pointer)>;
    return pointer ? std::make_unique<T>(*pointer) : nullptr;
  };
  switch (other.kind) {
    case cdString:
      new (&text) std::string(other.text);
      break;
    case cdWideString:
      new (&wideText) std::u16string(other.wideText);
      break;
    case cdByteArray:
      new (&byteArray) std::unique_ptr(clone(other.byteArray));
      break;
    case cdShortArray:
      new (&shortArray) std::unique_ptr(clone(other.shortArray));
      break;
    case cdGuid:
      new (&guid) std::unique_ptr(clone(other.guid));
      break;
    case cdBinary:
      new (&binary) std::shared_ptr(other.binary);
      break;
    case cdNode:
      new (&node) std::unique_ptr(clone(other.node));
      break;
    default:
      bits = other.bits;
  }
  kind = other.kind;
}

void CDataValue::TakeOwned(CDataValue& other) noexcept {
  switch (other.kind) {
    case cdString:
      new (&text) std::string(std::move(other.text));
      break;
    case cdWideString:
      new (&wideText) std::u16string(std::move(other.wideText));
      break;
    case cdByteArray:
      new (&byteArray) std::unique_ptr(std::move(other.byteArray));
      break;
    case cdShortArray:
      new (&shortArray) std::unique_ptr(std::move(other.shortArray));
      break;
    case cdGuid:
      new (&guid) std::unique_ptr(std::move(other.guid));
      break;
    case cdBinary:
      new (&binary) std::shared_ptr(std::move(other.binary));
      break;
    case cdNode:
      new (&node) std::unique_ptr(std::move(other.node));
      break;
  }
  kind = other.kind;
  other.Destroy();
  other.bits = 0;
}

void CDataValue::DestroyOwned() noexcept {
  switch (kind) {
    case cdString:
      std::destroy_at(&text);
      break;
    case cdWideString:
      std::destroy_at(&wideText);
      break;
    case cdByteArray:
      std::destroy_at(&byteArray);
      break;
    case cdShortArray:
      std::destroy_at(&shortArray);
      break;
    case cdGuid:
      std::destroy_at(&guid);
      break;
    case cdBinary:
      std::destroy_at(&binary);
      break;
    case cdNode:
      std::destroy_at(&node);
      break;
  }
}

}  // namespace ztlib
