#pragma once

#include "ztlib.h"

#include <cstdint>
#include <string>
#include <string_view>

// Builds a block in the tagged form, as configurations are: an element is a tag, the length of the
// name, the name, the size of the value (32 bits, little-endian) and the value; a zero byte ends
// the tree.
class CTaggedWriter {
 public:
  // Longer names could not be read back.
  static constexpr std::size_t maxNameSize = 127;

  CTaggedWriter& Int(std::string_view name, std::int32_t value);
  CTaggedWriter& Bool(std::string_view name, bool value);
  CTaggedWriter& Node(std::string_view name, const CTaggedWriter& node);
  // Any other kind; the value as it stands in the block, below 4 GiB.
  CTaggedWriter& Element(char tag, std::string_view name, std::string_view value);

  // The finished block. It is valid until the next element is written.
  [[nodiscard]] ztlib_blob Block() const;
  [[nodiscard]] const std::string& Bytes() const { return bytes; }

 private:
  std::string bytes = std::string(1, '\0');
};

// A number as blocks hold it, in that many bytes.
[[nodiscard]] std::string NumberBytes(std::uint64_t value, int size);
