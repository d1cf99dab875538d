#include "main/lib/base/byte_io.h"
#include "main/lib/base/cdata/HAData.h"
#include "tests/support/common.h"

#include <filesystem>
#include <fstream>
#include <stdexcept>

using namespace ztlib;

namespace {

using Block = std::vector<std::uint8_t>;

Block Tagged(const CData& data) {
  const CBinData block = ToTagged(data);
  return {block.Data(), block.Data() + block.Size()};
}

// Parses a copy on the heap of exactly this size, so that the sanitizer sees a read behind it.
CData ParsedTagged(Block bytes) {
  bytes.shrink_to_fit();
  CData data;
  data.AddInt(Tok::Bits, 1);
  EXPECT_TRUE(ParseTagged(data, bytes.data(), bytes.size()));
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

TEST(TaggedForm, AnEmptyValueEndsTheFormBehindWhatIsGood) {
  CData data;
  CData& child = data.AddChild(Tok::Config);
  child.AddBool(Tok::Active, true);
  child.Append("empty", {});
  data.AddInt(Tok::Fps, 2);
  Block bytes(TaggedSize(data));
  EXPECT_EQ(WriteTagged(data, bytes.data()), nullptr);
  EXPECT_EQ(Tagged(data), bytes);
  const CData read = ParsedTagged(bytes);
  EXPECT_EQ(read.Count(), 1U);
  EXPECT_EQ(read.Child(Tok::Config).Count(), 1U);
}

TEST(TaggedForm, ALimitedListEndsBehindItsLastAllowedNode) {
  CData data, read;
  const auto fill = [](CData& list) {
    for (int i = 0; i < 3; ++i) {
      list.AddChild(Tok::Empty);
      list.AddBool(Tok::Empty, true);
    }
  };
  fill(data);
  fill(data.AddChild(Tok::Config));
  const Block bytes = Tagged(data);
  const CDataListLimit limit{Tok::Config, 2};
  EXPECT_TRUE(ParseTagged(read, bytes.data(), bytes.size(), 0, &limit));
  EXPECT_EQ(read.Count(), 7U);
  EXPECT_EQ(read.Child(Tok::Config).Count(), 3U);
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
    Block tagged, counted = {1, 0, 0, 0};
    for (int i = depth; i > 0; --i) {
      const Block head = {'@', 0, 0, 0, 0, 0};
      tagged.insert(tagged.end(), head.begin(), head.end());
      StoreLE(tagged.data() + tagged.size() - 4, static_cast<std::uint32_t>(6 * (i - 1)));
      const Block element = {5, 0, static_cast<std::uint8_t>(i > 1), 0, 0, 0};
      counted.insert(counted.end(), element.begin(), element.end());
    }
    EXPECT_EQ(Depth(ParsedTagged(tagged)), cdDeepestNode);
    EXPECT_EQ(Depth(ParsedCounted(counted)), cdDeepestNode);
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

  for (const Block& bytes :
       {Block{}, {5}, {5, 0, 0, 0, 0}, {4, 0, 0, 0, 0, 0}, {5, 1, 0, 0, 0, 0}}) {
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes.data()),
               static_cast<std::streamsize>(bytes.size()));
    EXPECT_FALSE(LoadCountedFile(read, path.c_str())) << bytes.size();
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
  EXPECT_EQ(out, (Block{1, 2, 3, 4, 'x'}));
  const std::string text = "0123456789abcdefghijklmnopqrstuvwxyz";
  for (std::size_t count = 0; count <= text.size(); ++count) {
    std::string copy(count + 1, '.');
    CopyShort(reinterpret_cast<std::uint8_t*>(copy.data()), text.data(), count);
    EXPECT_EQ(copy, text.substr(0, count) + ".");
  }
}

}  // namespace
