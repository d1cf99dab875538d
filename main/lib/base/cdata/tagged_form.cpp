#include "main/lib/base/cdata/tagged_form.h"

#include "main/lib/base/byte_io.h"
#include "main/lib/base/cdata/HAData.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <cstring>
#include <limits>
#include <memory>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace ztlib {

namespace {

// Of everything but nodes and binaries.
constexpr std::uint32_t largestValue = 0x1000000;
// Tag, name length and value size, without which no element stands.
constexpr std::uint64_t smallestElement = 6;

constexpr char byteSubtype = '1';
constexpr char shortSubtype = '2';

// `fixedSize` is 0 where values differ in size.
struct TagInfo {
  char tag;
  std::uint8_t fixedSize;
  std::uint16_t kind;
};

// By the number of the kind's bit.
constexpr std::array<TagInfo, 14> tagInfos = {{{'B', 1, cdBool},
                                               {'1', 1, cdByte},
                                               {'2', 2, cdShort},
                                               {'I', 4, cdInt},
                                               {'Q', 8, cdLongLong},
                                               {'F', 8, cdDouble},
                                               {'S', 0, cdString},
                                               {'W', 0, cdWideString},
                                               {'*', 0, cdByteArray},
                                               {'*', 0, cdShortArray},
                                               {'G', sizeof(CGuid::bytes), cdGuid},
                                               {'T', 8, cdTime},
                                               {'X', 0, cdBinary},
                                               {'@', 0, cdNode}}};

const TagInfo& InfoOfKind(std::uint16_t kind) {
  return tagInfos[std::countr_zero(kind)];
}

// Kind and size by tag; kind 0 for a byte that is no tag.
constexpr std::array<TagInfo, 256> infosByTag = [] {
  std::array<TagInfo, 256> infos{};
  for (const TagInfo& info : tagInfos)
    infos[static_cast<std::uint8_t>(info.tag)] = info;
  return infos;
}();

std::uint64_t NodeSize(const CData& node);

std::uint64_t ValueSize(const CDataValue& value) {
  switch (value.GetKind()) {
    case cdString:
      return value.GetString().size();
    case cdWideString:
      return value.GetWideString().size() * 2;
    case cdByteArray:
      return 1 + (value.GetByteArray() != nullptr ? value.GetByteArray()->size() : 0);
    case cdShortArray:
      return 1 + (value.GetShortArray() != nullptr ? value.GetShortArray()->size() * 2 : 0);
    case cdBinary:
      return 1 + (value.GetBinary() != nullptr ? value.GetBinary()->Size() : 0);
    case cdNode:
      return value.GetNode() != nullptr ? NodeSize(*value.GetNode()) : 1;
    case cdEmpty:
      return 0;
    default:
      return InfoOfKind(value.GetKind()).fixedSize;
  }
}

std::uint64_t NodeSize(const CData& node) {
  std::uint64_t size = 1;
  for (const CDataElement& element : node.Elements())
    size += smallestElement + node.WrittenName(element.key).size() + ValueSize(element.value);
  return size;
}

// Gives the place of the size of the value, which follows.
std::uint8_t* WriteHead(ByteWriter& out, std::string_view name, std::uint16_t kind) {
  std::uint8_t* const head = out.Take(smallestElement + name.size());
  head[0] = static_cast<std::uint8_t>(InfoOfKind(kind).tag);
  head[1] = static_cast<std::uint8_t>(name.size());
  CopyShort(head + 2, name.data(), name.size());
  return head + 2 + name.size();
}

bool WriteValue(const CDataValue& value, ByteWriter& out) {
  switch (value.GetKind()) {
    case cdBool:
    case cdByte:
      out.Write(value.GetByte());
      break;
    case cdShort:
      out.Write(value.GetShort());
      break;
    case cdInt:
      out.Write(value.GetInt());
      break;
    case cdLongLong:
      out.Write(value.GetLongLong());
      break;
    case cdDouble:
      out.Write(value.GetDouble());
      break;
    case cdTime:
      out.Write(value.GetTime());
      break;
    case cdString:
      out.WriteBytes(value.GetString().data(), value.GetString().size());
      break;
    case cdWideString:
      out.WriteBytes(value.GetWideString().data(), value.GetWideString().size() * 2);
      break;
    case cdByteArray:
      out.Write(byteSubtype);
      if (const auto* array = value.GetByteArray()) out.WriteBytes(array->data(), array->size());
      break;
    case cdShortArray:
      out.Write(shortSubtype);
      if (const auto* array = value.GetShortArray())
        out.WriteBytes(array->data(), array->size() * 2);
      break;
    case cdGuid:
      out.WriteBytes(value.GetGuid() != nullptr ? value.GetGuid()->bytes : CGuid().bytes,
                     sizeof(CGuid::bytes));
      break;
    case cdBinary:
      out.Write('\0');  // the metadata, always empty
      if (const CBinData* binary = value.GetBinary().get())
        out.WriteBytes(binary->Data(), binary->Size());
      break;
    case cdNode:
      if (value.GetNode() != nullptr) return WriteTagged(*value.GetNode(), out);
      out.Write('\0');
      break;
  }
  return true;
}

// Passes over the elements in front of the payload of a binary value.
bool SkipMetadata(ByteReader& in) {
  for (;;) {
    std::uint8_t tag;
    std::int8_t nameLength;
    std::uint32_t size;
    if (!in.Read(tag)) return false;
    if (tag == 0) return true;
    if (!in.Read(nameLength) || nameLength < 0 || !in.Skip(static_cast<std::uint8_t>(nameLength)) ||
        !in.Read(size) || !in.Skip(size))
      return false;
  }
}

template <class Units>
Units ReadUnits(std::span<const std::uint8_t> bytes) {
  Units units(bytes.size() / sizeof(units[0]), {});
  if (!units.empty()) std::memcpy(units.data(), bytes.data(), units.size() * sizeof(units[0]));
  return units;
}

// What of a node is left out.
struct Omission {
  std::uint16_t skipMask = 0;
  std::uint64_t mostNodes = std::numeric_limits<std::uint64_t>::max();  // at least 1
  const CDataListLimit* limit = nullptr;                                // of a child
};

void ParseNode(CData& node, ByteReader in, int depth, Omission omission);

// The empty value when the bytes are invalid. A fixed size has been checked.
CDataValue ParseValue(std::uint16_t kind, std::span<const std::uint8_t> bytes, int depth,
                      Omission ofChild) {
  switch (kind) {
    case cdBool:
      return CDataValue::OfBool(bytes[0]);
    case cdByte:
      return CDataValue::OfByte(bytes[0]);
    case cdShort:
      return CDataValue::OfShort(LoadLE<std::int16_t>(bytes.data()));
    case cdInt:
      return CDataValue::OfInt(LoadLE<std::int32_t>(bytes.data()));
    case cdLongLong:
      return CDataValue::OfLongLong(LoadLE<std::int64_t>(bytes.data()));
    case cdDouble:
      return CDataValue::OfDouble(LoadLE<double>(bytes.data()));
    case cdTime:
      return CDataValue::OfTime(LoadLE<std::uint64_t>(bytes.data()));
    case cdString:
      return CDataValue::OfString(std::string(bytes.begin(), bytes.end()));
    case cdWideString:
      return CDataValue::OfWideString(ReadUnits<std::u16string>(bytes));
    case cdByteArray:
      return CDataValue::OfByteArray(
          std::make_unique<std::vector<std::uint8_t>>(bytes.begin(), bytes.end()));
    case cdShortArray:
      return CDataValue::OfShortArray(
          std::make_unique<std::vector<std::int16_t>>(ReadUnits<std::vector<std::int16_t>>(bytes)));
    case cdGuid: {
      auto guid = std::make_unique<CGuid>();
      std::ranges::copy(bytes, guid->bytes);
      return CDataValue::OfGuid(std::move(guid));
    }
    case cdBinary: {
      ByteReader in(bytes);
      if (!SkipMetadata(in)) return {};
      return CDataValue::OfBinary(std::make_shared<CBinData>(in.Rest().data(), in.Remaining()));
    }
    case cdNode: {
      if (depth == cdDeepestNode) return {};
      auto child = std::make_unique<CData>();
      ParseNode(*child, ByteReader(bytes), depth + 1, ofChild);
      return CDataValue::OfNode(std::move(child));
    }
    default:
      return {};
  }
}

// Ends at the first element that is no element or that does not lie wholly inside the node.
void ParseNode(CData& node, ByteReader in, int depth, Omission omission) {
  node.Reserve(std::min<std::uint64_t>(16, in.Remaining() / smallestElement));
  for (;;) {
    std::uint8_t tag;
    std::int8_t nameLength;
    std::uint32_t size;
    std::span<const std::uint8_t> name, bytes;
    if (!in.Read(tag) || !in.Read(nameLength) || nameLength < 0 ||
        !in.ReadSpan(static_cast<std::uint8_t>(nameLength), name) || !in.Read(size) ||
        !in.ReadSpan(size, bytes))
      return;
    auto [_, fixedSize, kind] = infosByTag[tag];
    if (kind == cdEmpty || (fixedSize != 0 && size != fixedSize)) return;
    if (size > largestValue && kind != cdNode && kind != cdBinary) return;
    if (tag == '*') {
      if (bytes.empty()) return;
      if (bytes[0] != byteSubtype && bytes[0] != shortSubtype) return;
      kind = bytes[0] == byteSubtype ? cdByteArray : cdShortArray;
      bytes = bytes.subspan(1);
    }
    if ((omission.skipMask & kind) != 0) continue;
    const std::string_view text{reinterpret_cast<const char*>(name.data()), name.size()};
    Omission ofChild;
    if (omission.limit && TokenOf(text) == omission.limit->list)
      ofChild.mostNodes = omission.limit->mostNodes;
    CDataValue value = ParseValue(kind, bytes, depth, ofChild);
    if (value.GetKind() == cdEmpty) return;
    node.Append(text, std::move(value));
    if (kind == cdNode && --omission.mostNodes == 0) return;
  }
}

}  // namespace

