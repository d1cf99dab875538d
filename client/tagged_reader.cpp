#include "client/tagged_reader.h"

#include "client/frame_header.h"

#include <bit>
#include <cstddef>

namespace {

using Bytes = std::span<const std::uint8_t>;

constexpr std::uint32_t maxPlainSize = 0x1000000;  // of all values but nodes and binaries

struct CParts {
  char tag;
  std::string_view name;
  Bytes value;
  std::size_t size;  // of the whole element
};

std::optional<CParts> Split(Bytes bytes) {
  if (bytes.size() < 2 || bytes[1] > 127) return std::nullopt;
  const std::size_t start = std::size_t{6} + bytes[1];
  if (bytes.size() < start) return std::nullopt;
  const std::uint32_t size = LittleEndian(bytes.subspan(start - 4).first<4>());
  if (size > bytes.size() - start) return std::nullopt;
  return CParts{static_cast<char>(bytes[0]),
                {reinterpret_cast<const char*>(bytes.data()) + 2, bytes[1]},
                bytes.subspan(start, size),
                start + size};
}

// -1 for values of any size; nothing for a tag that does not exist.
std::optional<int> SizeOf(char tag) {
  switch (tag) {
    case 'B':
    case '1':
      return 1;
    case '2':
      return 2;
    case 'I':
      return 4;
    case 'Q':
    case 'F':
    case 'T':
      return 8;
    case 'G':
      return 16;
    case 'S':
    case 'W':
    case '*':
    case 'X':
    case '@':
      return -1;
    default:
      return std::nullopt;
  }
}

// The size of a node whose elements may have any tags, its zero included; 0 if it has no end.
std::size_t MetadataSize(Bytes value) {
  for (std::size_t at = 0; at < value.size();) {
    if (value[at] == 0) return at + 1;
    const std::optional<CParts> parts = Split(value.subspan(at));
    if (!parts) return 0;
    at += parts->size;
  }
  return 0;
}

std::optional<CTaggedElement> Checked(const CParts& parts) {
  const std::optional<int> size = SizeOf(parts.tag);
  if (!size || (*size >= 0 && parts.value.size() != static_cast<std::size_t>(*size)))
    return std::nullopt;
  CTaggedElement element{parts.tag, 0, parts.name, parts.value, {}};
  Bytes& value = element.value;
  if (parts.tag == '@') return element;
  if (parts.tag == 'X') {
    const std::size_t metadata = MetadataSize(value);
    if (metadata == 0) return std::nullopt;
    element.metadata = value.first(metadata);
    value = value.subspan(metadata);
    return element;
  }
  if (value.size() > maxPlainSize) return std::nullopt;
  if (parts.tag == '*') {
    if (value.empty() || (value[0] != '1' && value[0] != '2')) return std::nullopt;
    element.subtype = static_cast<char>(value[0]);
    value = value.subspan(1);
  }
  if (parts.tag == 'W' || element.subtype == '2') value = value.first(value.size() / 2 * 2);
  return element;
}

}  // namespace

std::optional<CTaggedElement> CTaggedReader::Next() {
  // The zero at the end may be any byte, or missing.
  if (isDamaged || rest.empty() || rest[0] == 0 || (!isAtStart && rest.size() == 1))
    return std::nullopt;
  const std::optional<CParts> parts = Split(rest);
  std::optional<CTaggedElement> element;
  if (parts) element = Checked(*parts);
  isDamaged = !element;
  if (element) rest = rest.subspan(parts->size);
  isAtStart = false;
  return element;
}

std::optional<CTaggedElement> Find(Bytes node, std::string_view name, char tag) {
  CTaggedReader reader(node);
  while (const std::optional<CTaggedElement> element = reader.Next())
    if (element->name == name) return element->tag == tag ? element : std::nullopt;
  return std::nullopt;
}

std::uint64_t UnsignedOf(Bytes value) {
  std::uint64_t number = 0;
  for (std::size_t i = 0; i < value.size(); ++i)
    number |= std::uint64_t{value[i]} << 8 * i;
  return number;
}

double DoubleOf(const CTaggedElement& element) {
  return std::bit_cast<double>(UnsignedOf(element.value));
}
