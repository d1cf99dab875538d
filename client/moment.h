#pragma once

#include "client/html_report.h"
#include "client/picture_file.h"
#include "client/scaler.h"

// Makes the pictures of the report.
class CMomentMaker {
 public:
  // `source` is scaled to the size of `decoded`, which is ZTLIB_RGB.
  [[nodiscard]] CMoment Make(std::int64_t index, const AVFrame& source, const AVFrame& decoded);

 private:
  [[nodiscard]] std::string Overview(const AVFrame& picture);
  [[nodiscard]] std::string Png(const AVFrame& picture);

  CScaler toDecoded, toOverview;
  CPictureCoder jpeg{CPictureCoder::EKind::jpeg}, png{CPictureCoder::EKind::png};
};
