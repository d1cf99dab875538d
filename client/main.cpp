#include "client/commands.h"
#include "client/library.h"
#include "client/program.h"
#include "client/version.h"

int main(int count, char** values) {
  return RunProgram(
      [] {
        return CProgram{
            .name = "ztclient",
            .help = "Records, plays and inspects coded frames of ztlib.",
            .commands = {RecordCommand(), PlayCommand(), LayersCommand(), InfoCommand(),
                         DemoCommand(), TriangulateCommand(), MotionCommand(), TreeCommand()},
            .verboseHelp = "Show the log lines of the library, and each picture of motion",
            .version = VersionText,
            .open = [](bool isVerbose) { return std::make_shared<CSession>(isVerbose); }};
      },
      count, values);
}
