#include "tests/exports/blobs.h"

namespace {

using kit::Decoder;
using kit::Encoder;

class Arguments : public ExportTest {
 protected:
  // Calls a function, which must fail in `source` and return nothing. `name` goes without "ztlib_".
  template <class Function, class... Values>
  void Fails(const char* name, Function function, Values... values) {
    SCOPED_TRACE(name);
    if constexpr (std::is_void_v<decltype(function(values...))>)
      function(values...);
    else
      EXPECT_EQ(function(values...), decltype(function(values...)){});
    ExpectFailure(std::string("ztlib_") + name, "main/" + source, message);
  }
  std::string source, message = "Using null-pointer";
  Output output;
  const ztlib_blob empty{nullptr, 0}, hollow{nullptr, 112};
  const ztlib_output receive = Output::Receive;
};

TEST_F(Arguments, OfPicturesThatAreMissing) {
  const Image image = NewImage(ZTLIB_GRAY, 2, 2, {1}), none = NewImage();
  source = "target/windll/base_api";
  Fails("ztimage_loadFromZTMem", ztlib_ztimage_loadFromZTMem, image.get(), nullptr);
  Fails("ztimage_loadFromZTMem", ztlib_ztimage_loadFromZTMem, nullptr, &empty);
  Fails("ztimage_get_avframe", ztlib_ztimage_get_avframe, nullptr);
  Fails("ztimage_saveToZTMem", ztlib_ztimage_saveToZTMem, image.get(), &output, nullptr);
  Fails("ztimage_saveToZTMem", ztlib_ztimage_saveToZTMem, nullptr, &output, receive);
  source = "target/windll/image/ztimage";
  Fails("ztimage_saveToZTMem", ztlib_ztimage_saveToZTMem, none.get(), &output, receive);
  EXPECT_EQ(output.calls, 0);
  ztlib_ztimage_destroy(nullptr);
  ExpectNoFailure();
}

TEST_F(Arguments, OfCodecsThatAreMissingOrTooShort) {
  const Image image = NewImage();
  Decoder decoder;
  Encoder encoder;
  std::uint8_t bytes[63] = {3};
  const ztlib_blob tooShort{bytes, sizeof bytes}, noFormat{bytes, 25};
  std::int32_t width = 77;
  const auto info1 = [&](const ztlib_blob* blob, ztlib_output out) {
    ztlib_getFrameInfo1(blob, &width, nullptr, nullptr, nullptr, nullptr, nullptr, &output, out);
  };
  const auto info2 = [&](const void* data, std::uint32_t size) {
    ztlib_getFrameInfo2(data, size, &width, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                        nullptr);
  };
  void* users[4] = {};
  const ztlib_blob* const layers[] = {&noFormat, nullptr};
  source = "target/windll/codec_api";
  Fails("decoder_config", ztlib_decoder_config, nullptr, &empty);
  Fails("decoder_config", ztlib_decoder_config, decoder.object, nullptr);
  Fails("decoder_config", ztlib_decoder_config, decoder.object, &hollow);
  Fails("encoder_config", ztlib_encoder_config, nullptr, &empty);
  Fails("encoder_config", ztlib_encoder_config, encoder.object, nullptr);
  Fails("decoder_process", ztlib_decoder_process, nullptr, image.get(), bytes, 1);
  Fails("decoder_process", ztlib_decoder_process, &decoder.object, nullptr, bytes, 1);
  Fails("decoder_process", ztlib_decoder_process, &decoder.object, image.get(), nullptr, 1);
  Fails("encoder_process", ztlib_encoder_process, nullptr, &output, receive, image.get(), 0);
  Fails("encoder_process", ztlib_encoder_process, encoder.object, &output, nullptr, image.get(), 0);
  Fails("encoder_process", ztlib_encoder_process, encoder.object, &output, receive, nullptr, 0);
  Fails("copyAndAddHeader", ztlib_copyAndAddHeader, &output, receive, nullptr, 1);
  Fails("copyAndAddHeader", ztlib_copyAndAddHeader, &output, nullptr, bytes, 1);
  Fails("getFrameInfo1", info1, nullptr, receive);
  Fails("getFrameInfo1", info1, &hollow, receive);
  Fails("getFrameInfo1", info1, &tooShort, nullptr);
  Fails("getFrameInfo2", info2, nullptr, 112);
  Fails("decomposeToLayers", ztlib_decomposeToLayers, nullptr, users, receive);
  Fails("decomposeToLayers", ztlib_decomposeToLayers, &noFormat, nullptr, receive);
  Fails("decomposeToLayers", ztlib_decomposeToLayers, &noFormat, users, nullptr);
  Fails("composeFromLayers", ztlib_composeFromLayers, &output, nullptr, layers, 2);
  Fails("composeFromLayers", ztlib_composeFromLayers, &output, receive, nullptr, 2);
  Fails("composeFromLayers", ztlib_composeFromLayers, &output, receive, layers, 2);
  message = "Invalid range";
  Fails("getFrameInfo1", info1, &tooShort, receive);
  Fails("getFrameInfo2", info2, nullptr, 0);
  Fails("getFrameInfo2", info2, bytes, 63);
  Fails("decomposeToLayers", ztlib_decomposeToLayers, &noFormat, users, receive);
  Fails("composeFromLayers", ztlib_composeFromLayers, &output, receive, layers, 0);
  Fails("composeFromLayers", ztlib_composeFromLayers, &output, receive, layers, 5);
  ztlib_copyAndAddHeader(&output, receive, nullptr, 0);
  ExpectUnknownFailure("ztlib_copyAndAddHeader");

  ztlib_decoder_config(decoder.object, &empty);
  std::uint32_t sizes[4] = {77};
  const ztlib_blob* const none = nullptr;
  for (const ztlib_blob* blob : {&hollow, &empty, &noFormat, none}) {
    EXPECT_EQ(ztlib_getVideoFormat(blob), -1);
    EXPECT_EQ(ztlib_getLayerCount(blob), 0);
    ztlib_getLayerSizes(blob, sizes);
  }
  EXPECT_EQ(sizes[0], 77U);
  EXPECT_EQ(width, 77);
  EXPECT_EQ(output.calls, 0);
  ztlib_decoder_destroy(nullptr);
  ztlib_encoder_destroy(nullptr);
  ExpectNoFailure();
}

TEST_F(Arguments, OfMotionThatAreMissing) {
  void* const context = ztlib_simplemotion_create();
  const Image image = NewImage(ZTLIB_GRAY, 4, 4, {1}), none = NewImage();
  const auto detect = [&](void* object, const void* picture) {
    return ztlib_simplemotion_detect(object, &output, receive, picture, 0);
  };
  source = "target/windll/vca_api";
  Fails("simplemotion_configure", ztlib_simplemotion_configure, nullptr, &empty, 4, 4);
  Fails("simplemotion_configure", ztlib_simplemotion_configure, context, nullptr, 4, 4);
  Fails("simplemotion_configure", ztlib_simplemotion_configure, context, &hollow, 4, 4);
  Fails("simplemotion_detect", detect, nullptr, image.get());
  Fails("simplemotion_detect", detect, context, nullptr);
  source = "target/windll/image/ztimage";
  Fails("simplemotion_detect", detect, context, none.get());
  source = "target/windll/image/ztimage_impl", message = "Invalid range";
  Fails("simplemotion_configure", ztlib_simplemotion_configure, context, &empty, -4, 4);
  EXPECT_EQ(output.calls, 0);
  ztlib_simplemotion_destroy(context);
  ztlib_simplemotion_destroy(nullptr);
  ExpectNoFailure();
}

TEST_F(Arguments, OfTriangulationsThatAreMissing) {
  void* const handle = ztlib_triangulation_create();
  float value = 5;
  ztlib_triangulation_init(handle, 0, 0, 9, 9, 1);
  source = "target/windll/imgproc_api";
  Fails("triangulation_init", ztlib_triangulation_init, nullptr, 0, 0, 9, 9, 1);
  Fails("triangulation_addPoint", ztlib_triangulation_addPoint, nullptr, 1, 1, &value, 1);
  Fails("triangulation_finalize", ztlib_triangulation_finalize, nullptr);
  Fails("triangulation_estimate", ztlib_triangulation_estimate, nullptr, 1, 1, &value, 1);
  source = "lib/calib/triangulation";
  Fails("triangulation_addPoint", ztlib_triangulation_addPoint, handle, 1, 1, nullptr, 1);
  Fails("triangulation_estimate", ztlib_triangulation_estimate, handle, 1, 1, nullptr, 1);
  ztlib_triangulation_addPoint(handle, 1, 1, nullptr, 0);
  ztlib_triangulation_addPoint(handle, 2, 1, nullptr, -1);
  ztlib_triangulation_estimate(handle, 1, 1, nullptr, 0);
  EXPECT_EQ(value, 5);
  ztlib_triangulation_destroy(handle);
  ztlib_triangulation_destroy(nullptr);
  ExpectNoFailure();
}

}  // namespace
