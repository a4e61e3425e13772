#include "Program.h"

#include <exception>
#include <functional>
#include <new>
#include <string>

#include "Choices.h"
#include "CommandError.h"
#include "CommandLine.h"
#include "Console.h"
#include "DoctorCommand.h"
#include "ListCommand.h"
#include "OutputError.h"
#include "ScanCommand.h"
#include "ScanReport.h"
#include "VirtualCommand.h"

namespace frontend {
namespace {

void runCommand(const CommandLine& commandLine) {
  switch (commandLine.command) {
    case CommandLine::Command::print:
      return console::print(commandLine.text);
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

using ErrorReport = void (*)(ExitCode code, const std::string& message);

void logError(ExitCode /*code*/, const std::string& message) {
  console::log(message);
}

void logErrorAsJson(ExitCode code, const std::string& message) {
  console::writeErrors(errorAsJson(code, message));
}

// The one place where exceptions end and become an exit code.
ExitCode run(const std::function<void()>& work, ErrorReport report) {
  const auto fail = [report](ExitCode code, const std::string& message) {
    report(code, message);
    return code;
  };
  try {
    work();
    return ExitCode::good;
  } catch (const CommandError& error) {
    return fail(error.code(), error.what());
  } catch (const OutputError& error) {
    return fail(ExitCode::output, error.what());
  } catch (const std::bad_alloc&) {
    return fail(ExitCode::noMemory, outcome::noMemory().sentence);
  } catch (const std::exception& error) {
    return fail(ExitCode::ioError, std::string("Unexpected error: ") + error.what());
  }
}

}  // namespace

int runProgram(int argc, const char* const* argv) {
  console::reserveDescriptors();
  CommandLine commandLine;
  ExitCode code = run([&] { commandLine = parseCommandLine(argc, argv); }, logError);
  if (code == ExitCode::good) {
    const bool json =
        commandLine.command == CommandLine::Command::scan && lowerCase(commandLine.scan.progress) == "json";
    code = run([&] { runCommand(commandLine); }, json ? logErrorAsJson : logError);
  }
  return static_cast<int>(code);
}

}  // namespace frontend
