#include "client/tagged_writer.h"

#include <cassert>

std::string NumberBytes(std::uint64_t value, int size) {
  std::string bytes;
  for (int i = 0; i < size; ++i)
    bytes += static_cast<char>(value >> 8 * i & 0xFF);
  return bytes;
}

CTaggedWriter& CTaggedWriter::Int(std::string_view name, std::int32_t value) {
  return Element('I', name, NumberBytes(static_cast<std::uint32_t>(value), 4));
}

CTaggedWriter& CTaggedWriter::Bool(std::string_view name, bool value) {
  return Element('B', name, NumberBytes(value, 1));
}

CTaggedWriter& CTaggedWriter::Node(std::string_view name, const CTaggedWriter& node) {
  return Element('@', name, node.bytes);
}

CTaggedWriter& CTaggedWriter::Element(char tag, std::string_view name, std::string_view value) {
  assert(name.size() <= maxNameSize);
  bytes.pop_back();
  bytes += tag;
  bytes += static_cast<char>(name.size());
  bytes += name;
  bytes += NumberBytes(value.size(), 4);
  bytes += value;
  bytes += '\0';
  return *this;
}

ztlib_blob CTaggedWriter::Block() const {
  return {bytes.data(), bytes.size()};
}
