#pragma once

#include "client/picture_source.h"
#include "tests/kit/bytes.h"

#include <string>
#include <vector>

// What one kind of camera sends: its frames in the library's video, and the same pictures as the
// peer gets them, in MJPEG or, where frames build on others, in MPEG-4 of FFmpeg.
struct CStream {
  int video, width, height;  // video is a ztlib_video_format
  std::vector<kit::Bytes> frames;
  std::vector<kit::Bytes> packets;

  [[nodiscard]] std::string Name() const;
  [[nodiscard]] double FrameBytes() const;   // mean
  [[nodiscard]] double PacketBytes() const;  // mean
};

// Encodes up to `count` pictures of a source, scaled to the size.
[[nodiscard]] CStream EncodeStream(IPictureSource& source, std::size_t count, int video, int width,
                                   int height);
