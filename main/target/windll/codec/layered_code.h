#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace ztlib {

// The code of one layer: a Huffman code for bytes, made from their frequencies. It is read from the
// least significant bit up, several bytes at a step where their codes are short.
class LayeredCode {
 public:
  using Frequencies = std::array<std::uint16_t, 256>;

  // Decode may write this many bytes behind `count`.
  static constexpr std::size_t slack = 64;

  // The frequencies of bytes that are rare by nature are stored as bit planes, packed.
  static constexpr std::size_t modelHeadSize = 32;
  static constexpr std::size_t planeBlockSize = 480;
  // A model of at least modelHeadSize bytes, which may reach beyond its end; planes that are
  // missing are zero.
  [[nodiscard]] static Frequencies UnpackModel(std::span<const std::uint8_t> model);

  // Replaces the code. Of equal weights the order is part of the format.
  void Build(const Frequencies& frequencies);

  // The next bits of a coded stream; behind its end there are zeros.
  struct BitSource {
    std::uint64_t bits = 0;
    int filled = 0;
    std::span<const std::uint8_t> rest = {};

    // At least 56 bits, as long as the stream has them.
    void Refill();
    [[nodiscard]] bool IsAllZeros() const { return bits == 0 && rest.empty(); }
    void Drop(unsigned count) {
      bits >>= count;
      filled -= static_cast<int>(count);
    }
  };

  // Decodes `count` bytes or a few more, and returns how many. The next call goes on behind them.
  std::size_t Decode(std::uint8_t* out, std::size_t count, BitSource& in) const;

 private:
  // Node numbers from here on are leaves.
  static constexpr std::uint16_t firstLeaf = 256;
  static constexpr unsigned tableBits = 10;
  static constexpr std::size_t tableSize = std::size_t{1} << tableBits;

  struct Node {
    std::uint16_t successor[2];
  };
  // What a node or leaf is reached by.
  struct Reached {
    std::uint16_t node;
    std::uint8_t length;  // in bits
  };

  void BuildTree(const Frequencies& frequencies);
  void BuildTable();
  [[nodiscard]] std::uint8_t ByteOfZeros() const;

  std::array<Node, firstLeaf> tree;
  // For the next bits: up to six bytes, their number (bits 48 to 55) and the bits they take (56 to
  // 63). The number is 0 for a longer code; the node that it has got to stands in place of bytes.
  std::array<std::uint64_t, tableSize> table;
};

}  // namespace ztlib
