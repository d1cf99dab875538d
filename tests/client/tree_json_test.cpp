#include "client/tree_json.h"

#include "client/text.h"
#include "tests/support/common.h"

namespace {

using Damage = std::optional<std::size_t>;

std::span<const std::uint8_t> AsBytes(const std::string& block) {
  return {reinterpret_cast<const std::uint8_t*>(block.data()), block.size()};
}

std::string Element(char tag, const std::string& name, const std::string& value) {
  std::string element = tag + std::string(1, static_cast<char>(name.size())) + name;
  ztlib::TreeWriter::Append(element, value.size(), 4);
  return element + value;
}
std::string Node(const std::string& elements) {
  return elements + std::string(1, '\0');
}

std::string BlockText(const Json& tree) {
  const ztlib::TreeWriter block = BlockOf(tree, "x");
  return {block.Bytes().begin(), block.Bytes().end()};
}

struct CCase {
  const char* name;
  std::string elements;
  const char* json;
};
const std::string zero(1, '\0');
// There is a case of each kind, and one of each value that JSON itself cannot say.
const CCase cases[] = {
    {"empty", "", "{}"},
    {"bools", Element('B', "a", zero) + Element('B', "b", "\1") + Element('B', "c", "\7"),
     R"({"a":false,"b":true,"c":{"$bool":7}})"},
    {"integers",
     Element('1', "a", "\xFF") + Element('2', "b", "\xFE\xFF") +
         Element('I', "c", "\xFF\xFF\xFF\x7F") +
         Element('Q', "d", "\1" + std::string(6, '\0') + "\x80") +
         Element('T', "e", std::string(8, '\xFF')),
     R"({"a":{"$byte":255},"b":{"$short":-2},"c":2147483647,"d":{"$long":-9223372036854775807},)"
     R"("e":{"$time":18446744073709551615}})"},
    {"doubles",
     Element('F', "a", std::string(6, '\0') + "\x50\x40") +
         Element('F', "b", std::string(7, '\0') + "\x80") +
         Element('F', "c", "\1" + std::string(5, '\0') + "\xF8\x7F"),
     R"({"a":{"$double":64.0},"b":{"$double":-0.0},"c":{"$double":"7ff8000000000001"}})"},
    {"texts",
     Element('S', "a", "x\"\n") + Element('S', "b", "\xC3\xA4\xF0\x9F\x98\x80") +
         Element('S', "c", "\xC0\x80\xED\xA0\x80") + Element('S', "", ""),
     "{\"$node\":[[\"a\",\"x\\\"\\n\"],[\"b\",\"\xC3\xA4\xF0\x9F\x98\x80\"],[\"c\",{\"$string\":"
     "\"c080eda080\"}],[\"\",\"\"]]}"},
    {"wide texts",
     Element('W', "a", std::string("\xE4\x00\x3D\xD8\x00\xDE", 6)) +
         Element('W', "b", std::string("\x00\xD8x\1", 4)) + Element('W', "c", ""),
     "{\"a\":{\"$wide\":\"\xC3\xA4\xF0\x9F\x98\x80\"},\"b\":{\"$wide\":[55296,376]},"
     "\"c\":{\"$wide\":\"\"}}"},
    {"polygons",
     Element('@', "Masks", Node(Element('*', "", "2\1\1\xFF\xFF") + Element('*', "", "2"))),
     R"({"Masks":[[257,-1],{"$shorts":[]}]})"},
    {"bytes",
     Element('*', "a", "1" + zero + "\xAB") + Element('G', "b", "0123456789abcdef") +
         Element('X', "c", zero + "xyz") + Element('X', "d", Node(Element('?', "m", "n")) + "z"),
     R"({"a":{"$bytes":"00ab"},"b":{"$guid":"30313233343536373839616263646566"},)"
     R"("c":{"$binary":"78797a"},"d":{"$binary":"7a","$metadata":"3f016d010000006e00"}})"},
    {"list of nodes", Element('@', "", zero) + Element('@', "", Node(Element('B', "a", "\1"))),
     R"([{},{"a":true}])"},
    {"list of numbers", Element('I', "", "\1\1\1\1"), R"({"$node":[["",16843009]]})"},
    {"repeated names", Element('S', "a", "b") + Element('S', "a", "c"),
     R"({"$node":[["a","b"],["a","c"]]})"},
    {"names that JSON has no word for", Element('S', "$a", "b") + Element('S', "\xFF", "c"),
     R"({"$node":[["$a","b"],[{"$string":"ff"},"c"]]})"},
};

TEST(TreeJson, EveryKindGoesThereAndBack) {
  std::string all;
  for (const CCase& test : cases) {
    const std::string block = Node(test.elements);
    Damage damage;
    const Json json = TreeOf(AsBytes(block), damage);
    EXPECT_EQ(json.dump(), test.json) << test.name;
    EXPECT_FALSE(damage) << test.name;
    for (const std::string& text : {json.dump(), PrettyText(json)})
      EXPECT_EQ(BlockText(ParseJson(text, "x")), block) << test.name << text;
    all += Element('@', test.name, block);
  }
  // The readable part of a damaged block is always a tree.
  all = Node(all);
  for (std::size_t i = 0; i < 9 * all.size(); ++i) {
    std::string bad = all;
    const bool isCut = i % 9 == 8;
    if (isCut)
      bad.resize(i / 9);
    else
      bad[i / 9] = static_cast<char>(bad[i / 9] ^ 1 << i % 9);
    Damage damage, none;
    const Json kept = TreeOf(AsBytes(bad), damage);
    const std::string block = BlockText(kept);
    EXPECT_EQ(TreeOf(AsBytes(block), none), kept) << i;
    EXPECT_FALSE(none) << i;
    EXPECT_LE(damage.value_or(0), bad.size()) << i;
  }
}

TEST(TreeJson, NestingEndsWhereTheLibraryEnds) {
  for (const int levels : {ztlib::maxTreeDepth, ztlib::maxTreeDepth + 1}) {
    std::string block = Node(""), text = "{}";
    for (int i = 0; i < levels; ++i) {
      block = Node(Element('@', "a", block));
      text = "{\"a\":" + text + "}";
    }
    const bool isGood = levels == ztlib::maxTreeDepth;
    Damage damage;
    EXPECT_EQ(TreeOf(AsBytes(block), damage).dump() == text, isGood);
    EXPECT_EQ(!damage, isGood);
    if (isGood) {
      EXPECT_EQ(BlockText(ParseJson(text, "x")), block);
    } else {
      EXPECT_THROW((void)BlockOf(ParseJson(text, "x"), "x"), CError);
    }
  }
}

TEST(TreeJson, WhatIsNoTreeIsNamedWithItsPlace) {
  const std::string longName(128, 'n');
  for (const auto& [text, message] : {
           std::pair<std::string, std::string>{"{", "x: no JSON: "},
           {"5", "x: the whole is no node"},
           {R"({"a":[{"b":null}]})", "x: /a/0/b has no kind"},
           {R"({"a":2147483648})", "x: /a does not fit into 32 bits"},
           {R"({"a":{"$time":1.5}})", "x: /a is no integer"},
           {R"({"a":{"$word":1}})", "x: /a has the unknown kind $word"},
           {R"({"a":{"$byte":1,"$short":2}})", "x: /a has more than one kind"},
           {R"({"a":{"$guid":"00"}})", "x: /a is not 16 bytes in"},
           {R"({"a":{"$bytes":"0g"}})", "x: /a is not bytes in"},
           {R"({"a":{"$node":[["b"]]}})", "x: /a/0 is no pair of name and value"},
           {R"({"a":{"$node":[[5,5]]}})", "x: /a/0 has a name that is no text"},
           {"{\"" + longName + "\":1}", "x: /" + longName + " has a name longer than 127 bytes"},
       })
    EXPECT_EQ(
        TextOf<CError>([&] { (void)BlockOf(ParseJson(text, "x"), "x"); }).substr(0, message.size()),
        message)
        << text;
}

}  // namespace
