#include "client/commands.h"

namespace {

[[noreturn]] void NeedsFfmpeg() {
  throw CError("pictures are read by FFmpeg, which this ztclient was built without");
}

}  // namespace

int Record(const CRecordOptions&) {
  NeedsFfmpeg();
}

int Demo(const CDemoOptions&) {
  NeedsFfmpeg();
}

int Motion(const CMotionOptions&) {
  NeedsFfmpeg();
}