std::uint32_t TaggedSize(const CData& data) {
  return CheckTaggedSize(NodeSize(data));
}

std::uint32_t CheckTaggedSize(std::uint64_t size) {
  if (size > std::numeric_limits<std::uint32_t>::max())
    throw std::length_error("tree too large for the tagged form");
  return static_cast<std::uint32_t>(size);
}

std::uint8_t* BeginTagged(ByteWriter& out, Token name, std::uint16_t kind) {
  return WriteHead(out, TokenText(name), kind);
}

void EndTagged(const ByteWriter& out, std::uint8_t* size) {
  StoreLE(size, static_cast<std::uint32_t>(out.Next() - size - sizeof(std::uint32_t)));
}

// Closes the node also where it has to stop early, so that the bytes before the fault are a form.
bool WriteTagged(const CData& data, ByteWriter& out) {
  bool complete = true;
  for (const CDataElement& element : data.Elements()) {
    complete = element.value.GetKind() != cdEmpty;
    if (!complete) break;
    std::uint8_t* const size =
        WriteHead(out, data.WrittenName(element.key), element.value.GetKind());
    complete = WriteValue(element.value, out);
    EndTagged(out, size);
    if (!complete) break;
  }
  out.Write('\0');
  return complete;
}

std::uint8_t* WriteTagged(const CData& data, std::uint8_t* out) {
  ByteWriter writer = ByteWriter::Unbounded(out);
  return WriteTagged(data, writer) ? writer.Next() : nullptr;
}

CBinData ToTagged(const CData& data) {
  CBinData bytes = CBinData::Uninitialised(TaggedSize(data));
  ByteWriter writer({bytes.Data(), bytes.Size()});
  WriteTagged(data, writer);
  std::memset(writer.Next(), 0, writer.Room());
  return bytes;
}

bool ParseTagged(CData& data, const void* bytes, std::uint64_t size, std::uint16_t skipMask,
                 const CDataListLimit* limit) {
  data.Clear();
  ParseNode(data, ByteReader(bytes, size), 0, {.skipMask = skipMask, .limit = limit});
  return true;
}

}  // namespace ztlib
