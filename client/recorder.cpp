#include "client/recorder.h"

#include "client/yuv_packing.h"

#include <algorithm>
#include <cinttypes>

bool CRecorder::Step() {
  if (settings.frames > 0 && frames == settings.frames) return false;
  if (!decodeInput.Run([&] { return source.Next(*picture); })) return false;
  if (settings.width == 0) {
    settings.width = picture->width;
    settings.height = picture->height;
  }
  try {
    if (!encoder)
      encoder.emplace(settings.videoFormat, settings.width, settings.height, settings.quality);
    input.reset();
    input = convert.Run([&] { return Convert(); });
    coded = encode.Run([&] { return encoder->Encode(input); });
  } catch (const CLibraryError& error) {
    throw CError(Text("%s: picture %" PRId64 " of %dx%d cannot be encoded: %s",
                      source.Name().c_str(), frames, settings.width, settings.height,
                      error.what()));
  }
  ++frames;
  return true;
}

ImagePtr CRecorder::Convert() {
  const AVFrame& planes =
      scaler.Convert(*picture, PlanarFormatFor(*picture), settings.width, settings.height);
  PoolFramePtr packed = NewPoolFrame(settings.width, settings.height, ZTLIB_YUV);
  PackYuv(planes, *packed);
  return WrapFrame(ZTLIB_YUV, std::move(packed));
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
