#include "client/commands.h"
#include "client/console.h"
#include "client/interrupt.h"
#include "client/library.h"
#include "client/output_file.h"

#include <exception>
#include <new>

int main(int count, char** values) {
  try {
    const CArguments arguments = ParseArguments(
        {.name = "ztclient",
         .help = "Records, plays and inspects coded frames of ztlib.",
         .commands = {RecordCommand(), PlayCommand(), LayersCommand(), InfoCommand(),
                      ConvertCommand(), DemoCommand(), TriangulateCommand(), HistogramCommand(),
                      MotionCommand(), TreeCommand(), CalibrateCommand()}},
        count, values);
    if (!arguments.run) return arguments.status;
    WatchInterrupts();
    SplitOutput();
#if defined(ZTCLIENT_FFMPEG)
    av_log_set_level(AV_LOG_QUIET);
#endif
    const CSession session(arguments.isVerbose);
    const int status = arguments.run();
    Flush(Output());
    return Interrupted() ? interruptedStatus : status;
  } catch (const CInterrupted&) {
    return interruptedStatus;
  } catch (const std::bad_alloc&) {
    Complain("out of memory" + KeptRecordings());
  } catch (const std::exception& error) {
    Complain(error.what() + KeptRecordings());
  }
  return 1;
}
