#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

// The deepest tree that the library reads; who descends into nodes stops there as well.
inline constexpr int maxTreeDepth = 256;

// One element of a tree in the tagged form, as it stands in the block. docs/formats.md has the
// tags.
struct CTaggedElement {
  char tag = 0;
  char subtype = 0;  // of '*': '1' for bytes, '2' for 16-bit numbers
  std::string_view name;
  std::span<const std::uint8_t> value;     // without the subtype of '*' and the metadata of 'X'
  std::span<const std::uint8_t> metadata;  // of 'X'
};

// Walks over the elements of one node. A block is a node, and so is the value of an '@'. The bytes
// may come from anywhere: what is no element ends the walk, as it does in the library.
class CTaggedReader {
 public:
  explicit CTaggedReader(std::span<const std::uint8_t> node) : rest(node) {}

  // Nothing at the end.
  [[nodiscard]] std::optional<CTaggedElement> Next();
  // Whether the walk has ended at something that is no element; Rest() then begins with it.
  [[nodiscard]] bool IsDamaged() const { return isDamaged; }
  [[nodiscard]] std::span<const std::uint8_t> Rest() const { return rest; }

 private:
  std::span<const std::uint8_t> rest;
  bool isAtStart = true, isDamaged = false;
};

// The first element of that name, which is the one that counts. Nothing if it has another tag.
[[nodiscard]] std::optional<CTaggedElement> Find(std::span<const std::uint8_t> node,
                                                 std::string_view name, char tag);

// A number of up to eight bytes, and one of the tag 'F'.
[[nodiscard]] std::uint64_t UnsignedOf(std::span<const std::uint8_t> value);
[[nodiscard]] double DoubleOf(const CTaggedElement& element);
