#include "client/picture_io.h"

#include "client/interrupt.h"
#include "client/media_input.h"
#include "client/picture_forms.h"
#include "client/scaler.h"

#include <algorithm>

PoolFramePtr ReadPicture(const std::string& path, ztlib_pixel_format pixelFormat, EColour colour) {
  CMediaInput input(path);
  const FramePtr read = NewFrame();
  if (!input.Next(*read)) {
    ThrowIfInterrupted();
    throw CError(path + ": no picture in it");
  }
  const bool isGray = pixelFormat == ZTLIB_GRAY;
  const auto format = static_cast<AVPixelFormat>(read->format);
  if (isGray && colour == EColour::refused && av_pix_fmt_desc_get(format)->nb_components > 2)
    throw CError(path + ": a picture in colour has no single value for a pixel; it is rgb");
  CScaler scaler;
  const AVFrame& shown =
      scaler.Convert(*read, isGray ? AV_PIX_FMT_GRAY8 : AV_PIX_FMT_BGR0, read->width, read->height);
  PoolFramePtr picture = CFramePool::New(shown.width, shown.height, pixelFormat);
  for (int y = 0; y < shown.height; ++y)
    std::copy_n(shown.data[0] + std::ptrdiff_t{y} * shown.linesize[0],
                shown.width * (isGray ? 1 : 4),
                picture->data[0] + std::ptrdiff_t{y} * picture->linesize[0]);
  return picture;
}

void WritePng(COutputs& outputs, const std::string& path, const AVFrame& picture) {
  outputs.Write(path, CPngCoder().Code(picture));
}

CCanvas CanvasOf(const AVFrame& picture) {
  CCanvas canvas(picture.width, picture.height);
  for (int y = 0; y < picture.height; ++y) {
    const std::uint8_t* row = picture.data[0] + std::ptrdiff_t{y} * picture.linesize[0];
    for (int x = 0; x < picture.width; ++x, row += 4)
      canvas.At(x, y).color = {float(row[2]), float(row[1]), float(row[0])};
  }
  return canvas;
}

PoolFramePtr PictureOf(const CCanvas& canvas) {
  PoolFramePtr picture = CFramePool::New(canvas.Width(), canvas.Height(), ZTLIB_RGB);
  const auto byte = [](float value) {
    return static_cast<std::uint8_t>(std::clamp(value + 0.5F, 0.0F, 255.0F));
  };
  const CCanvas::CPixel* pixel = canvas.Pixels().data();
  for (int y = 0; y < canvas.Height(); ++y) {
    std::uint8_t* row = picture->data[0] + std::ptrdiff_t{y} * picture->linesize[0];
    for (int x = 0; x < canvas.Width(); ++x, row += 4, ++pixel) {
      row[0] = byte(pixel->color.blue);
      row[1] = byte(pixel->color.green);
      row[2] = byte(pixel->color.red);
      row[3] = 0;
    }
  }
  return picture;
}
