#pragma once

#include "include/ztlib.h"

#include <cstdint>
#include <initializer_list>
#include <stdexcept>
#include <string>
#include <string_view>

namespace kit {

// Writes a tree in the tagged form, in which the library gets configurations, without its code.
// Elements keep the order in which they were added, and names may repeat. An element without a name
// has the name "". Numbers are written in the byte order of this machine, which is little-endian.
//
//   const Config detector = Config().Double("Sensitivity", 80);
//   Config().Child("Configs", Config().Child("", detector)).Apply(ztlib_simplemotion_configure,
//                                                                 context, width, height);
//
// This is a value type; objects share nothing. A name of more than 127 bytes, which nothing could
// read back, throws std::length_error.
class Config {
 public:
  Config& Bool(std::string_view name, bool value) { return Number('B', name, value); }
  Config& Short(std::string_view name, std::int16_t value) { return Number('2', name, value); }
  Config& Int(std::string_view name, std::int32_t value) { return Number('I', name, value); }
  Config& Long(std::string_view name, std::int64_t value) { return Number('Q', name, value); }
  Config& Double(std::string_view name, double value) { return Number('F', name, value); }
  Config& Text(std::string_view name, std::string_view text) { return Raw('S', name, text); }
  // Polygons are such lists, with x and y in turn.
  Config& Shorts(std::string_view name, std::initializer_list<std::int16_t> values) {
    std::string bytes = "2";
    for (const std::int16_t value : values)
      bytes += BytesOf(value);
    return Raw('*', name, bytes);
  }
  // Adds a copy of `child` as it is now.
  Config& Child(std::string_view name, const Config& child) { return Raw('@', name, child.block); }
  // Adds any tag and value, sound or not.
  Config& Raw(char tag, std::string_view name, std::string_view value) {
    if (name.size() > 127) throw std::length_error("name of a tree element");
    block.pop_back();
    block += tag;
    block += static_cast<char>(name.size());
    block.append(name) += BytesOf(static_cast<std::uint32_t>(value.size()));
    block.append(value) += '\0';
    return *this;
  }

  // The block, which lives until the object changes or dies.
  [[nodiscard]] ztlib_blob Blob() const { return {block.data(), block.size()}; }

  // `configure` is an export that takes a handle, a configuration and then `more`.
  template <class Configure, class... More>
  void Apply(Configure configure, void* handle, More... more) const {
    const ztlib_blob blob = Blob();
    configure(handle, &blob, more...);
  }

 private:
  template <class T>
  static std::string BytesOf(T value) {
    return {reinterpret_cast<const char*>(&value), sizeof value};
  }
  template <class T>
  Config& Number(char tag, std::string_view name, T value) {
    return Raw(tag, name, BytesOf(value));
  }
  std::string block{'\0'};  // ends with the end of the root
};

}  // namespace kit
