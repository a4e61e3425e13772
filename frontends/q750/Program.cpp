#include "Program.h"

#include <exception>
#include <new>
#include <string>

#include "CommandError.h"
#include "CommandLine.h"
#include "Console.h"
#include "Devices.h"
#include "ScanCommand.h"
#include "StandardOutput.h"
#include "VirtualCommand.h"

namespace frontend {
namespace {

void run(const CommandLine& commandLine) {
  switch (commandLine.command) {
    case CommandLine::Command::show:
      return show(commandLine.text);
    case CommandLine::Command::list:
      return show(deviceTable(listDevices()));
    case CommandLine::Command::scan:
      return runScan(commandLine.scan);
    case CommandLine::Command::serve:
      return runVirtual(commandLine.serve);
  }
}

int fail(ExitCode code, const std::string& message) {
  console::say(message);
  return static_cast<int>(code);
}

}  // namespace

int runProgram(int argc, const char* const* argv) {
  console::fillGaps();
  try {
    run(parseCommandLine(argc, argv));
    return static_cast<int>(ExitCode::good);
  } catch (const CommandError& error) {
    return fail(error.code(), error.what());
  } catch (const std::bad_alloc&) {
    return fail(ExitCode::noMemory, outcome::noMemory().sentence);
  } catch (const std::exception& error) {
    return fail(ExitCode::ioError, std::string("Something unexpected went wrong: ") + error.what());
  }
}

}  // namespace frontend
