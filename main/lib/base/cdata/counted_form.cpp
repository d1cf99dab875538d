#include "main/lib/base/cdata/counted_form.h"

#include "main/lib/base/byte_io.h"
#include "main/lib/base/cdata/HAData.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <cstdio>
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

enum Type : std::uint8_t { typeBool, typeInt, typeFloat, typeString, typeByteArray, typeNode };

// Type, name length and four bytes of value, length or count: no element is smaller.
constexpr std::uint64_t smallestElement = 6;

// Of the file: the root's type and its empty name.
constexpr std::array<std::uint8_t, 2> rootHeader = {typeNode, 0};

// Every kind but nodes counts four bytes of value, written or not; the sizes of files rest on it.
std::uint64_t NodeSize(const CData& node) {
  std::uint64_t size = 4;
  for (const CDataElement& element : node.Elements()) {
    const CDataValue& value = element.value;
    size += 2 + node.WrittenName(element.key).size();
    if (value.GetKind() == cdNode)
      size += value.GetNode() != nullptr ? NodeSize(*value.GetNode()) : 4;
    else
      size += 4 + value.GetString().size() +
              (value.GetByteArray() != nullptr ? value.GetByteArray()->size() : 0);
  }
  return size;
}

void WriteLengthAndBytes(ByteWriter& out, const void* bytes, std::uint64_t length) {
  out.Write(static_cast<std::uint32_t>(length));
  out.WriteBytes(bytes, length);
}

void WriteNode(const CData& node, ByteWriter& out) {
  out.Write(static_cast<std::uint32_t>(node.Count()));
  for (const CDataElement& element : node.Elements()) {
    const CDataValue& value = element.value;
    const auto head = [&](Type type) {
      const std::string_view name = node.WrittenName(element.key);
      out.Write(type);
      out.Write(static_cast<std::uint8_t>(name.size()));
      out.WriteBytes(name.data(), name.size());
    };
    switch (value.GetKind()) {
      case cdBool:
        head(typeBool);
        out.Write(std::uint32_t{value.GetByte()});
        break;
      case cdInt:
        head(typeInt);
        out.Write(value.GetInt());
        break;
      case cdDouble:
        head(typeFloat);
        out.Write(static_cast<float>(value.GetDouble()));
        break;
      case cdString:
        head(typeString);
        WriteLengthAndBytes(out, value.GetString().data(), value.GetString().size());
        break;
      case cdByteArray: {
        static const std::vector<std::uint8_t> none;
        const auto& array = value.GetByteArray() != nullptr ? *value.GetByteArray() : none;
        head(typeByteArray);
        WriteLengthAndBytes(out, array.data(), array.size());
        break;
      }
      case cdNode:
        head(typeNode);
        if (value.GetNode() != nullptr)
          WriteNode(*value.GetNode(), out);
        else
          out.Write(std::uint32_t{0});
        break;
    }
  }
}

// False ends the parse on all levels: behind a fault there is no size by which to go on.
bool ParseNode(CData& node, std::uint32_t count, ByteReader& in, int depth) {
  node.Reserve(std::min<std::uint64_t>({16, count, in.Remaining() / smallestElement}));
  for (; count != 0; --count) {
    std::uint8_t type;
    std::int8_t nameLength;
    std::span<const std::uint8_t> nameBytes, bytes;
    // The value itself, or its length or count.
    std::uint32_t number;
    if (!in.Read(type) || type > typeNode || !in.Read(nameLength) || nameLength < 0 ||
        !in.ReadSpan(static_cast<std::uint8_t>(nameLength), nameBytes) || !in.Read(number))
      return false;
    const std::string_view name(reinterpret_cast<const char*>(nameBytes.data()), nameBytes.size());
    switch (type) {
      case typeBool:
        node.Append(name, CDataValue::OfBool(number != 0));
        break;
      case typeInt:
        node.Append(name, CDataValue::OfInt(static_cast<std::int32_t>(number)));
        break;
      case typeFloat:
        node.Append(name, CDataValue::OfDouble(std::bit_cast<float>(number)));
        break;
      case typeString:
        if (!in.ReadSpan(number, bytes)) return false;
        node.Append(name, CDataValue::OfString(std::string(bytes.begin(), bytes.end())));
        break;
      case typeByteArray:
        if (!in.ReadSpan(number, bytes)) return false;
        node.Append(name, CDataValue::OfByteArray(std::make_unique<std::vector<std::uint8_t>>(
                              bytes.begin(), bytes.end())));
        break;
      case typeNode: {
        if (depth == cdDeepestNode) return false;
        auto child = std::make_unique<CData>();
        const bool complete = ParseNode(*child, number, in, depth + 1);
        node.Append(name, CDataValue::OfNode(std::move(child)));
        if (!complete) return false;
        break;
      }
    }
  }
  return true;
}

struct FileCloser {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, FileCloser>;

}  // namespace

std::uint32_t CountedSize(const CData& data) {
  const std::uint64_t size = NodeSize(data);
  if (size > std::numeric_limits<std::uint32_t>::max())
    throw std::length_error("tree too large for the counted form");
  return static_cast<std::uint32_t>(size);
}

std::uint8_t* WriteCounted(const CData& data, std::uint8_t* out) {
  ByteWriter writer = ByteWriter::Unbounded(out);
  WriteNode(data, writer);
  return writer.Next();
}

bool ParseCounted(CData& data, std::uint32_t count, const std::uint8_t*& cursor,
                  std::uint64_t size) {
  data.Clear();
  ByteReader in(cursor, size);
  ParseNode(data, count, in, 0);
  cursor = in.Rest().data();
  return true;
}

bool SaveCountedFile(const CData& data, const char* path) {
  std::vector<std::uint8_t> bytes(rootHeader.size() + std::uint64_t{CountedSize(data)});
  std::ranges::copy(rootHeader, bytes.begin());
  const std::uint8_t* const end = WriteCounted(data, bytes.data() + rootHeader.size());
  const auto size = static_cast<std::size_t>(end - bytes.data());
  File file(std::fopen(path, "wb"));
  if (file == nullptr) return false;
  const bool written = std::fwrite(bytes.data(), 1, size, file.get()) == size;
  return std::fclose(file.release()) == 0 && written;
}

bool LoadCountedFile(CData& data, const char* path) {
  const File file(std::fopen(path, "rb"));
  if (file == nullptr) return false;
  std::vector<std::uint8_t> bytes;
  std::uint8_t chunk[512];
  while (const std::size_t count = std::fread(chunk, 1, sizeof chunk, file.get()))
    bytes.insert(bytes.end(), chunk, chunk + count);
  if (std::ferror(file.get()) != 0) return false;

  ByteReader in(bytes);
  std::array<std::uint8_t, 2> header;
  std::uint32_t count;
  if (!in.Read(header[0]) || !in.Read(header[1]) || header != rootHeader || !in.Read(count))
    return false;
  const std::uint8_t* cursor = in.Rest().data();
  return ParseCounted(data, count, cursor, in.Remaining());
}

}  // namespace ztlib
