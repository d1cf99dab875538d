#include "main/lib/base/cdata/HAData.h"

#include "main/lib/base/debug.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <bit>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <exception>
#include <memory>
#include <random>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

namespace {

constexpr char source[] = "main/lib/base/cdata/HAData";

constexpr std::uint64_t firstReserve = 16;
// Nodes up to this size are scanned.
constexpr std::uint64_t largestScanned = 50;

constexpr std::uint64_t localKeyBit = std::uint64_t{1} << 63;

[[noreturn]] void ThrowUnknownToken(std::string_view token, const char* function) {
  const std::string message = "Unknown token: " + std::string(token);
  ZT_THROW(CDataException, message.c_str(), function, source, __LINE__);
}

[[noreturn]] void ThrowUnknownIndex(std::uint64_t position) {
  char message[64];
  std::snprintf(message, sizeof message, "Unknown index: %llu",
                static_cast<unsigned long long>(position));
  ZT_THROW(CDataException, message, "CData::At", source, __LINE__);
}

}  // namespace

bool CGuid::IsEmpty() const {
  return *this == CGuid{};
}

CGuid CGuid::Generate() {
  CGuid guid;
  std::array<std::uint32_t, 4> words;
  try {
    std::random_device device;
    for (std::uint32_t& word : words)
      word = device();
  } catch (const std::exception&) {
    // No source of randomness: at least no two of this process are the same.
    static std::atomic<std::uint32_t> counter{0};
    const auto now = std::chrono::system_clock::now().time_since_epoch().count();
    const auto ticks = std::chrono::steady_clock::now().time_since_epoch().count();
    const auto place = reinterpret_cast<std::uintptr_t>(&guid);
    words = {static_cast<std::uint32_t>(now), static_cast<std::uint32_t>(ticks),
             static_cast<std::uint32_t>(place), counter++};
  }
  std::memcpy(guid.bytes, words.data(), sizeof guid.bytes);
  guid.bytes[6] = static_cast<std::uint8_t>((guid.bytes[6] & 0x0F) | 0x40);
  guid.bytes[8] = static_cast<std::uint8_t>((guid.bytes[8] & 0x3F) | 0x80);
  return guid;
}

bool CGuid::Parse(const char* text, CGuid& out) {
  CGuid read;
  std::uint8_t* b = read.bytes;
  if (text == nullptr ||
      std::sscanf(text,
                  "%02hhx%02hhx%02hhx%02hhx-%02hhx%02hhx-%02hhX%02hhx-%02hhx%02hhx-"
                  "%02hhx%02hhx%02hhx%02hhx%02hhx%02hhx",
                  b, b + 1, b + 2, b + 3, b + 4, b + 5, b + 6, b + 7, b + 8, b + 9, b + 10, b + 11,
                  b + 12, b + 13, b + 14, b + 15) != 16)
    return false;
  out = read;
  return true;
}

std::string CGuid::ToString() const {
  static constexpr char digits[] = "0123456789ABCDEF";
  std::string text = "{";
  for (int i = 0; i < 16; ++i) {
    if (i == 4 || i == 6 || i == 8 || i == 10) text += '-';
    text += digits[bytes[i] >> 4];
    text += digits[bytes[i] & 15];
  }
  return text += '}';
}

CBinData::CBinData(const void* data, std::uint64_t size) {
  if (data == nullptr) return;
  *this = Uninitialised(size);
  std::memcpy(bytes, data, size);
}

CBinData CBinData::Wrap(void* data, std::uint64_t size) {
  CBinData result;
  result.bytes = static_cast<std::uint8_t*>(data);
  result.length = data != nullptr ? size : 0;
  return result;
}

CBinData CBinData::Uninitialised(std::uint64_t size) {
  CBinData result;
  result.owner = std::make_shared_for_overwrite<std::uint8_t[]>(size);
  result.bytes = result.owner.get();
  result.length = size;
  return result;
}

void CBinData::Resize(std::uint64_t size) {
  owner = std::make_shared<std::uint8_t[]>(size);
  bytes = owner.get();
  length = size;
  offset = 0;
}

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

// A hash multimap from the hash of a name to the positions of the elements. The chain of a bucket
// is in ascending order, so that a search meets the first position first.
class CData::CDataIndex {
 public:
  explicit CDataIndex(std::uint64_t elementCount)
      : buckets(std::bit_ceil(elementCount * 3 / 2)), links(elementCount) {}

  // Positions are entered in ascending order; those of elements without a name are left out.
  void Enter(std::uint64_t hash, std::uint64_t position) {
    if (position >= links.size()) links.resize(position + 1);
    links[position] = {hash, end};
    Bucket& bucket = BucketOf(hash);
    (bucket.first == end ? bucket.first : links[bucket.last].next) = position;
    bucket.last = position;
  }
  // The load factor stays at 1 or below.
  [[nodiscard]] bool IsFull() const { return links.size() > buckets.size(); }

  // The first position with this hash that `matches`, or -1.
  template <class Matches>
  [[nodiscard]] std::int64_t Find(std::uint64_t hash, Matches matches) const {
    for (std::uint64_t at = BucketOf(hash).first; at != end; at = links[at].next)
      if (links[at].hash == hash && matches(at)) return static_cast<std::int64_t>(at);
    return -1;
  }

 private:
  static constexpr std::uint64_t end = UINT64_MAX;
  struct Bucket {
    std::uint64_t first = end;
    std::uint64_t last = end;
  };
  struct Link {
    std::uint64_t hash = 0;
    std::uint64_t next = end;
  };

  [[nodiscard]] Bucket& BucketOf(std::uint64_t hash) { return buckets[hash % buckets.size()]; }
  [[nodiscard]] const Bucket& BucketOf(std::uint64_t hash) const {
    return buckets[hash % buckets.size()];
  }

  std::vector<Bucket> buckets;
  std::vector<Link> links;  // by position
};

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

std::int32_t CData::GetInt(Token token, std::int32_t def) const {
  const std::int64_t position = Exists(token, cdInt);
  return position >= 0 ? elements[position].value.GetInt() : def;
}

double CData::GetDouble(Token token, double def) const {
  const std::int64_t position = Exists(token, cdDouble);
  return position >= 0 ? elements[position].value.GetDouble() : def;
}

bool CData::GetBool(Token token, bool def) const {
  const std::int64_t position = Exists(token, cdBool);
  return position >= 0 ? elements[position].value.GetBool() : def;
}

std::int64_t CData::GetLongLong(Token token, std::int64_t def) const {
  const std::int64_t position = Exists(token, cdLongLong);
  return position >= 0 ? elements[position].value.GetLongLong() : def;
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
