#include "main/target/windll/codec/baseline_scan.h"

#include "tests/support/common.h"
#include "tests/support/jpeg_reference.h"

using namespace ztlib;

namespace {

enum class Outcome : std::uint8_t { refused, irregular, decoded };

// What becomes of a stream at 1 / `scale`. That its pixels are right is compared elsewhere; here it
// is whether libjpeg is left out, and that nothing is read beyond the end marker.
Outcome Scan(const Bytes& stream, unsigned scale = 1, bool lumaOnly = false) {
  JpegObject<jpeg_decompress_struct> object;
  jpeg_error_mgr errors;
  InitJpegErrors(errors);
  object.err = &errors;
  jpeg_create_decompress(&object);
  JpegSource source;
  object.src = source.Attach(stream);
  jpeg_read_header(&object, TRUE);
  object.scale_num = 1;
  object.scale_denom = scale;
  jpeg_calc_output_dimensions(&object);
  BaselineScan scan;
  if (!JpegPlanes::Supports(object, lumaOnly) || !scan.Start(object, lumaOnly))
    return Outcome::refused;
  JpegPlanes planes;
  planes.Start(object, lumaOnly);
  try {
    planes.ReadRest(scan);
    EXPECT_EQ(object.src->next_input_byte[scan.Finish() - 1], 0xD9);
  } catch (const IrregularScan&) {
    return Outcome::irregular;
  }
  return Outcome::decoded;
}

using Style = jpeg_reference::Style;

Bytes Stream(const Style& style) {
  return jpeg_reference::Encode(jpeg_reference::Scene(157, 83), 157, 83, style);
}

TEST(BaselineScan, TakesWhatCamerasSend) {
  for (const Style& style :
       {Style{}, Style{.lumaDown = 1}, Style{.lumaAcross = 1, .lumaDown = 1},
        Style{.restartInterval = 1}, Style{.quality = 98}, Style{.chroma = {1, 2, 1, 2}}})
    for (const unsigned scale : {1, 2, 4, 8})
      for (const bool lumaOnly : {false, true})
        EXPECT_EQ(Scan(Stream(style), scale, lumaOnly), Outcome::decoded) << scale;
  EXPECT_EQ(Scan(Stream({.components = 1}), 1, true), Outcome::decoded);
}

TEST(BaselineScan, LeavesOtherPicturesToLibjpeg) {
  for (const Style& style :
       {Style{.progressive = true}, Style{.lumaAcross = 4}, Style{.space = JCS_RGB}})
    EXPECT_EQ(Scan(Stream(style)), Outcome::refused);
  EXPECT_EQ(Scan(Stream({}), 3), Outcome::refused);
}

TEST(BaselineScan, LeavesIrregularScansToLibjpeg) {
  const Bytes sound = Stream({.restartInterval = 1});
  const auto marker = [&sound](std::uint8_t code, std::size_t from) {
    while (sound[from] != 0xFF || sound[from + 1] != code)
      ++from;
    return from;
  };
  const std::size_t start = marker(0xDA, 0);
  const std::size_t restart = marker(0xD0, start);
  const std::size_t end = sound.size() - 2;
  const auto changed = [&sound](std::size_t at, std::size_t taken, const Bytes& given) {
    Bytes stream = sound;
    stream.erase(stream.begin() + at, stream.begin() + at + taken);
    stream.insert(stream.begin() + at, given.begin(), given.end());
    return stream;
  };
  EXPECT_EQ(Scan(changed(end, 2, {})), Outcome::refused);                // no end
  EXPECT_EQ(Scan(changed(end, 0, {0x12})), Outcome::irregular);          // a byte too many
  EXPECT_EQ(Scan(changed(end - 3, 3, {})), Outcome::irregular);          // too few
  EXPECT_EQ(Scan(changed(restart + 1, 1, {0xD1})), Outcome::irregular);  // another number
  EXPECT_EQ(Scan(changed(restart, 2, {})), Outcome::irregular);          // no marker
  EXPECT_EQ(Scan(changed(restart, 0, {0xFF, 0xFE})), Outcome::irregular);
  EXPECT_EQ(Scan(changed(restart - 4, 4, {0xFF, 0, 0xFF, 0})), Outcome::irregular);  // no code
  EXPECT_EQ(Scan(changed(restart, 0, {0xFF, 0xFF})), Outcome::decoded);              // filled up
  EXPECT_EQ(Scan(changed(end + 2, 0, Bytes(700))), Outcome::decoded);
}

}  // namespace
