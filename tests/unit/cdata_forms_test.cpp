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

// Hexadecimal pairs, with text in single quotes: "42 02 'Id' 01000000 01".
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

// Writes into a block of exactly the measured size, so that the sanitizer sees one byte too many.
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

// Depth of the tree along the last elements.
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
