#include "main/lib/base/cdata/HAData.h"
#include "main/lib/base/cdata/bindatastream.h"
#include "main/lib/base/exceptions.h"
#include "tests/support/common.h"
#include "tests/unit/rich_tree.h"

#include <string_view>

using namespace ztlib;

namespace {

TEST(CData, LookupAnswersForTheFirstElementAndItsOwnKind) {
  CData data;
  data.AddInt(TokenCount, 9);
  data.AddDouble(Tok::Bits, 2.5);
  data.AddInt(Tok::Bits, 7);
  data.AddBool(Tok::Active, true);
  data.AddLongLong(Tok::ViolationTimeMs, -5'000'000'000);
  data.AddInt(Tok::Config, 1);
  data.Append("Masks", CDataValue::OfNode(nullptr));
  EXPECT_EQ(data.At(0).key, 0);
  EXPECT_EQ(data.GetInt(Tok::Bits, 42), 42);
  EXPECT_EQ(data.GetDouble(Tok::Bits, 0) + data.GetDouble(Tok::Config, 1.5), 4);
  EXPECT_TRUE(data.GetBool(Tok::Active, false) && data.GetBool(Tok::Config, true));
  EXPECT_EQ(data.GetLongLong(Tok::ViolationTimeMs, 0), -5'000'000'000);
  EXPECT_EQ(data.GetLongLong(Tok::Config, 3), 3);
  for (const Token token : {Tok::Config, Tok::Masks, Tok::Figures})
    EXPECT_EQ(MessageOf<CDataException>([&] {
                data.Child(token);
              }).find("Unknown token: " + std::string(TokenText(token))),
              0u);
  EXPECT_EQ(MessageOf<CDataException>([&] { data.At(UINT64_MAX); }),
            "Unknown index: 18446744073709551615");
}

TEST(CData, CopiesAreDeepButShareBinaryBytes) {
  const CData original = RichTree();
  CData copy = original;
  copy.At(3).value = CDataValue::OfString("another kind");
  copy.Child(Tok::Config).AddInt(Tok::Bits, 1);
  copy.At(12).value.GetBinary()->Data()[0] = 'X';
  EXPECT_EQ(original.GetInt(Tok::Bits, 0), -3);
  EXPECT_EQ(original.Child(Tok::Config).Count(), 2u);
  EXPECT_EQ(original.At(12).value.GetBinary()->Data()[0], 'X');
  EXPECT_NE(original.At(8).value.GetByteArray(), copy.At(8).value.GetByteArray());
}

TEST(CBinData, WrapsSharesCutsAndResizes) {
  EXPECT_EQ(CBinData::Wrap(nullptr, 5).Size(), 0u);
  std::uint8_t bytes[4] = {1, 2, 3, 4};
  CBinData wrapped = CBinData::Wrap(bytes, 4), own(bytes, 4);
  wrapped.SetOffset(3);
  EXPECT_EQ(wrapped.Data(), bytes + 3);
  EXPECT_EQ(wrapped.Size(), 1u);
  wrapped.SetOffset(UINT64_MAX);
  EXPECT_EQ(wrapped.GetOffset(), 4u);
  const CBinData shared = own;
  own.Resize(1000);
  EXPECT_EQ(Bytes(own.Data(), own.Data() + own.Size()), Bytes(1000));
  EXPECT_EQ(shared.Size(), 4u);
}

TEST(BinDataStream, ReadsTheBlockAndNothingBehindIt) {
  int number = 0;
  bindatastream stream("x\n77", 3);
  EXPECT_TRUE(stream.ignore(2) >> number);
  EXPECT_EQ(number, 7);
  EXPECT_FALSE(bindatastream(nullptr, 0) >> number);
}

TEST(CGuid, ParsesSixteenPairsAndNothingLess) {
  const std::string text = "01234567-89AB-cdef-0011-223344556677";
  CGuid guid;
  for (const std::string& bad :
       {"{" + text + "}", text.substr(0, 34), text.substr(0, 8) + text.substr(9), std::string()}) {
    EXPECT_FALSE(CGuid::Parse(bad.c_str(), guid)) << bad;
    EXPECT_TRUE(guid.IsEmpty());
  }
  EXPECT_FALSE(CGuid::Parse(nullptr, guid));
  EXPECT_TRUE(CGuid::Parse((text + "} behind").c_str(), guid));
  EXPECT_EQ(guid.ToString(), "{01234567-89AB-CDEF-0011-223344556677}");
  // All bits are random except those of version and variant.
  Bytes anyBits(16), allBits(16, 0xFF), expectedAny(16, 0xFF), expectedAll(16);
  expectedAny[6] = 0x4F, expectedAny[8] = 0xBF;
  expectedAll[6] = 0x40, expectedAll[8] = 0x80;
  for (int round = 0; round < 100; ++round) {
    const CGuid fresh = CGuid::Generate();
    for (std::size_t i = 0; i < 16; ++i) {
      anyBits[i] |= fresh.bytes[i];
      allBits[i] &= fresh.bytes[i];
    }
  }
  EXPECT_EQ(anyBits, expectedAny);
  EXPECT_EQ(allBits, expectedAll);
}

TEST(TokenTable, RowsAreFoundByTheNamesThatTheyHaveOnTheWire) {
  std::string all;
  for (Token token = -1; token <= TokenCount; ++token)
    all += std::string(TokenText(token)) + "\n";
  EXPECT_EQ(HashOf({all.begin(), all.end()}), 0x7802fa3a47e9453U);
  EXPECT_EQ(TokenText(Tok::MeltinReduction), "MeltinReduction");
  for (const std::string_view name : {"config", "Config ", "Confi"})
    EXPECT_EQ(TokenOf(name), 0) << name;
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

}  // namespace
