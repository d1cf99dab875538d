#include "client/program.h"

#include "client/console.h"
#include "client/interrupt.h"
#include "client/output_file.h"

#include <exception>
#include <new>

#if defined(ZTCLIENT_FFMPEG)
#include "client/av.h"
#endif

int RunProgram(const CProgram& program, int count, char** values) {
  SetProgramName(program.name);
  try {
    const CArguments arguments = ParseArguments(program, count, values);
    if (!arguments.run) return arguments.status;
    WatchInterrupts();
    SplitOutput();
#if defined(ZTCLIENT_FFMPEG)
    av_log_set_level(AV_LOG_QUIET);
#endif
    const std::shared_ptr<void> session = program.open(arguments.isVerbose);
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
