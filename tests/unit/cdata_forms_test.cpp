#include "main/lib/base/byte_io.h"
#include "main/lib/base/cdata/HAData.h"
#include "tests/support/common.h"
#include "tests/unit/rich_tree.h"

#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string_view>

using namespace ztlib;

namespace {

using Block = std::vector<std::uint8_t>;

// Reads hexadecimal pairs, with text in single quotes: "42 02 'Id' 01000000 01".
Block Bytes(std::string_view text) {
  Block bytes;
  for (std::size_t i = 0; i < text.size();) {
    if (text[i] == ' ') {
      ++i;
    } else if (text[i] == '\'') {
      for (++i; text[i] != '\''; ++i)
        bytes.push_back(static_cast<std::uint8_t>(text[i]));
      ++i;
    } else {
      bytes.push_back(
          static_cast<std::uint8_t>(std::stoul(std::string(text.substr(i, 2)), nullptr, 16)));
      i += 2;
    }
  }
  return bytes;
}

// Writes into a block of exactly the measured size, so that a sanitizer sees a byte behind it.
Block Tagged(const CData& data) {
  Block bytes(TaggedSize(data));
  EXPECT_EQ(WriteTagged(data, bytes.data()), bytes.data() + bytes.size());
  const CBinData block = ToTagged(data);
  EXPECT_EQ(bytes, Block(block.Data(), block.Data() + block.Size()));
  return bytes;
}

// Parses a copy on the heap of exactly this size, for the same reason.
CData ParsedTagged(Block bytes, std::uint16_t skipMask = 0) {
  bytes.shrink_to_fit();
  CData data;
  data.AddInt(Tok::Bits, 1);
  EXPECT_TRUE(ParseTagged(data, bytes.data(), bytes.size(), skipMask));
  return data;
}

Block Counted(const CData& data) {
  Block bytes(CountedSize(data));
  bytes.resize(static_cast<std::size_t>(WriteCounted(data, bytes.data()) - bytes.data()));
  return bytes;
}

CData ParsedCounted(Block bytes) {
  bytes.shrink_to_fit();
  CData data;
  ByteReader in(bytes);
  if (std::uint32_t count; in.Read(count)) {
    const std::uint8_t* cursor = in.Rest().data();
    EXPECT_TRUE(ParseCounted(data, count, cursor, in.Remaining()));
    EXPECT_LE(cursor, bytes.data() + bytes.size());
  }
  return data;
}

constexpr std::string_view richTagged =
    "'B' 07 'Enabled' 01000000 02"
    "'1' 05 'Alpha' 01000000 c8"
    "'2' 02 'Dx' 02000000 feff"
    "'I' 04 'Bits' 04000000 fdffffff"
    "'Q' 05 'Count' 08000000 fcffffffffffffff"
    "'F' 06 'Factor' 08000000 000000000000f8bf"
    "'S' 04 'Name' 02000000 'ab'"
    "'W' 04 'Text' 02000000 ac20"
    "'*' 04 'Data' 03000000 '1' 01ff"
    "'*' 06 'Coords' 05000000 '2' ffff0200"
    "'G' 02 'ID' 10000000 01020000000000000000000000000000"
    "'T' 09 'EventTime' 08000000 0500000000000000"
    "'X' 06 'Motion' 04000000 00 'xyz'"
    "'@' 06 'Config' 14000000"
    "  'I' 03 'own' 04000000 04000000"
    "  'S' 00 00000000 00"
    "'*' 00 01000000 '1'  '*' 00 01000000 '2'  'G' 00 10000000 00000000000000000000000000000000"
    "'X' 00 01000000 00  '@' 00 01000000 00  00";

constexpr std::string_view richCounted =
    "08000000"
    "00 07 'Enabled' 02000000"
    "01 04 'Bits' fdffffff"
    "02 06 'Factor' cdcccc3d"
    "03 04 'Name' 02000000 'ab'"
    "04 04 'Data' 02000000 01ff"
    "04 00 00000000"
    "05 06 'Config' 01000000 01 03 'own' 04000000"
    "05 00 00000000";

TEST(TaggedForm, WritesAndReadsEveryKindByteByByte) {
  const Block bytes = Bytes(richTagged);
  EXPECT_EQ(Tagged(RichTree()), bytes);
  const CData data = ParsedTagged(bytes);
  EXPECT_EQ(Tagged(data), bytes);
  EXPECT_EQ(data.At(0).value.GetByte(), 2);
  EXPECT_EQ(data.At(13).key, Tok::Config);
  EXPECT_LT(data.Child(Tok::Config).At(0).key, 0);
  EXPECT_EQ(data.Child(Tok::Config).FindByName("own"), 0);
  EXPECT_EQ(Tagged(CData()), Bytes("00"));
}

TEST(TaggedForm, AnEmptyValueEndsTheFormBehindWhatIsGood) {
  CData data;
  CData& child = data.AddChild(Tok::Config);
  child.AddBool(Tok::Active, true);
  child.Append("empty", {});
  data.AddInt(Tok::Fps, 2);
  Block bytes(TaggedSize(data));
  EXPECT_EQ(WriteTagged(data, bytes.data()), nullptr);
  EXPECT_EQ(Tagged(ParsedTagged(bytes)),
            Bytes("'@' 06 'Config' 0e000000 'B' 06 'Active' 01000000 01 00 00"));
  const CBinData block = ToTagged(data);
  EXPECT_EQ(Block(block.Data(), block.Data() + block.Size()), bytes);
}

// Each case follows a good element, which is all that is read, or also the next one or two.
TEST(TaggedForm, AnInvalidElementEndsItsNodeAndKeepsWhatWasRead) {
  // The cases are sorted by the number of elements that are read behind the good one.
  const std::vector<std::string_view> cases[] = {
      // These lie behind the terminator or the end, or have no tag or wrong sizes of name or value.
      {"00 'B' 00 01000000 01", "'Y' 00 01000000 01", "'I' 00 03000000 010203",
       "'I' 00 05000000 0102030405", "'B' 00 02000000 0101", "'T' 00 04000000 01020304",
       "'G' 00 0f000000 000000000000000000000000000000 00", "'I' 80 04000000 01020304",
       "'I' ff 04000000 01020304", "'I' 7f 04000000 01020304", "'I' 00 04000000 010203",
       "'S' 00 ffffffff 'abc'", "'@' 00 ffffffff 00",
       // These have no subtype, or metadata that does not end.
       "'*' 00 00000000", "'*' 00 02000000 '3' 01", "'X' 00 00000000",
       "'X' 00 07000000 'I' 80 01000000 00", "'X' 00 07000000 'I' 00 ffffffff 00",
       "'X' 00 08000000 'Z' 01 'n' 01000000 00"},
      // Metadata is skipped, a child or text is empty, and odd sizes lose their last byte.
      {"'X' 00 0a000000 'Z' 01 'n' 01000000 07 00 ab", "'@' 00 00000000", "'S' 00 00000000",
       "'W' 00 03000000 610062", "'*' 00 04000000 '2' 010002"},
      // A bad child ends only itself.
      {"'@' 00 03000000 'I' 00 03 'B' 00 01000000 01"}};
  for (std::size_t more = 0; more < std::size(cases); ++more)
    for (const std::string_view text : cases[more]) {
      const CData data = ParsedTagged(Bytes("'I' 04 'Bits' 04000000 2a000000" + std::string(text)));
      EXPECT_EQ(data.Count(), 1 + more) << text;
      EXPECT_EQ(data.GetInt(Tok::Bits, 0), 42) << text;
    }
  const CData odd = ParsedTagged(Bytes("'W' 00 03000000 610062 '*' 00 04000000 '2' 010002"));
  EXPECT_EQ(odd.At(0).value.GetWideString(), u"a");
  EXPECT_EQ(*odd.At(1).value.GetShortArray(), std::vector<std::int16_t>{1});
  const CData metadata = ParsedTagged(Bytes("'X' 00 0a000000 'Z' 01 'n' 01000000 07 00 ab"));
  EXPECT_EQ(metadata.At(0).value.GetBinary()->Size(), 1u);
  EXPECT_EQ(metadata.At(0).value.GetBinary()->Data()[0], 0xAB);
  CData empty = RichTree();
  EXPECT_TRUE(ParseTagged(empty, nullptr, 0));
  EXPECT_EQ(empty.Count(), 0u);
}

TEST(TaggedForm, ALimitedListEndsBehindItsLastAllowedNode) {
  const std::string node = "'@' 00 01000000 00 'B' 00 01000000 01", list = "'@' 06 'Config' ";
  const std::string whole = node + node + node + list + "16000000" + node + "'@' 00 01000000 00";
  const Block bytes = Bytes(node + node + node + list + "2b000000" + node + node + node + "00");
  const CDataListLimit limit{Tok::Config, 2};
  CData read;
  EXPECT_TRUE(ParseTagged(read, bytes.data(), bytes.size(), 0, &limit));
  EXPECT_EQ(Tagged(read), Bytes(whole + "00 00"));
}

TEST(TaggedForm, ValuesAbove16MiBAreInvalidButForNodesAndBinaries) {
  for (const auto& [tag, size, read] : {std::tuple('S', 0x1000000U, 1U),
                                        {'S', 0x1000001, 0},
                                        {'X', 0x1000001, 1},
                                        {'@', 0x1000001, 1}}) {
    Block bytes(6 + std::size_t{size});
    bytes[0] = static_cast<std::uint8_t>(tag);
    StoreLE(bytes.data() + 2, size);
    EXPECT_EQ(ParsedTagged(bytes).Count(), read) << tag << size;
  }
}

TEST(TaggedForm, TheMaskPassesOverKindsOfTheRootOnly) {
  const CData whole = RichTree();
  for (int bit = 0; bit < 14; ++bit) {
    CData expected;
    for (const CDataElement& element : whole.Elements())
      if (element.value.GetKind() != 1 << bit)
        expected.Append(whole.KeyText(element.key), element.value);
    const CData data = ParsedTagged(Bytes(richTagged), static_cast<std::uint16_t>(1 << bit));
    EXPECT_EQ(Tagged(data), Tagged(expected)) << bit;
  }
  // Sizes are checked before the mask.
  EXPECT_EQ(ParsedTagged(Bytes("'I' 00 03000000 010203 'B' 00 01000000 01"), cdInt).Count(), 0u);
  // The inside of a binary that is skipped is not checked.
  EXPECT_EQ(ParsedTagged(Bytes("'X' 00 00000000 'B' 00 01000000 01"), cdBinary).Count(), 1u);
  // The name of a skipped element leaves nothing behind.
  const std::string_view named = "'I' 01 'a' 04000000 00000000 'B' 01 'b' 01000000 01";
  EXPECT_EQ(ParsedTagged(Bytes(named), cdInt).At(0).key, INT64_MIN);
}

TEST(BothForms, NamesAreCutToTheirLengthByteAndReadBelow128) {
  for (const std::size_t length : {127u, 128u, 255u, 256u, 300u}) {
    CData data, outer;
    data.Append(std::string(length, 'n'), CDataValue::OfInt(1));
    const Block tagged = Tagged(data);
    EXPECT_EQ(tagged.size(), 11 + length % 256);
    EXPECT_EQ(tagged[1], length % 256);
    // The same element is also read as metadata of a binary.
    outer.AddBinary(0, std::make_shared<CBinData>(tagged.data(), tagged.size()));
    Block binary = Tagged(outer);
    binary.erase(binary.begin() + 6);
    StoreLE(binary.data() + 2, static_cast<std::uint32_t>(tagged.size()));
    for (const CData& read :
         {ParsedTagged(tagged), ParsedCounted(Counted(data)), ParsedTagged(binary)})
      EXPECT_EQ(read.Count(), length % 256 < 128 ? 1U : 0U);
  }
}

// Returns the depth of the tree along the last elements.
int Depth(const CData& data) {
  const CData* child = data.Count() != 0 ? data.At(data.Count() - 1).value.GetNode() : nullptr;
  return child != nullptr ? 1 + Depth(*child) : 0;
}

TEST(BothForms, NestEndsAtTheLimit) {
  for (const int depth : {cdDeepestNode, cdDeepestNode + 1, 100'000}) {
    Block tagged, counted = Bytes("01000000");
    for (int i = depth; i > 0; --i) {
      const Block head = Bytes("'@' 00 00000000");
      tagged.insert(tagged.end(), head.begin(), head.end());
      StoreLE(tagged.data() + tagged.size() - 4, static_cast<std::uint32_t>(6 * (i - 1)));
      const Block element = Bytes(i > 1 ? "05 00 01000000" : "05 00 00000000");
      counted.insert(counted.end(), element.begin(), element.end());
    }
    EXPECT_EQ(Depth(ParsedTagged(tagged)), cdDeepestNode);
    EXPECT_EQ(Depth(ParsedCounted(counted)), cdDeepestNode);
  }
}

TEST(CountedForm, WritesAndReadsItsSixTypesByteByByte) {
  CData data;
  data.Append("Enabled", CDataValue::OfBool(2));
  data.AddInt(Tok::Bits, -3);
  data.AddByte(Tok::Alpha, 1);  // not expressible, as are its like
  data.AddDouble(Tok::Factor, 0.1);
  data.AddString(Tok::Name, "ab");
  data.AddByteArray(Tok::Data, {1, 255});
  data.Append("", CDataValue::OfByteArray(nullptr));
  data.AddChild(Tok::Config).Append("own", CDataValue::OfInt(4));
  data.Append("", CDataValue::OfNode(nullptr));
  Block bytes = Bytes(richCounted);
  const CData read = ParsedCounted(bytes);
  ++bytes[0];  // counted and measured all the same
  EXPECT_EQ(CountedSize(data), bytes.size() + 11);
  EXPECT_EQ(Counted(data), bytes);
  EXPECT_EQ(read.At(0).value.GetByte(), 1);
  EXPECT_EQ(read.GetDouble(Tok::Factor, 0), static_cast<double>(0.1f));
  EXPECT_EQ(read.Child(Tok::Config).FindByName("own"), 0);
  EXPECT_EQ(read.Count(), 8u);
}

TEST(CountedForm, AFaultEndsAllLevels) {
  const std::tuple<std::string_view, unsigned, unsigned> cases[] = {
      {"03000000 01 00 01000000 05 00 02000000 01 00 02000000 06 00 01000000 01 00 03000000", 2, 1},
      {"03000000 01 00 01000000 05 00 01000000 03 00 ffffffff 01 00 03000000", 2, 0},
      {"03000000 01 00 01000000 05 00 01000000 01 80 02000000 01 00 03000000", 2, 0},
      {"ffffffff 01 00 01000000 05 00 ffffffff 01 00 02000000", 2, 1},
      {"03000000 01 00 01000000 05 00 00000000 01 00 03000000", 3, 0},
      {"02000000 01 00 01000000 05 00 00000000 01 00 03000000", 2, 0},
  };
  for (const auto& [text, count, childCount] : cases) {
    const CData data = ParsedCounted(Bytes(text));
    ASSERT_EQ(data.Count(), count) << text;
    EXPECT_EQ(data.At(1).value.GetNode()->Count(), childCount) << text;
  }
}

TEST(CountedForm, FilesKeepTheTreeAndBadOnesLeaveTheTarget) {
  const std::string path =
      (std::filesystem::temp_directory_path() / ("ztlib_" + CGuid::Generate().ToString())).string();
  CData data;
  data.AddString(Tok::Name, std::string(5000, 'n'));
  data.AddChild(Tok::Config).AddInt(Tok::Bits, 7);
  ASSERT_TRUE(SaveCountedFile(data, path.c_str()));
  EXPECT_EQ(std::filesystem::file_size(path), 2 + CountedSize(data));
  CData read;
  ASSERT_TRUE(LoadCountedFile(read, path.c_str()));
  EXPECT_EQ(Counted(read), Counted(data));
  data.AddTime(Tok::EventTime, 1);
  ASSERT_TRUE(SaveCountedFile(data, path.c_str()));
  EXPECT_EQ(std::filesystem::file_size(path), 2 + Counted(data).size());

  for (const std::string_view text :
       {"", "05", "05 00 000000", "04 00 00000000", "05 01 00000000"}) {
    const Block bytes = Bytes(text);
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes.data()),
               static_cast<std::streamsize>(bytes.size()));
    EXPECT_FALSE(LoadCountedFile(read, path.c_str())) << text;
    EXPECT_EQ(read.Count(), 2u);
  }
  std::filesystem::remove(path);
  EXPECT_FALSE(LoadCountedFile(read, path.c_str()));
  EXPECT_FALSE(SaveCountedFile(data, (path + "/no/such/folder").c_str()));
}

