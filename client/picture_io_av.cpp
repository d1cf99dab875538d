#include "client/media_input.h"
#include "client/picture_io.h"
#include "client/scaler.h"

#include <algorithm>

PoolFramePtr ReadPicture(const std::string& path, int pixelFormat, EColour colour) {
  CMediaInput input(path);
  const FramePtr read = NewFrame();
  if (!input.Next(*read)) throw CError(path + ": no picture in it");
  const bool isGray = pixelFormat == ZTLIB_GRAY;
  const auto format = static_cast<AVPixelFormat>(read->format);
  if (isGray && colour == EColour::refused && av_pix_fmt_desc_get(format)->nb_components > 2)
    throw ColourError(path);
  CScaler scaler;
  const AVFrame& shown =
      scaler.Convert(*read, isGray ? AV_PIX_FMT_GRAY8 : AV_PIX_FMT_BGR0, read->width, read->height);
  PoolFramePtr picture = NewPoolFrame(shown.width, shown.height, pixelFormat);
  for (int y = 0; y < shown.height; ++y)
    std::copy_n(shown.data[0] + std::ptrdiff_t{y} * shown.linesize[0],
                shown.width * (isGray ? 1 : 4),
                picture->data[0] + std::ptrdiff_t{y} * picture->linesize[0]);
  return picture;
}
