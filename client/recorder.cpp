#include "client/recorder.h"

#include "client/console.h"
#include "client/failure_text.h"
#include "client/interrupt.h"
#include "client/layered_recording.h"
#include "client/yuv_packing.h"

#include <algorithm>
#include <cinttypes>

CSize StepsOf(ztlib_video_format videoFormat) {
  if (CLayeredRecording::Codes(videoFormat)) return {16, 16};
  return videoFormat == ZTLIB_VIDEO_MJPEGDIFF ? CSize{16, 8} : CSize{1, 1};
}

ztlib::Image CPacker::Pack(const AVFrame& picture) {
  const AVFrame& planes =
      scaler.Convert(picture, PlanarFormatFor(picture), scaled.width, scaled.height);
  PoolFramePtr packed = CFramePool::New(size.width, size.height, pixelFormat);
  (pixelFormat == ZTLIB_UYVY ? PackUyvy : PackYuv)(planes, *packed);
  return {pixelFormat, std::move(packed)};
}

// Each encoder gets the format that it works on.
CCoder::CCoder(const ztlib::EncoderSettings& encoderSettings, CSize scaledSize)
    : settings(encoderSettings),
      scaled(scaledSize),
      packer(encoderSettings.videoFormat == ZTLIB_VIDEO_MJPEG ? ZTLIB_YUV : ZTLIB_UYVY,
             {encoderSettings.width, encoderSettings.height}, scaledSize),
      encoder(NewEncoder(encoderSettings)) {}

void CCoder::Code(const AVFrame& picture) {
  input.reset();
  input.emplace(convert.Run([&] { return packer.Pack(picture); }));
  coded = encode.Run([&] { return encoder->Encode(*input); });
}

void CRecorder::Open() {
  const bool isScaled = settings.width != 0;
  CSize scaled{settings.width, settings.height};
  if (!isScaled) scaled = {picture->width, picture->height};
  settings.width = scaled.width;
  settings.height = scaled.height;
  const CSize step = StepsOf(settings.videoFormat);
  settings.width -= scaled.width % step.width;
  settings.height -= scaled.height % step.height;
  const char* video =
      CLayeredRecording::Codes(settings.videoFormat) ? "layered video" : "differential video";
  const std::string steps = Text("%d by %d pixels", step.width, step.height);
  if (settings.width == 0 || settings.height == 0)
    throw CError(Text("%s: pictures of %dx%d are too small for %s, which needs %s",
                      source.Name().c_str(), scaled.width, scaled.height, video, steps.c_str()));
  if (settings.width != scaled.width || settings.height != scaled.height)
    Complain(Text("%s: coded in %dx%d, not %dx%d%s: %s goes in steps of %s", source.Name().c_str(),
                  settings.width, settings.height, scaled.width, scaled.height,
                  isScaled ? "" : ", cut at the right and at the bottom", video, steps.c_str()));
  if (isScaled) scaled = {settings.width, settings.height};
  coder.emplace(settings, scaled);
}

bool CRecorder::Step() {
  if (Interrupted() || (settings.frames > 0 && frames == settings.frames)) return false;
  for (; skipped < settings.from; ++skipped)
    if (Interrupted() || !source.Next(*picture)) return false;
  if (!decodeInput.Run([&] { return source.Next(*picture); })) return false;
  try {
    if (!coder) Open();
    coder->Code(*picture);
  } catch (const ztlib::Error& error) {
    throw CError(Text("%s: picture %" PRId64 " of %dx%d cannot be encoded: %s",
                      source.Name().c_str(), frames, settings.width, settings.height,
                      WhyNotEncoded(settings.width, settings.height, error).c_str()));
  }
  ++frames;
  return true;
}

void CRecorder::CheckNotEmpty() const {
  if (frames > 0) return;
  ThrowIfInterrupted();
  throw CError(source.Name() + (settings.from == 0
                                    ? ": no picture in it"
                                    : Text(": no picture %" PRId64 " in it", settings.from)));
}

std::int64_t CRecorder::Expected() const {
  const std::int64_t count =
      source.Count() > 0 ? std::max<std::int64_t>(1, source.Count() - settings.from) : 0;
  if (settings.frames == 0) return count;
  return count > 0 ? std::min(count, settings.frames) : settings.frames;
}

double CRecorder::Share() const {
  const std::int64_t expected = Expected();
  return expected > 0 ? double(frames) / double(expected) : -1;
}
