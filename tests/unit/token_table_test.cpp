#include "main/lib/base/cdata/token_table.h"

#include "tests/support/common.h"

#include <string_view>

using namespace ztlib;

namespace {

TEST(TokenTable, EveryRowIsFoundByItsNameAndHasItsHash) {
  for (Token token = 0; token < TokenCount; ++token) {
    const std::string_view text = TokenText(token);
    EXPECT_EQ(TokenOf(text), token) << text;
    EXPECT_EQ(TokenHash(token), std::hash<std::string_view>()(text)) << text;
  }
  std::string name;
  for (int i = 0; i < 40; ++i, name += static_cast<char>(250 - 37 * i))
    EXPECT_EQ(NameHash(name), std::hash<std::string>()(name)) << i;
  // The seed is no secret, so a client can send a name with the hash of another.
  EXPECT_EQ(NameHash("otherwis\x74\x6b\x66\x04\x83\xc9\xae\x59"), TokenHash(Tok::AbandonedObjects));
}

TEST(TokenTable, RowsStandWhereTheNumbersSayAndAreSpeltAsOnTheWire) {
  std::string all;
  for (Token token = -1; token <= TokenCount; ++token)
    all += std::string(TokenText(token)) + "\n";
  EXPECT_EQ(HashOf({all.begin(), all.end()}), 0x7802fa3a47e9453U);
  EXPECT_EQ(TokenText(Tok::MeltinReduction), "MeltinReduction");
  for (const std::string_view name : {"config", "Config ", "Confi", "no such name"})
    EXPECT_EQ(TokenOf(name), 0) << name;
}

}  // namespace
