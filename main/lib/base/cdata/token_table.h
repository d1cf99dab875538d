#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace ztlib {

// The fixed table of element names. A token is a row number; 0 is the empty name.
using Token = std::int32_t;

namespace Tok {
enum : Token {
  Empty = 0,
#define ZT_TOKEN(name) name,
#include "main/lib/base/cdata/token_list.inc"
#undef ZT_TOKEN
};
}  // namespace Tok

// The last seven rows are GUID texts without a constant.
inline constexpr Token TokenCount = 826;

static_assert(Tok::Config == 76 && Tok::Default == 100 && Tok::Minimum == 440 &&
              Tok::Options == 488 && Tok::Enum == 818 && Tok::Enum + 8 == TokenCount);

// A name of the table and its NameHash.
struct TokenRow {
  std::string_view text;
  std::uint64_t hash;
};
// Constant data: usable before any constructor has run.
extern const std::array<TokenRow, TokenCount> tokenRows;

// A token outside of the table reads as the empty name.
[[nodiscard]] inline const TokenRow& TokenRowOf(Token token) {
  const bool known = static_cast<std::uint32_t>(token) < tokenRows.size();
  return tokenRows[known ? static_cast<std::size_t>(token) : 0];
}
[[nodiscard]] inline std::string_view TokenText(Token token) {
  return TokenRowOf(token).text;
}
[[nodiscard]] inline std::uint64_t TokenHash(Token token) {
  return TokenRowOf(token).hash;
}
// 0 when the table has no such name. Case counts.
[[nodiscard]] Token TokenOf(std::string_view name);
// MurmurHash64A, as std::hash<std::string> of libstdc++ has it.
[[nodiscard]] std::uint64_t NameHash(std::string_view name);

}  // namespace ztlib
