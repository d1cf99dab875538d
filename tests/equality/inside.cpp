// A fixed set of inputs through what the exports reach only in part: the conversion matrix and the
// data tree.
#include "main/lib/base/cdata/HAData.h"
#include "main/lib/base/exceptions.h"
#include "main/lib/base/frame_manager.h"
#include "main/target/windll/image/ztimage_impl.h"
#include "tests/equality/steps.h"
#include "tests/unit/rich_tree.h"

#include <algorithm>
#include <utility>

namespace {

void Convert(int source, int target, int width, int height) {
  auto* const frame = static_cast<Frame*>(Frame::Allocate(width, height, source));
  const Bytes noise = Noise(frame->Picture().size(), 5);
  std::copy(noise.begin(), noise.end(), frame->Picture().begin());
  const auto image = CreateNewImageBase(static_cast<PixelFormat>(source), frame);
  try {
    const auto converted = image->ConvertToNew(static_cast<PixelFormat>(target));
    MixPicture(*static_cast<const Frame*>(converted->GetFrame()));
  } catch (const CException& error) {
    Mix(error.what());
  }
}

void MixTree(const CData& tree) {
  const CBinData block = ToTagged(tree);
  Mix(std::span(block.Data(), block.Size()));
  Bytes counted(CountedSize(tree));
  WriteCounted(tree, counted.data());
  Mix(std::span(counted));
}

}  // namespace

int main() {
  frame_manager::Register(Frame::Allocate, Frame::Release, nullptr, false);
  for (int source = 0; source <= 8; ++source)
    for (int target = 0; target <= 8; ++target)
      Step(std::string("convert ") + formatNames[source] + " to " + formatNames[target], [&] {
        for (const auto& [width, height] : {std::pair{96, 80}, {16, 16}, {38, 34}, {1904, 32}})
          Convert(source, target, width, height);
      });
  Step("tree", [] { MixTree(RichTree()); });
  Step("tree of damaged bytes", [] {
    const CBinData block = ToTagged(RichTree());
    const Bytes good(block.Data(), block.Data() + block.Size());
    for (std::size_t i = 0; i < good.size(); ++i) {
      Bytes damaged = good;
      damaged[i] ^= static_cast<std::uint8_t>(1U << (i % 8));
      CData tree;
      Mix(ParseTagged(tree, damaged.data(), damaged.size()));
      MixTree(tree);
    }
  });
}
