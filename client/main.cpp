#include "client/arguments.h"
#include "client/console.h"
#include "client/library.h"

#include <exception>
#include <new>

int main(int count, char** values) {
  try {
    const CArguments arguments = ParseArguments(count, values);
    if (!arguments.run) return arguments.status;
    SplitOutput();
#if defined(ZTCLIENT_FFMPEG)
    av_log_set_level(AV_LOG_QUIET);
#endif
    const CSession session(arguments.isVerbose);
    const int status = arguments.run();
    Flush(Output());
    return status;
  } catch (const std::bad_alloc&) {
    Complain("out of memory");
  } catch (const std::exception& error) {
    Complain(error.what());
  }
  return 1;
}
