#include "main/lib/base/debug.h"
#include "main/lib/base/frame_manager.h"
#include "main/target/windll/image/ztimagex.h"
#include "tests/support/common.h"
#include "tests/support/test_frames.h"

#include <numeric>

using namespace ztlib;

namespace {

using Gray = TTGray<unsigned char>;

class Images : public testing::Test {
 protected:
  CTestFrames frames;

  // Makes a gray picture in which pixel n has the value n.
  static CZTImage& Count(CZTImage& image, int width, int height) {
    image.CreateBySizeInPixels(PixelFormat::GRAY, width, height);
    auto* const pixels = image.GetPtrAs<std::uint8_t>();
    std::iota(pixels, pixels + width * height, std::uint8_t{0});
    return image;
  }
};

TEST_F(Images, CreateBySizeInPixelsChecksBeforeItDropsTheOldPicture) {
  CZTImage image;
  image.CreateBySizeInPixels(PixelFormat::YUYV, 640, 3);
  constexpr int refused[][3] = {{4, 641, 480}, {9, 16, 16},       {-1, 16, 16},
                                {8, 16, 24},   {1, 65536, 65536}, {2, -16, -16}};
  for (const auto& c : refused)
    EXPECT_EQ(MessageOf([&] { image.CreateBySizeInPixels(PixelFormat{c[0]}, c[1], c[2]); }),
              "Invalid range")
        << c[0] << " " << c[1];
  EXPECT_EQ(image.GetDx(), 320);
  EXPECT_EQ(CTestFrames::released, 0);

  // The old frame is released before the new one is made, so a refusal leaves the image empty.
  image.CreateBySizeInPixels(PixelFormat::YUYV, 32, 2);
  EXPECT_EQ(CTestFrames::released, 1);
  CTestFrames::refuse = true;
  EXPECT_EQ(MessageOf([&] { image.CreateBySizeInPixels(PixelFormat::YUYV, 16, 2); }),
            "Using null-pointer");
  EXPECT_TRUE(image.IsEmpty());
  EXPECT_EQ(CTestFrames::released, 2);
  EXPECT_NO_THROW(image.CreateBySizeInPixels(PixelFormat::GRAY, 0, 4)) << "no samples, no memory";
}

TEST_F(Images, APictureThatIsStillViewedKeepsItsFrame) {
  CZTImage image;
  CZTImage map;
  Count(image, 4, 2);
  map.ConvertOrMap(PixelFormat::GRAY, image);
  EXPECT_EQ(map.GetFrame(), image.GetFrame());
  image.CreateBySizeInPixels(PixelFormat::GRAY, 4, 2);
  EXPECT_NE(map.GetFrame(), image.GetFrame());
  EXPECT_EQ(CTestFrames::released, 0);
  EXPECT_EQ(*map.GetPtrAs<std::uint8_t>(3, 1), 7);
  TCImageView<Gray> view;
  view.Create(8, 8);
  view.Create(8, 8);
  EXPECT_EQ(CTestFrames::allocated, 3) << "alone, the buffer is used again";
  auto* const padded = CTestFrames::Make(7, 4, static_cast<int>(PixelFormat::GRAY));
  view.Wrap(7, 4, {padded, padded->data}, 8);
  EXPECT_EQ(TCImageView<Gray>(view).PlaneStride(), 8);
  EXPECT_EQ(TCImageView<Gray>::MapOf(view, {1, 1, 3, 3}).PlaneStride(), 7);
  view.Create(7, 4);
  EXPECT_EQ(view.data, reinterpret_cast<Gray*>(padded->data));
  EXPECT_EQ(view.PlaneStride(), 7) << "what is written into it now has no padding";
  EXPECT_TRUE(TCImageView<Gray>::MapOf(TCImageView<Gray>(), {0, 0, 1, 1}).IsEmpty());
}

TEST_F(Images, CopiesAndMapsOfOneself) {
  CZTImage image;
  CZTImage other;
  Count(image, 5, 3);
  other.ConvertOrCopy(PixelFormat::GRAY, image);
  EXPECT_NE(other.GetFrame(), image.GetFrame());
  EXPECT_EQ(std::memcmp(other.GetPtrAs<char>(), image.GetPtrAs<char>(), 15), 0);
  image.ConvertOrMap(PixelFormat::GRAY, image);
  EXPECT_TRUE(image.IsEmpty());
  EXPECT_EQ(MessageOf([&] { image.ConvertOrMap(PixelFormat::NONE, other); }), "Wrong format");
  EXPECT_EQ(MessageOf([&] { image.SetPixelFormat(PixelFormat::GRAY); }), "Using null-pointer");
  EXPECT_EQ(MessageOf([&] { other.SetPixelFormat(PixelFormat::NONE); }), "Invalid range");
  other.SetPixelFormat(PixelFormat::YUV);
  EXPECT_EQ(MessageOf([&] { other.SetPixelFormat(PixelFormat::BOOL8); }), "Wrong format");
  EXPECT_EQ(*other.GetPtrAs<std::uint8_t>(4, 2), 14);
  other.Copy(other);
  EXPECT_TRUE(other.IsEmpty());
  other.ConvertOrMap(PixelFormat::NONE, image);
  EXPECT_EQ(other.GetPixelFormat(), PixelFormat::NONE);
}

TEST_F(Images, OverWriteKeepsTheBuffer) {
  CZTImage target;
  CZTImage source;
  Count(source, 4, 4);
  target.CreateBySizeInPixels(PixelFormat::GRAY, 4, 4);
  void* const frame = target.GetFrame();
  target.OverWrite(source);
  EXPECT_EQ(target.GetFrame(), frame);
  EXPECT_EQ(*target.GetPtrAs<std::uint8_t>(3, 3), 15);
  target.CreateBySizeInPixels(PixelFormat::GRAY, 4, 5);
  EXPECT_EQ(MessageOf([&] { target.OverWrite(source); }), "Unknown exception");
  target.CreateBySizeInPixels(PixelFormat::RGB, 4, 5);
  EXPECT_EQ(MessageOf([&] { target.OverWrite(source); }), "Wrong format");
  source.Reset();
  target.OverWrite(source);
  EXPECT_TRUE(target.IsEmpty());
}

TEST_F(Images, MapsShareAndSlide) {
  CZTImage image;
  Count(image, 20, 4);
  const auto& whole = image.GetView<Gray>();
  TCZTImageImpl<Gray> picture(whole);
  const auto map = picture.CreateMapOfCorners({2, 1, 12, 3});
  EXPECT_EQ((std::tuple{map->GetDx(), map->GetDy(), map->GetScanlineSamples(), map->GetUseCount()}),
            (std::tuple{10, 2, 20, 3}));
  EXPECT_EQ(*static_cast<std::uint8_t*>(map->GetPtr()), 22);
  map->RelocMapX(4);
  map->RelocMap(-5, -1);
  map->RelocMapY(2);
  const auto inner = map->CreateMapOfRect({4, 0, 2, 1});
  EXPECT_EQ(*static_cast<std::uint8_t*>(inner->GetPtr()), 45);
  const auto& view = *static_cast<const TCImageView<Gray>*>(inner->GetImage());
  EXPECT_EQ(view.originX, 5);
  EXPECT_EQ(view.originY, 2);
  EXPECT_EQ(inner->GetFrame(), image.GetFrame());

  const auto empty = CreateNewImageBase(PixelFormat::GRAY);
  EXPECT_EQ(MessageOf([&] { (void)empty->CreateMap(); }), "Using null-pointer");
  EXPECT_EQ(MessageOf([&] { empty->RelocMapX(1); }), "Using null-pointer");
  EXPECT_EQ(empty->GetUseCount(), 0);
}

TEST_F(Images, WorkingBuffersArePaddedAndCopiedOnWrite) {
  using Buffer = TCImageX<unsigned char, long long>;
  EXPECT_EQ(Buffer(5, 3).GetScanline() + 16 * Buffer(8, 3).GetScanline(), 8 + 16 * 8);
  EXPECT_EQ(Buffer(0, 0).GetWritePtr(), nullptr);
  EXPECT_THROW(Buffer(1LL << 40, 1LL << 40), std::bad_alloc);
  Buffer image(5, 3);
  std::memset(image.GetWritePtr(), 7, 24);
  Buffer copy = image;
  EXPECT_EQ(copy.GetWritePtr(), image.GetPtr());
  copy.copyOnWrite = true;
  copy.GetWritePtr()[23] = 1;
  EXPECT_NE(copy.GetPtr(), image.GetPtr());
  EXPECT_EQ(image.GetPtr()[23], 7);
  EXPECT_EQ(copy.GetPtr()[22], 7);
  EXPECT_FALSE(copy.copyOnWrite);
}

TEST_F(Images, BlocksOfATree) {
  CZTImage image, loaded;
  Count(image, 6, 3);
  CData tree;
  ToCData(tree, Tok::Image, &image, false);
  ToCData(tree, Tok::Masks, &image, true);
  for (const std::uint64_t i : {0U, 1U}) {
    loaded.FromBindata(*tree.At(i).value.GetBinary());
    EXPECT_EQ(loaded.GetPixelFormat(), i == 0 ? PixelFormat::GRAY : PixelFormat::BOOL8);
    EXPECT_EQ(*loaded.GetPtrAs<std::uint8_t>(5, 2), i == 0 ? 17 : 1);
  }
  const auto load = [&](const CBinData& block) { loaded.FromBindata(block); };
  EXPECT_EQ(MessageOf([&] { ToCData(tree, Tok::Image, nullptr, false); }), "Using null-pointer");
  EXPECT_EQ(MessageOf([&] { ToCData(tree, Tok::Image, &loaded, true); }), "Wrong format");
  EXPECT_EQ(MessageOf([&] { load(CBinData("\2\0\0\0", 4)); }), "Wrong format");
  EXPECT_EQ(MessageOf([&] { load(CBinData("\1\0", 2)); }), "Invalid or nullptr memory!");
  // Only the header of the largest block is read; a block that is larger is refused.
  Bytes header = Words(32, {1, 0, 32, 0, 99});
  for (const auto& [size, text] :
       {std::pair(0x7FFFFFFFU, "Wrong format"), {0x80000000U, "Invalid range"}})
    EXPECT_EQ(MessageOf([&, n = size] { load(CBinData::Wrap(header.data(), n)); }), text);
  load(CBinData());
  EXPECT_EQ(loaded.GetDx(), 16);
  EXPECT_EQ(*loaded.GetPtrAs<std::uint8_t>(15, 0), 0);

  // These pictures only have a size: nothing is written.
  for (const int missing : {0, 1}) {
    auto* const frame = CTestFrames::Make(0, 0, 1);
    frame->width = 0x7FFFFFFF - 32 + missing;
    frame->height = 1;
    CZTImage giant;
    giant.WrapFrame(PixelFormat::GRAY, frame);
    EXPECT_EQ(MessageOf([&] { (void)giant.GetSizeOfSavedBody_V1(); }),
              missing == 0 ? "no exception" : "Invalid range");
  }
}

}  // namespace
