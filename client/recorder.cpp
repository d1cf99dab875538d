#include "client/recorder.h"

#include "client/console.h"
#include "client/yuv_packing.h"

#include <algorithm>
#include <cinttypes>

void CCoder::Code(const AVFrame& picture) {
  input.reset();
  input = convert.Run([&] { return Convert(picture); });
  coded = encode.Run([&] { return encoder.Encode(input); });
}

// Each encoder gets the format that it works on.
ImagePtr CCoder::Convert(const AVFrame& picture) {
  const bool isPaired = settings.videoFormat == ZTLIB_VIDEO_MJPEGDIFF;
  const int pixelFormat = isPaired ? ZTLIB_UYVY : ZTLIB_YUV;
  const AVFrame& planes =
      scaler.Convert(picture, PlanarFormatFor(picture), scaled.width, scaled.height);
  PoolFramePtr packed = NewPoolFrame(settings.width, settings.height, pixelFormat);
  (isPaired ? PackUyvy : PackYuv)(planes, *packed);
  return WrapFrame(pixelFormat, std::move(packed));
}

void CRecorder::Open() {
  const bool isScaled = settings.width != 0;
  CSize scaled{settings.width, settings.height};
  if (!isScaled) scaled = {picture->width, picture->height};
  settings.width = scaled.width;
  settings.height = scaled.height;
  if (settings.videoFormat == ZTLIB_VIDEO_MJPEGDIFF) {
    settings.width -= scaled.width % differentialWidthStep;
    settings.height -= scaled.height % differentialHeightStep;
    const std::string steps =
        Text("%d by %d pixels", differentialWidthStep, differentialHeightStep);
    if (settings.width == 0 || settings.height == 0)
      throw CError(
          Text("%s: pictures of %dx%d are too small for differential video, which "
               "needs %s",
               source.Name().c_str(), scaled.width, scaled.height, steps.c_str()));
    if (settings.width != scaled.width || settings.height != scaled.height)
      Complain(Text("%s: coded in %dx%d, not %dx%d%s: differential video goes in steps of %s",
                    source.Name().c_str(), settings.width, settings.height, scaled.width,
                    scaled.height, isScaled ? "" : ", cut at the right and at the bottom",
                    steps.c_str()));
    if (isScaled) scaled = {settings.width, settings.height};
  }
  coder.emplace(settings, scaled);
}

bool CRecorder::Step() {
  if (settings.frames > 0 && frames == settings.frames) return false;
  if (!decodeInput.Run([&] { return source.Next(*picture); })) return false;
  try {
    if (!coder) Open();
    coder->Code(*picture);
  } catch (const CLibraryError& error) {
    throw CError(Text("%s: picture %" PRId64 " of %dx%d cannot be encoded: %s",
                      source.Name().c_str(), frames, settings.width, settings.height,
                      error.what()));
  }
  ++frames;
  return true;
}

std::int64_t CRecorder::Expected() const {
  const std::int64_t count = source.Count();
  if (settings.frames == 0) return count;
  return count > 0 ? std::min(count, settings.frames) : settings.frames;
}

double CRecorder::Share() const {
  const std::int64_t expected = Expected();
  return expected > 0 ? double(frames) / double(expected) : -1;
}
