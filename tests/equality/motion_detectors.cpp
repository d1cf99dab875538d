#include "main/lib/vca/old_vca_utils/single_simple_motion.h"
#include "tests/equality/trees.h"

using namespace ztlib;

namespace {

// Forty frames to learn, then noise, then clocks that go on, stand and go back. Frames may be
// taller than the mask, and another detector without a mask reads the metadata.
void Detect(const CData& settings, int width, int height, int rows, bool isAllMoving = false) {
  CSingleSimpleMotion detector, other;
  detector.Configure(settings, {width, height});
  other.Configure({}, {width, height});
  const std::int64_t stride = (width + 3) / 4 * 4;
  std::int64_t time = 1000;
  for (std::uint32_t moment = 0; moment < 60; ++moment) {
    Bytes plane(static_cast<std::size_t>(stride * rows), 100);
    if (moment >= 40 && moment % 8 < 5)
      plane = isAllMoving ? Bytes(plane.size(), 250) : Noise(plane.size(), moment);
    time += moment % 7 == 6 ? -50 : moment % 11 == 0 ? 2900 : 100;
    const FrameTime now{1, 2, time};
    CData found, copied;
    Mix(detector.ProcessAndDecide({width, rows, plane.data(), stride}, now));
    Bytes form(detector.RoomForResult({width, rows}));
    ByteWriter writer(form);
    detector.WriteResult(writer, {width, rows});
    ParseTagged(found, form.data(), form.size());
    MixTree(found);
    Mix(detector.GetProgress());
    Mix(detector.GetState());
    Mix(other.VirtualProcessAndDecide(copied, found, now));
    Mix(detector.VirtualProcess(copied, found));
    MixTree(copied);
  }
}

}  // namespace

void MotionDetectors() {
  for (const int width : {4, 7, 64, 129, 601})
    for (const bool isMasked : {false, true})
      Step((isMasked ? "masked motion of width " : "motion of width ") + std::to_string(width),
           [=] {
             CData settings;
             settings.AddDouble(Tok::MotionPercent, 20);
             settings.AddLongLong(Tok::ViolationTimeMs, width % 2 * 250);
             // The left half but for the last row, and a polygon without an area.
             if (isMasked) {
               CData& polygons = settings.AddChild(Tok::Masks);
               polygons.AddShortArray(Tok::Empty, {0, 0, 8192, 0, 8192, 32767, 0, 32767});
               polygons.AddShortArray(Tok::Empty, {5, 5});
             }
             for (const int rows : {9, 12})
               Detect(settings, width, 9, rows);
           });
  // More moving pixels side by side under a mask than a register of bytes can count.
  Step("masked motion of all of a wide picture", [] {
    CData settings;
    settings.AddChild(Tok::Masks)
        .AddShortArray(Tok::Empty, {0, 0, 16000, 0, 16000, 32767, 0, 32767});
    Detect(settings, 9000, 9, 9, true);
  });
}
