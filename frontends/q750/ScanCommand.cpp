#include "ScanCommand.h"

#include <unistd.h>

#include <chrono>

#include "CancelSignals.h"
#include "CommandError.h"
#include "Console.h"
#include "OutputFile.h"
#include "PictureWriter.h"
#include "ProgressDisplay.h"
#include "ScanPlan.h"
#include "ScanSession.h"
#include "VerboseSink.h"
#include "Version.h"

namespace frontend {
namespace {

// Standard output, kept for the picture alone: what anyone else in the process prints there goes to standard
// error.
class PictureOnStandardOutput {
 public:
  PictureOnStandardOutput() {
    if (isatty(STDOUT_FILENO) == 1) {
      throw UsageError(
          "A picture is nothing for a terminal. Send it to a file or a program: q750 scan -o - > page.pnm");
    }
    descriptor_ = dup(STDOUT_FILENO);
    if (descriptor_ < 0 || dup2(STDERR_FILENO, STDOUT_FILENO) < 0)
      throw OutputError("Standard output is closed.");
  }
  ~PictureOnStandardOutput() {
    if (descriptor_ >= 0) close(descriptor_);
  }
  PictureOnStandardOutput(const PictureOnStandardOutput&) = delete;
  PictureOnStandardOutput& operator=(const PictureOnStandardOutput&) = delete;

  int descriptor() const { return descriptor_; }

 private:
  int descriptor_ = -1;
};

ProgressStyle progressStyle(const ScanOptions& options) {
  if (options.quiet) return ProgressStyle::none;
  // Log lines and a bar would overwrite each other.
  return console::isTerminal() && !options.verbose ? ProgressStyle::bar : ProgressStyle::plain;
}

void throwUnlessGood(const ScanOutcome& outcome) {
  if (!outcome.good()) throw CommandError(exitCodeFor(outcome.status), outcome.sentence);
}

void write(const ScanPlan& plan, const std::string& name, int descriptor, const Raster& raster,
           const CancelFlag& cancel) {
  ByteSink sink(descriptor, &cancel);
  writePicture(plan.format, sink, raster, {plan.settings.resolution, std::string("q750 ") + version});
  if (sink.good()) return;
  if (sink.cancelled()) throwUnlessGood(outcome::cancelled());
  const std::string why = name + ": the picture could not be written: " + sink.failure() + ".";
  throw OutputError(
      plan.toStandardOutput ? why : why + " Free some space or choose another place, then scan again.");
}

void save(const ScanPlan& plan, const std::string& path, const Raster& raster, const CancelFlag& cancel) {
  OutputFile file(path);
  write(plan, path, file.descriptor(), raster, cancel);
  file.putInPlace();
}

std::string summary(const std::string& name, const ScanPlan& plan, const Raster& raster) {
  return name + ": " + std::to_string(raster.width) + " x " + std::to_string(raster.height) + " pixels, " +
         (raster.bytesPerPixel == 3 ? "colour" : "grey") + ", " + std::to_string(plan.settings.resolution) +
         " dots per inch";
}

}  // namespace

void runScan(const ScanOptions& options) {
  const ScanPlan plan = planScan(options);
  std::optional<PictureOnStandardOutput> standardOutput;
  if (plan.toStandardOutput) {
    standardOutput.emplace();
  } else {
    OutputFile::check(options.output);
  }
  const std::unique_ptr<Device> device = openDevice(options.device, options.virtualDevice);
  if (!options.quiet) {
    for (const std::string& note : plan.notes) console::say(note);
  }

  CancelFlag cancel;
  const CancelSignals signals(cancel);
  ProgressDisplay display(progressStyle(options), console::columns(), console::write,
                          [] { return std::chrono::steady_clock::now(); });
  VerboseSink verbose(console::columns() - 1, console::write);
  ScanSession session(device->stack(), plan.settings,
                      {[&display](const ScanProgress& progress) { display.update(progress); },
                       &cancel,
                       options.verbose ? &verbose : nullptr,
                       {}});
  const ScanOutcome outcome = session.run();
  display.finish();
  throwUnlessGood(outcome);

  const std::string name = plan.toStandardOutput ? "standard output" : options.output;
  if (standardOutput) {
    write(plan, name, standardOutput->descriptor(), session.raster(), cancel);
  } else {
    save(plan, name, session.raster(), cancel);
  }
  if (!options.quiet) console::say(summary(name, plan, session.raster()));
}

}  // namespace frontend
