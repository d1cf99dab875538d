#pragma once

#include "include/ztlib.h"

#include <cstdint>
#include <string>

// A flat configuration tree in the tagged form, written without the library.
class CodecConfig {
 public:
  CodecConfig& Int(const char* name, std::int32_t value) { return Add('I', name, &value, 4); }
  CodecConfig& Bool(const char* name, bool value) { return Add('B', name, &value, 1); }
  CodecConfig& Short(const char* name, std::int16_t value) { return Add('2', name, &value, 2); }

  // `configure` is an export that takes a handle and a configuration, and `more` behind them.
  template <class Configure, class... More>
  void Apply(Configure configure, void* object, More... more) const {
    const ztlib_blob blob{bytes.data(), bytes.size()};
    configure(object, &blob, more...);
  }

 private:
  CodecConfig& Add(char tag, const std::string& name, const void* value, std::uint32_t size) {
    bytes += tag;
    bytes += static_cast<char>(name.size());
    bytes += name;
    bytes.append(reinterpret_cast<const char*>(&size), sizeof size);
    bytes.append(static_cast<const char*>(value), size);
    return *this;
  }
  std::string bytes;
};
