#include "client/program.h"

#include "client/av.h"
#include "client/console.h"
#include "client/interrupt.h"
#include "client/output_file.h"
#include "client/platform.h"

#include <cstdlib>
#include <exception>
#include <new>

namespace {

constexpr char noMemory[] = "out of memory";

// Some destructors of the JSON library take memory, and nothing catches what leaves a destructor.
[[noreturn]] void OnTerminate() {
  try {
    if (const std::exception_ptr unhandled = std::current_exception())
      std::rethrow_exception(unhandled);
  } catch (const std::bad_alloc&) {
    EndAtOnceWith(noMemory);
  } catch (...) {
    // A fault of the program, which may leave a dump.
  }
  std::abort();
}

}  // namespace

int RunProgram(CProgram (*describe)(), int count, char** values) {
  std::set_terminate(OnTerminate);
  if (count > 0) SetProgramName(values[0]);
  const CConsoleSetup console;
  try {
    const CProgram program = describe();
    SetProgramName(program.name);
    const CArguments arguments = ParseArguments(program, Arguments(count, values));
    if (!arguments.run) return arguments.status;
    SetVerbose(arguments.isVerbose);
    WatchInterrupts();
    SplitOutput();
    av_log_set_level(AV_LOG_QUIET);
    const std::shared_ptr<void> session = program.open(arguments.isVerbose);
    const int status = arguments.run();
    Flush(Output());
    return Interrupted() ? interruptedStatus : status;
  } catch (...) {
    return ReportFailure();
  }
}

int ReportFailure(const std::string& about) {
  try {
    throw;
  } catch (const CInterrupted&) {
    return interruptedStatus;
  } catch (const std::bad_alloc&) {
    Complain(about + noMemory + TakeKeptRecordings());
  } catch (const std::exception& error) {
    Complain(error.what() + TakeKeptRecordings());
  }
  return 1;
}
