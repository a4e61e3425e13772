#include "Program.h"

#include <exception>
#include <functional>
#include <new>
#include <string>

#include "CommandError.h"
#include "CommandLine.h"
#include "Console.h"
#include "DoctorCommand.h"
#include "ListCommand.h"
#include "OutputError.h"
#include "ScanCommand.h"
#include "ScanReport.h"
#include "StandardOutput.h"
#include "VirtualCommand.h"

namespace frontend {
namespace {

void run(const CommandLine& commandLine) {
  switch (commandLine.command) {
    case CommandLine::Command::show:
      return show(commandLine.text);
    case CommandLine::Command::list:
      return runList(commandLine.list);
    case CommandLine::Command::scan:
      return runScan(commandLine.scan);
    case CommandLine::Command::doctor:
      return runDoctor(commandLine.doctor);
    case CommandLine::Command::serve:
      return runVirtual(commandLine.serve);
  }
}

// Does the work and tells failures by the function, which takes a code and a message.
template <typename Tell>
int toldBy(const Tell& tell, const std::function<void()>& work) {
  try {
    work();
    return static_cast<int>(ExitCode::good);
  } catch (const CommandError& error) {
    return tell(error.code(), error.what());
  } catch (const OutputError& error) {
    return tell(ExitCode::output, error.what());
  } catch (const std::bad_alloc&) {
    return tell(ExitCode::noMemory, outcome::noMemory().sentence);
  } catch (const std::exception& error) {
    return tell(ExitCode::ioError, std::string("Something unexpected went wrong: ") + error.what());
  }
}

int sayFailure(ExitCode code, const std::string& message) {
  console::say(message);
  return static_cast<int>(code);
}

int printFailure(ExitCode code, const std::string& message) {
  console::write(errorAsJson(code, message));
  return static_cast<int>(code);
}

}  // namespace

int runProgram(int argc, const char* const* argv) {
  console::fillGaps();
  CommandLine commandLine;
  const int code = toldBy(sayFailure, [&] { commandLine = parseCommandLine(argc, argv); });
  if (code != static_cast<int>(ExitCode::good)) return code;
  const bool json = commandLine.command == CommandLine::Command::scan && commandLine.scan.progress == "json";
  return toldBy(json ? printFailure : sayFailure, [&] { run(commandLine); });
}

}  // namespace frontend
