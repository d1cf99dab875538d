#pragma once

#include "tests/kit/bytes.h"

#include <algorithm>
#include <cstring>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>

namespace kit {

// Reads a node of a tree in the tagged form, in which the library gives results, without its code.
// The reader is strict: where the library skips damage, this throws std::invalid_argument. A search
// by name finds the first element of that name, and throws std::out_of_range if there is none or if
// it is of another kind. This is a value type; it keeps copies of the bytes that it has read.
class Tree {
 public:
  struct Element {
    char tag;
    std::string name;
    Bytes value;
  };
  std::vector<Element> elements;

  // The block is one node with its end, and nothing behind it.
  explicit Tree(std::span<const std::uint8_t> block) {
    const auto take = [&block](std::size_t size) {
      if (size > block.size()) throw std::invalid_argument("cut tree");
      const auto taken = block.first(size);
      block = block.subspan(size);
      return taken;
    };
    while (const auto tag = static_cast<char>(take(1)[0])) {
      const auto name = take(take(1)[0]);
      const auto value = take(As<std::uint32_t>(take(4)));
      elements.push_back({tag, {name.begin(), name.end()}, {value.begin(), value.end()}});
    }
    if (!block.empty()) throw std::invalid_argument("bytes behind a tree");
  }

  [[nodiscard]] std::int32_t Int(std::string_view name) const {
    return As<std::int32_t>(Value('I', name));
  }
  [[nodiscard]] double Double(std::string_view name) const { return As<double>(Value('F', name)); }
  [[nodiscard]] Tree Child(std::string_view name) const { return Tree(Value('@', name)); }
  // Returns the bytes of a binary, whose metadata must be empty.
  [[nodiscard]] Bytes Binary(std::string_view name) const {
    const Bytes& value = Value('X', name);
    if (value.empty() || value[0] != 0) throw std::invalid_argument("metadata of a binary");
    return {value.begin() + 1, value.end()};
  }

 private:
  template <class T>
  static T As(std::span<const std::uint8_t> bytes) {
    T value;
    if (bytes.size() != sizeof value) throw std::invalid_argument("size of a number");
    std::memcpy(&value, bytes.data(), sizeof value);
    return value;
  }
  [[nodiscard]] const Bytes& Value(char tag, std::string_view name) const {
    const auto found = std::ranges::find(elements, name, &Element::name);
    if (found == elements.end() || found->tag != tag) throw std::out_of_range(std::string(name));
    return found->value;
  }
};

}  // namespace kit
