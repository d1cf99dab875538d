#include "client/tagged_writer.h"

#include <cassert>

namespace {

std::string LittleEndian(std::uint32_t value) {
  std::string bytes;
  for (int shift = 0; shift < 32; shift += 8)
    bytes += static_cast<char>(value >> shift & 0xFF);
  return bytes;
}

}  // namespace

CTaggedWriter& CTaggedWriter::Int(std::string_view name, std::int32_t value) {
  Element('I', name, LittleEndian(static_cast<std::uint32_t>(value)));
  return *this;
}

CTaggedWriter& CTaggedWriter::Bool(std::string_view name, bool value) {
  Element('B', name, value ? std::string_view("\1", 1) : std::string_view("\0", 1));
  return *this;
}

ztlib_blob CTaggedWriter::Block() const {
  return {bytes.data(), bytes.size()};
}

void CTaggedWriter::Element(char tag, std::string_view name, std::string_view value) {
  assert(name.size() < 128);  // the reader takes the length as a signed byte
  bytes.pop_back();
  bytes += tag;
  bytes += static_cast<char>(name.size());
  bytes += name;
  bytes += LittleEndian(static_cast<std::uint32_t>(value.size()));
  bytes += value;
  bytes += '\0';
}