TEST(BothForms, SizesAbove4GiBAreRefused) {
  CData data;
  auto binary = std::make_shared<CBinData>(CBinData::Wrap(&data, 1u << 31));
  data.AddBinary(Tok::Motion, binary);
  EXPECT_EQ(TaggedSize(data), (1u << 31) + 1 + 12 + 1);
  data.AddBinary(Tok::Motion, binary);
  EXPECT_THROW((void)TaggedSize(data), std::length_error);
  EXPECT_THROW((void)ToTagged(data), std::length_error);
}

TEST(ByteIo, WritesOnlyWhatFitsAsAWhole) {
  Block out(5);
  ByteWriter writer(out);
  writer.Write(std::uint32_t{0x04030201});
  EXPECT_THROW(writer.Write(std::uint16_t{5}), std::length_error);
  writer.WriteBytes("x", 1);
  EXPECT_THROW(writer.Write('y'), std::length_error);
  EXPECT_EQ(out, Bytes("01020304 'x'"));
  const std::string text = "0123456789abcdefghijklmnopqrstuvwxyz";
  for (std::size_t count = 0; count <= text.size(); ++count) {
    std::string copy(count + 1, '.');
    CopyShort(reinterpret_cast<std::uint8_t*>(copy.data()), text.data(), count);
    EXPECT_EQ(copy, text.substr(0, count) + ".");
  }
}

}  // namespace
