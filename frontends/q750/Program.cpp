#include "Program.h"

#include <unistd.h>

#include <csignal>
#include <cstdlib>
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
#include "ShareCommand.h"
#include "StandardDescriptors.h"
#include "UserDefaults.h"
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
    case CommandLine::Command::share:
      runShare(commandLine.share);
  }
}

using ErrorReport = void (*)(ExitCode code, const std::string& message);

void logError(ExitCode /*code*/, const std::string& message) {
  console::log(message);
}

void logErrorAsJson(ExitCode code, const std::string& message) {
  console::writeErrors(errorAsJson(code, message));
}

// Without a single allocation.
ExitCode logNoMemory() noexcept {
  console::writeErrors("q750: ");
  console::writeErrors(outcome::noMemorySentence);
  console::writeErrors("\n");
  return ExitCode::noMemory;
}

// Where exceptions end and become an exit code. Throws std::bad_alloc where there is no memory for the
// report.
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

// There is no exception where it found no memory for itself.
bool isNoMemory(const std::exception_ptr& failure) noexcept {
  if (!failure) return true;
  try {
    std::rethrow_exception(failure);
  } catch (const std::bad_alloc&) {
    return true;
  } catch (...) {  // a defect, best reported by a signal
  }
  return false;
}

bool reportsAsJson(const CommandLine& commandLine) {
  const std::string& progress = commandLine.scan.progress;
  if (commandLine.command != CommandLine::Command::scan) return false;
  // An invalid name is refused by the command itself.
  return progress.empty() ? progressName(commandLine.scan) == "json" : lowerCase(progress) == "json";
}

// Whoever started this program may have ignored the ends of its own children, which is inherited: the system
// would then keep no exit status of ours, without which nothing that they did counts.
void awaitOwnChildren() {
  std::signal(SIGCHLD, SIG_DFL);
}

}  // namespace

void endWithoutMemory() {
  if (!isNoMemory(std::current_exception())) std::abort();
  _exit(static_cast<int>(logNoMemory()));
}

int runProgram(int argc, const char* const* argv) try {
  platform::reserveStandardDescriptors();
  awaitOwnChildren();
  CommandLine commandLine;
  ExitCode code = run([&] { commandLine = parseCommandLine(argc, argv, readUserDefaults); }, logError);
  if (code == ExitCode::good)
    code = run([&] { runCommand(commandLine); }, reportsAsJson(commandLine) ? logErrorAsJson : logError);
  return static_cast<int>(code);
} catch (const std::bad_alloc&) {
  return static_cast<int>(logNoMemory());
}

}  // namespace frontend
