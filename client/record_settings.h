#pragma once

#include "client/frame.h"

#include <cstdint>

struct CRecordSettings : ztlib::EncoderSettings {  // a size of 0: as the first picture
  std::int64_t from = 0;                           // the first picture
  std::int64_t frames = 0;                         // 0: all
};
