#include "ScanCommand.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <vector>

#include "CancelSignals.h"
#include "CommandError.h"
#include "Console.h"
#include "OutputFile.h"
#include "PictureWriter.h"
#include "ProgressDisplay.h"
#include "Raster.h"
#include "ScanPlan.h"
#include "SupervisedScan.h"
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

ScanRequest requestFor(const ScanPlan& plan, const ScanOptions& options) {
  ScanRequest request;
  request.scanner = options.device.empty() ? "virtual" : options.device;
  request.settings = plan.settings;
  request.virtualScanner.paper = options.virtualDevice.paper;
  for (std::string fault : options.virtualDevice.faults) {
    std::replace(fault.begin(), fault.end(), ':', '@');
    request.virtualScanner.faults.push_back(fault);
  }
  request.virtualScanner.packetSize = options.virtualDevice.packetSize;
  request.verbose = options.verbose;
  return request;
}

std::vector<std::uint8_t> collect(SupervisedScan& scan, const ScanPlan& plan, ProgressDisplay& display,
                                  const CancelFlag& cancel) {
  constexpr std::size_t chunk = 65536;
  constexpr int pauseMs = 100;  // a signal may come just before the wait
  const std::uint64_t total = plan.settings.rasterBytes();
  std::vector<std::uint8_t> pixels(total);
  std::uint8_t end = 0;
  for (std::size_t filled = 0;;) {
    if (cancel.requested()) scan.cancel();
    const std::size_t room = std::min(chunk, pixels.size() - filled);
    const auto taken = scan.readAvailable(room > 0 ? &pixels[filled] : &end, std::max<std::size_t>(room, 1));
    if (taken && *taken == 0) return pixels;
    if (taken) {
      filled += *taken;
      display.update({filled, total});
    } else {
      pollfd ready{scan.descriptor(), POLLIN, 0};
      poll(&ready, 1, pauseMs);
    }
  }
}

Raster rasterOf(const std::vector<std::uint8_t>& pixels, const ScanSettings& settings) {
  return {pixels.data(), settings.area.width, settings.area.height, settings.bytesPerPixel()};
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
  checkDevice(options.device, options.virtualDevice);
  if (!options.quiet) {
    for (const std::string& note : plan.notes) console::say(note);
  }

  CancelFlag cancel;
  const CancelSignals signals(cancel);
  ProgressDisplay display(progressStyle(options), console::columns(), console::write,
                          [] { return std::chrono::steady_clock::now(); });
  SupervisedScan scan(requestFor(plan, options));
  const std::vector<std::uint8_t> pixels = collect(scan, plan, display, cancel);
  display.finish();
  throwUnlessGood(scan.outcome());
  const Raster raster = rasterOf(pixels, plan.settings);

  const std::string name = plan.toStandardOutput ? "standard output" : options.output;
  if (standardOutput) {
    write(plan, name, standardOutput->descriptor(), raster, cancel);
  } else {
    save(plan, name, raster, cancel);
  }
  if (!options.quiet) console::say(summary(name, plan, raster));
}

}  // namespace frontend
