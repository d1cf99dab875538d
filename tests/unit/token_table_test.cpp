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
}

TEST(TokenTable, RowsStandWhereTheNumbersSayAndAreSpeltAsOnTheWire) {
  using Row = std::pair<Token, std::string_view>;
  const Row rows[] = {Row(1, "AbandonedObjects"),
                      Row(76, "Config"),
                      Row(818, "Enum"),
                      Row(819, "{00000000-0000-0000-0000-000000000000}"),
                      Row(825, "{01E8C591-EE4D-5B3F-AB9D-75180DC9DCB6}"),
                      Row(Tok::EdgeAboveTresholdPercent, "EdgeAboveTresholdPercent"),
                      Row(Tok::MeltinReduction, "MeltinReduction"),
                      Row(-1, ""),
                      Row(826, ""),
                      Row(INT32_MIN, "")};
  for (const auto& [token, text] : rows)
    EXPECT_EQ(TokenText(token), text) << token;
  for (const std::string_view name : {"config", "Config ", "Confi", "no such name"})
    EXPECT_EQ(TokenOf(name), 0) << name;
}

TEST(TokenTable, HashAgreesWithTheStandardLibraryForEveryLength) {
  std::string name;
  for (int i = 0; i < 40; ++i) {
    EXPECT_EQ(NameHash(name), std::hash<std::string>()(name)) << i;
    name += static_cast<char>(250 - 37 * i);
  }
  // The seed is no secret, so a client can send a name with the hash of another.
  const std::string_view twin = "otherwis\x74\x6b\x66\x04\x83\xc9\xae\x59";
  EXPECT_EQ(NameHash(twin), TokenHash(Tok::AbandonedObjects));
}

}  // namespace
