// Runs a fixed set of inputs through code that the exports reach only in part or not at all: the
// conversion matrix, the data tree, the statistics behind motion, and calibration.
#include "main/lib/base/cdata/HAData.h"
#include "main/lib/base/exceptions.h"
#include "main/lib/calib/calibrator3d.h"
#include "main/lib/vca/old_vca_utils/motion_background.h"
#include "main/target/windll/image/ztimage_impl.h"
#include "tests/equality/steps.h"
#include "tests/equality/trees.h"
#include "tests/support/calibration_tree.h"
#include "tests/unit/rich_tree.h"

#include <algorithm>
#include <utility>

using namespace ztlib;

namespace {

void Convert(int source, int target, int width, int height) {
  kit::Frame* const frame = kit::FramePool::Make(width, height, source);
  std::ranges::copy(Noise(frame->size, 5), frame->data);
  const auto image = CreateNewImageBase(static_cast<PixelFormat>(source), frame);
  try {
    const auto converted = image->ConvertToNew(static_cast<PixelFormat>(target));
    MixPicture(*static_cast<const kit::Frame*>(converted->GetFrame()));
  } catch (const CException& error) {
    Mix(error.what());
  }
}

// The model gets noise, then jumping values, then still pictures, at its slowest and fastest rates.
void Follow(const CData& settings, std::int64_t width, std::int64_t height) {
  CMotionBackground model;
  model.ConfigureFromData(settings, {width, height});
  std::int64_t now = 1'000'000;
  for (std::uint32_t moment = 0; moment < 120; ++moment) {
    Bytes plane = Noise(static_cast<std::size_t>(width * height), moment < 80 ? moment : 7);
    for (std::size_t i = 0; i < plane.size(); ++i)
      plane[i] = static_cast<std::uint8_t>(
          (i / 64 + moment / 20) % 5 == 0 ? plane[i] : 90 + plane[i] % (1 + moment % 40));
    now += moment % 30 < 15 ? 40 : 400;
    Mix(model.ProcessImage({width, height, plane.data(), width}, &now));
    Mix(model.GetHighVarianceCount());
    MixRows(model.GetMean());
    MixRows(model.GetVariance());
    MixRows(model.GetMotion());
  }
}

}  // namespace

int main(int count, char** arguments) {
  ReadStackShift(count, arguments);
  const kit::FramePool frames;
  for (int source = 0; source <= 8; ++source)
    for (int target = 0; target <= 8; ++target)
      Step(std::string("convert ") + formatNames[source] + " to " + formatNames[target], [&] {
        for (const auto& [width, height] : {std::pair{96, 80}, {16, 16}, {38, 34}, {1904, 32}})
          Convert(source, target, width, height);
      });
  Step("tree", [] { MixTree(RichTree()); });
  for (unsigned bits = 0; bits < 16; ++bits)
    Step("motion statistics " + std::to_string(bits), [bits] {
      CData settings;
      settings.AddBool(Tok::MeltinReduction, (bits & 1) != 0);
      settings.AddBool(Tok::AlternativeVarianceHandling, (bits & 2) != 0);
      settings.AddBool(Tok::BinaryOutputMode, (bits & 4) != 0);
      settings.AddBool(Tok::ForbidHighSensitivityStart, (bits & 8) != 0);
      settings.AddDouble(Tok::Sensitivity, 13.0 * (bits % 7));
      for (const auto& [width, height] : {std::pair{96, 40}, {37, 11}, {3, 2}})
        Follow(settings, width, height);
    });
  Step("calibration", [] {
    CCalibrator3D calibrator;
    calibrator.Configure(MarkedTree({}, {{4000, 8000, 4090, 6000}, {8000, 8000, 8090, 6000}}));
    MixTree(calibrator.GetConfig());
    for (float x = 0; x < 16384; x += 300)
      for (float y = 0; y < 16384; y += 300) {
        CPointF ground;
        float meters = 0;
        Mix(calibrator.GetGround({x, y}, ground));
        Mix(calibrator.Height({x, y}, {x, y - 1000}, meters));
        for (const float value : {ground.x, ground.y, meters})
          Mix(value);
      }
  });
  ConversionSizes();
  MotionModels();
  Calibrations();
  Masks();
  Histograms();
  Trees();
  Pictures();
  MotionDetectors();
}
