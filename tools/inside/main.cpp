#include "client/console.h"
#include "client/frame.h"
#include "client/program.h"
#include "client/text.h"
#include "main/lib/base/frame_manager.h"
#include "main/lib/base/logger.h"
#include "tools/inside/commands.h"
#include "ztlib.h"

using namespace ztlib;

namespace {

// The library's pictures are frames of the pool.
std::shared_ptr<void> OpenLibrary(bool isVerbose) {
  const FrameManager frames = FrameManager::Of<CFramePool>();
  RegisterFrameManager(frames.allocate, frames.release, nullptr, false);
  if (isVerbose)
    Logger().AddStream(new CFunctionLogStream([](int level, const char* text) {
      Complain(Text("library log, level %d: %s", level, text));
    }));
  return nullptr;
}

}  // namespace

int main(int count, char** values) {
  return RunProgram(
      [] {
        return CProgram{
            .name = "ztinside",
            .help = "Shows what no function of ztlib's interface reaches.",
            .commands = {CalibrateCommand(), ConvertCommand(), HistogramCommand(), MeshCommand()},
            .verboseHelp = "Show the log lines of the library",
            .version =
                [] {
                  return Text("ztinside %d.%d.%d, with the library inside", ZTLIB_VERSION_MAJOR,
                              ZTLIB_VERSION_MINOR, ZTLIB_VERSION_PATCH);
                },
            .open = OpenLibrary};
      },
      count, values);
}
