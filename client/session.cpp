#include "client/session.h"

#include "client/console.h"
#include "client/frame.h"

std::shared_ptr<void> OpenSession(bool isVerbose) {
  // Pictures of damaged frames go nowhere.
  CFramePool::ClearFrames(false);
  ztlib_logger logger = nullptr;
  if (isVerbose)
    logger = [](int level, const char* text) {
      Complain(Text("library log, level %d: %s", level, text));
    };
  return std::make_shared<ztlib::Session>(logger, ztlib::FrameManager::Of<CFramePool>());
}
