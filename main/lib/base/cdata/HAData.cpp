#include "main/lib/base/cdata/HAData.h"

#include "main/lib/base/cdata/name_index.h"
#include "main/lib/base/debug.h"

#include <cstddef>
#include <cstdio>
#include <utility>

namespace ztlib {

namespace {

constexpr char source[] = "main/lib/base/cdata/HAData";
constexpr int tokenLine = 35;
constexpr int indexLine = 42;

constexpr std::uint64_t firstReserve = 16;
// Nodes up to this size are scanned.
constexpr std::uint64_t largestScanned = 50;

constexpr std::uint64_t localKeyBit = std::uint64_t{1} << 63;

[[noreturn]] void ThrowUnknownToken(std::string_view token, const char* function) {
  const std::string message = "Unknown token: " + std::string(token);
  ZT_THROW(CDataException, message.c_str(), function, source, tokenLine);
}

[[noreturn]] void ThrowUnknownIndex(std::uint64_t position) {
  char message[64];
  std::snprintf(message, sizeof message, "Unknown index: %llu",
                static_cast<unsigned long long>(position));
  ZT_THROW(CDataException, message, "CData::At", source, indexLine);
}

}  // namespace

CData::CData() = default;

CData::CData(const CData& other) : elements(other.elements), localNames(other.localNames) {}

CData::CData(CData&& other) noexcept = default;

CData& CData::operator=(CData other) noexcept {
  elements.swap(other.elements);
  localNames.swap(other.localNames);
  index.swap(other.index);
  return *this;
}

CData::~CData() = default;

void CData::Reserve(std::uint64_t count) {
  elements.reserve(count);
}

void CData::Clear() {
  elements.clear();
  localNames.clear();
  index.reset();
}

// A client's block can announce a node with every seven bytes, so room is taken only by nodes that
// get an element.
CDataElement& CData::Push(std::int64_t key, CDataValue&& value) {
  if (elements.capacity() == 0) elements.reserve(firstReserve);
  CDataElement& element = elements.emplace_back();
  element.key = key;
  element.value = std::move(value);
  if (index != nullptr && key != 0) {
    index->Enter(KeyHash(key), elements.size() - 1);
    if (index->IsFull()) BuildIndex();
  }
  return element;
}

void CData::Push(Token token, CDataValue&& value) {
  const bool known = token > 0 && token < TokenCount;
  Push(std::int64_t{known ? token : Tok::Empty}, std::move(value));
}

void CData::AddBool(Token token, bool value) {
  Push(token, CDataValue::OfBool(value));
}

void CData::AddByte(Token token, std::uint8_t value) {
  Push(token, CDataValue::OfByte(value));
}

void CData::AddShort(Token token, std::int16_t value) {
  Push(token, CDataValue::OfShort(value));
}

void CData::AddInt(Token token, std::int32_t value) {
  Push(token, CDataValue::OfInt(value));
}

void CData::AddLongLong(Token token, std::int64_t value) {
  Push(token, CDataValue::OfLongLong(value));
}

void CData::AddDouble(Token token, double value) {
  Push(token, CDataValue::OfDouble(value));
}

void CData::AddString(Token token, std::string value) {
  Push(token, CDataValue::OfString(std::move(value)));
}

void CData::AddWideString(Token token, std::u16string value) {
  Push(token, CDataValue::OfWideString(std::move(value)));
}

void CData::AddByteArray(Token token, std::vector<std::uint8_t> value) {
  Push(token,
       CDataValue::OfByteArray(std::make_unique<std::vector<std::uint8_t>>(std::move(value))));
}

void CData::AddShortArray(Token token, std::vector<std::int16_t> value) {
  Push(token,
       CDataValue::OfShortArray(std::make_unique<std::vector<std::int16_t>>(std::move(value))));
}

void CData::AddGuid(Token token, const CGuid& value) {
  Push(token, CDataValue::OfGuid(std::make_unique<CGuid>(value)));
}

void CData::AddTime(Token token, std::uint64_t value) {
  Push(token, CDataValue::OfTime(value));
}

void CData::AddBinary(Token token, std::shared_ptr<CBinData> value) {
  Push(token, CDataValue::OfBinary(std::move(value)));
}

CData& CData::AddChild(Token token) {
  return AddChild(token, CData());
}

CData& CData::AddChild(Token token, CData&& child) {
  auto owned = std::make_unique<CData>(std::move(child));
  CData& result = *owned;
  Push(token, CDataValue::OfNode(std::move(owned)));
  return result;
}

CDataElement& CData::Append(std::string_view name, CDataValue value) {
  std::int64_t key = TokenOf(name);
  if (key == 0 && !name.empty()) {
    key = static_cast<std::int64_t>(localKeyBit | localNames.size());
    localNames.emplace_back(name);
  }
  return Push(key, std::move(value));
}

std::int64_t CData::Find(Token token) const {
  if (token <= 0) return -1;
  if (index != nullptr)
    return index->Find(TokenHash(token), [this, token](std::uint64_t position) {
      return elements[position].key == token;
    });
  for (std::uint64_t i = 0; i < elements.size(); ++i)
    if (elements[i].key == token) return static_cast<std::int64_t>(i);
  return -1;
}

std::int64_t CData::FindByName(std::string_view name) const {
  if (name.empty()) return -1;
  const auto matches = [this, name](std::uint64_t position) {
    return KeyText(elements[position].key) == name;
  };
  if (index == nullptr && elements.size() > largestScanned) BuildIndex();
  if (index != nullptr) return index->Find(NameHash(name), matches);
  for (std::uint64_t i = 0; i < elements.size(); ++i)
    if (matches(i)) return static_cast<std::int64_t>(i);
  return -1;
}

std::int64_t CData::Exists(Token token, std::uint16_t kind) const {
  const std::int64_t position = Find(token);
  return position >= 0 && elements[position].value.GetKind() == kind ? position : -1;
}

const CDataValue* CData::Find(Token token, std::uint16_t kind) const {
  const std::int64_t position = Exists(token, kind);
  return position >= 0 ? &elements[static_cast<std::size_t>(position)].value : nullptr;
}

CDataValue* CData::Find(Token token, std::uint16_t kind) {
  return const_cast<CDataValue*>(std::as_const(*this).Find(token, kind));
}

std::int32_t CData::GetInt(Token token, std::int32_t def) const {
  const CDataValue* const value = Find(token, cdInt);
  return value ? value->GetInt() : def;
}

double CData::GetDouble(Token token, double def) const {
  const CDataValue* const value = Find(token, cdDouble);
  return value ? value->GetDouble() : def;
}

bool CData::GetBool(Token token, bool def) const {
  const CDataValue* const value = Find(token, cdBool);
  return value ? value->GetBool() : def;
}

std::int64_t CData::GetLongLong(Token token, std::int64_t def) const {
  const CDataValue* const value = Find(token, cdLongLong);
  return value ? value->GetLongLong() : def;
}

const CData& CData::Child(Token token) const {
  const std::int64_t position = Find(token);
  const CData* child = position >= 0 ? elements[position].value.GetNode() : nullptr;
  if (child == nullptr) ThrowUnknownToken(TokenText(token), "CData::Child");
  return *child;
}

CData& CData::Child(Token token) {
  return const_cast<CData&>(std::as_const(*this).Child(token));
}

const CDataElement& CData::At(std::uint64_t position) const {
  if (position >= elements.size()) ThrowUnknownIndex(position);
  return elements[position];
}

CDataElement& CData::At(std::uint64_t position) {
  return const_cast<CDataElement&>(std::as_const(*this).At(position));
}

const CDataValue& CData::ValueAt(std::uint64_t position, std::uint16_t kind) const {
  const CDataValue& value = At(position).value;
  if (value.GetKind() != kind) ThrowUnknownToken(std::to_string(position), "CData::ValueAt");
  return value;
}

const CData* CData::NodeAt(std::uint64_t position) const {
  return ValueAt(position, cdNode).GetNode();
}

const std::vector<std::int16_t>* CData::ShortArrayAt(std::uint64_t position) const {
  return ValueAt(position, cdShortArray).GetShortArray();
}

int CData::Type(std::uint64_t position) const {
  if (position >= elements.size()) return -1;
  switch (elements[position].value.GetKind()) {
    case cdBool:
      return 0;
    case cdInt:
      return 1;
    case cdDouble:
      return 2;
    case cdString:
      return 3;
    case cdBinary:
      return 4;
    case cdNode:
      return 5;
    default:
      return -1;
  }
}

void CData::RemoveAt(std::uint64_t position) {
  if (position >= elements.size()) return;
  const bool indexed = std::exchange(index, nullptr) != nullptr;
  elements.erase(elements.begin() + static_cast<std::ptrdiff_t>(position));
  if (indexed) BuildIndex();
}

void CData::RemoveAll(Token token) {
  if (token <= 0) return;
  const bool indexed = std::exchange(index, nullptr) != nullptr;
  std::erase_if(elements, [token](const CDataElement& element) { return element.key == token; });
  if (indexed) BuildIndex();
}

std::string_view CData::LocalName(std::int64_t key) const {
  const std::uint64_t local = static_cast<std::uint64_t>(key) & ~localKeyBit;
  return local < localNames.size() ? std::string_view(localNames[local]) : std::string_view();
}

std::uint64_t CData::KeyHash(std::int64_t key) const {
  return key > 0 && key < TokenCount ? TokenHash(static_cast<Token>(key)) : NameHash(KeyText(key));
}

// One pass over the elements, as is the move of the tail when one is removed.
void CData::BuildIndex() const {
  auto built = std::make_unique<CDataIndex>(elements.size());
  for (std::uint64_t i = 0; i < elements.size(); ++i)
    if (elements[i].key != 0) built->Enter(KeyHash(elements[i].key), i);
  index = std::move(built);
}

}  // namespace ztlib
