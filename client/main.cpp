#include "client/commands.h"
#include "client/program.h"
#include "client/session.h"
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
            .open = OpenSession};
      },
      count, values);
}
