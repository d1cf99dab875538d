#pragma once

#include <cstdint>
#include <memory>

namespace ztlib {

class CBinData;
class CVideoDecoderBase;
class CVideoEncoderBase;
class CZTImage;

// The codec of a video format. Null, with a log line, for a format that has none.
[[nodiscard]] std::unique_ptr<CVideoDecoderBase> CreateDecoder(int format);
[[nodiscard]] std::unique_ptr<CVideoEncoderBase> CreateEncoder(int format);

// Decodes a frame with the decoder behind `*decoder`, which is the client's handle. The stream
// decides: a decoder of another format than the frame's is replaced by a new one with default
// configuration, a null one is created. For a frame of an unknown format the result is false and
// nothing changes; with a null decoder such a frame ends the process.
bool DecodeFrame(CVideoDecoderBase** decoder, CZTImage& out, CBinData& frame);

}  // namespace ztlib
