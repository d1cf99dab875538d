#include "tests/equality/trees.h"

#include "main/lib/base/byte_io.h"
#include "main/lib/base/cdata/HAData.h"
#include "tests/unit/rich_tree.h"

#include <random>

using namespace ztlib;

namespace {

// From memory of exactly that size, so that a sanitizer sees a read behind it.
void ReadTagged(Bytes bytes, std::uint16_t skipMask = 0) {
  bytes.shrink_to_fit();
  CData tree;
  tree.AddInt(Tok::Bits, 1);
  Mix(ParseTagged(tree, bytes.data(), bytes.size(), skipMask));
  MixTree(tree);
}

void ReadCounted(Bytes bytes) {
  bytes.shrink_to_fit();
  CData tree;
  ByteReader in(bytes);
  std::uint32_t count = 0;
  if (!in.Read(count)) return;
  const std::uint8_t* at = in.Rest().data();
  Mix(ParseCounted(tree, count, at, in.Remaining()));
  Mix(at - bytes.data());
  MixTree(tree);
}

// Each cut of a form, and each byte of it changed to what a size, a length or a tag may be.
template <class Read>
void Damage(const Bytes& whole, Read read) {
  for (std::size_t size = 0; size <= whole.size(); ++size)
    read(Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size)));
  for (std::size_t at = 0; at < whole.size(); ++at)
    for (const std::uint8_t change :
         Bytes{0, 1, 2, 3, 5, 7, 0x7F, 0x80, 0xFF, 'B', 'I', 'S', 'X', '@', '*'}) {
      Bytes bytes = whole;
      bytes[at] = change;
      read(bytes);
    }
}

Bytes TaggedOf(const CData& tree) {
  Bytes bytes(TaggedSize(tree));
  Mix(WriteTagged(tree, bytes.data()) == bytes.data() + bytes.size());
  return bytes;
}

Bytes CountedOf(const CData& tree) {
  Bytes bytes(CountedSize(tree));
  bytes.resize(static_cast<std::size_t>(WriteCounted(tree, bytes.data()) - bytes.data()));
  return bytes;
}

// A binary with metadata and texts of odd sizes, which the library reads and does not write.
Bytes OddTagged() {
  constexpr char bytes[] =
      "X\0\12\0\0\0Z\1n\1\0\0\0\7\0\xab"
      "W\0\3\0\0\0a\0b"
      "*\0\4\0\0\0"
      "2\1\0\2"
      "@\0\7\0\0\0B\0\1\0\0\0\1";
  return {bytes, bytes + sizeof bytes};
}

}  // namespace

void Trees() {
  // Whole, and without elements of a kind.
  for (int mask = 0; mask < 1 << 14; mask = std::max(1, 2 * mask))
    Step("tagged form without kinds " + std::to_string(mask), [mask] {
      for (const Bytes& whole : {TaggedOf(RichTree()), OddTagged()})
        Damage(whole,
               [mask](const Bytes& bytes) { ReadTagged(bytes, static_cast<std::uint16_t>(mask)); });
    });
  Step("values by kind", [] {
    const CData tree = RichTree();
    for (std::uint64_t i = 0; i < tree.Count(); ++i) {
      const CDataValue& value = tree.At(i).value;
      const bool isNull[] = {!value.GetGuid(),      !value.GetNode(),   !value.GetShortArray(),
                             !value.GetByteArray(), !value.GetBinary(), !value.GetBool()};
      Mix(isNull);
      Mix(value.GetByte());
      Mix(value.GetInt());
      Mix(value.GetString().data());
      Mix(tree.Type(i));
    }
    Mix(tree.Type(tree.Count()));
  });
  Step("counted form", [] { Damage(CountedOf(RichTree()), ReadCounted); });
  Step("names of all lengths", [] {
    for (std::size_t length = 1; length < 300; ++length) {
      CData tree, outer;
      tree.Append(std::string(length, 'n'), CDataValue::OfInt(1));
      const Bytes tagged = TaggedOf(tree);
      MixTree(tree);
      ReadTagged(tagged);
      ReadCounted(CountedOf(tree));
      // The same element as metadata of a binary value.
      outer.AddBinary(Tok::Empty, std::make_shared<CBinData>(tagged.data(), tagged.size()));
      Bytes binary = TaggedOf(outer);
      binary.erase(binary.begin() + 6);
      StoreLE(binary.data() + 2, static_cast<std::uint32_t>(tagged.size()));
      ReadTagged(binary);
    }
  });
  Step("trees edited and searched", [] {
    std::mt19937 random(1);
    // The last two have the same hash.
    const std::string names[] = {"",
                                 "Config",
                                 "Bits",
                                 "ID",
                                 "own",
                                 "own2",
                                 "AbandonedObjects",
                                 "otherwis\x74\x6b\x66\x04\x83\xc9\xae\x59"};
    for (int round = 0; round < 20; ++round) {
      CData tree;
      for (int step = 0; step < 300; ++step) {
        const std::uint32_t choice = random() % 16, name = random() % 8, wanted = random() % 8;
        const std::uint64_t position = random() % (tree.Count() + 2);
        const bool isByName = random() % 2 != 0;
        if (choice < 11)
          tree.Append(names[name], CDataValue::OfInt(step));
        else if (choice < 14)
          tree.RemoveAt(position);
        else if (choice == 14 && step % 8 == 0)
          tree.RemoveAll(TokenOf(names[name]));
        Mix(tree.Count());
        if (isByName) Mix(tree.FindByName(names[wanted]));
        Mix(tree.Find(TokenOf(names[wanted])));
        Mix(tree.HasIndex());
      }
      MixTree(tree);
    }
  });
}
