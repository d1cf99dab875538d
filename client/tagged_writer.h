#pragma once

#include "ztlib.h"

#include <cstdint>
#include <string>
#include <string_view>

// Builds a configuration block for ztlib_encoder_config and ztlib_decoder_config: a tree in the
// tagged form. An element is a tag, the length of the name, the name, the size of the value (32
// bits, little-endian) and the value; a zero byte ends the tree.
class CTaggedWriter {
 public:
  CTaggedWriter& Int(std::string_view name, std::int32_t value);
  CTaggedWriter& Bool(std::string_view name, bool value);

  // The finished block. It is valid until the next element is written.
  [[nodiscard]] ztlib_blob Block() const;

 private:
  void Element(char tag, std::string_view name, std::string_view value);

  std::string bytes = std::string(1, '\0');
};
