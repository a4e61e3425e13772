#include "ScanCommand.h"

#include <unistd.h>

#include <chrono>
#include <exception>
#include <new>
#include <optional>
#include <string>
#include <vector>

#include "BatchEnd.h"
#include "CancelSignals.h"
#include "CommandError.h"
#include "Console.h"
#include "OutputError.h"
#include "PageAnswer.h"
#include "PageOutput.h"
#include "ScanPlan.h"
#include "ScanReport.h"
#include "ScannerInventory.h"
#include "SupervisedScan.h"
#include "VirtualOptions.h"

namespace frontend {
namespace {

constexpr std::size_t bufferSize = 256 * 1024;

// What ended a batch before its plan or its user wanted that.
struct Reason {
  ExitCode code;
  std::string sentences;
};

// Of an exception that scanning threw, or of pages that could not all be saved.
std::optional<Reason> reasonOf(const std::exception_ptr& failure, const SavedPages& saved) try {
  if (failure) std::rethrow_exception(failure);
  if (saved.noMemory) throw std::bad_alloc();
  if (saved.problem.empty()) return std::nullopt;
  return Reason{ExitCode::output, saved.problem};
} catch (const CommandError& error) {
  return Reason{error.code(), error.what()};
} catch (const OutputError& error) {
  return Reason{ExitCode::output, error.what()};
} catch (const std::bad_alloc&) {
  return Reason{ExitCode::noMemory, outcome::noMemory().sentence};
}

// Scans the pages of one command and saves them, whatever ends the batch (BatchEnd.h). The first page is
// checked before anything is printed or the scanner is touched.
class Batch {
 public:
  // A readable `cancelDescriptor` ends the wait for the user's answer.
  Batch(const ScanPlan& plan, ScanReport& report, Cancellation& cancellation, int cancelDescriptor)
      : plan_(plan),
        report_(report),
        cancellation_(cancellation),
        cancelDescriptor_(cancelDescriptor),
        output_(plan, cancellation),
        replaced_(output_.check(1)) {}

  void run() {
    const std::exception_ptr failure = scanPages();
    report_.pageEnds();
    const SavedPages& saved = output_.save();
    if (saved.place != SavedPages::Place::filePerPage && saved.pages > 0)
      reportSaved(nameOf(saved), saved.before + saved.pages);
    if (cancellation_.requested()) throw errorOfBatch(ExitCode::cancelled, "", saved);
    if (const auto reason = reasonOf(failure, saved))
      throw errorOfBatch(reason->code, reason->sentences, saved);
  }

 private:
  // Returns what ended the batch unless it was the plan or the user. The pages are not saved yet, and
  // sentences take memory, which may be what is missing: they are made afterwards.
  std::exception_ptr scanPages() noexcept try {
    noteReplaced();
    for (std::uint32_t page = 1; page != 0; page = nextAfter(page)) {
      const ScanOutcome outcome = scan(page);
      report_.pageEnds();
      if (!outcome.good()) throw CommandError(exitCodeFor(outcome.status), inPage(page, outcome.sentence));
      if (plan_.filePerPage) reportSaved(output_.saved().last, 1);
    }
    return nullptr;
  } catch (...) {
    return std::current_exception();
  }

  static std::string inPage(std::uint32_t page, const std::string& sentence) {
    return page == 1 ? sentence : "Page " + std::to_string(page) + ": " + sentence;
  }
  static const std::string& nameOf(const SavedPages& saved) {
    static const std::string standardOutput = "standard output";
    return saved.place == SavedPages::Place::standardOutput ? standardOutput : saved.last;
  }

  // A page that is saved is a success, even where the line about it finds no memory.
  void reportSaved(const std::string& name, std::uint32_t pages) {
    try {
      report_.saved(name, layout_, pages);
    } catch (const std::bad_alloc&) {
    }
  }

  void noteReplaced() {
    if (!replaced_.empty())
      report_.note(replaced_ + " exists and will be replaced. Use --no-clobber to prevent that.");
  }

  // The page to scan after this one, which may be the same; 0 for none.
  std::uint32_t nextAfter(std::uint32_t page) {
    while (page < plan_.pages) {
      replaced_ = output_.check(page + 1);
      noteReplaced();
      report_.prompt(page + 1, output_.canScanAgain());
      const PageAnswer answer = readPageAnswer(STDIN_FILENO, cancelDescriptor_);
      if (answer == PageAnswer::scan) return page + 1;
      if (answer != PageAnswer::scanAgain) break;  // a cancel is found at the end
      if (output_.canScanAgain()) return page;
      report_.note("The last page is on standard output already and cannot be replaced.");
    }
    return 0;
  }

  ScanOutcome scan(std::uint32_t page) {
    report_.pageBegins(page);
    SupervisedScan scan(plan_.request);
    const Cancellation::Aim aim(cancellation_, scan);
    if (const auto layout = scan.awaitLayout()) {
      layout_ = rotated(*layout, plan_.pictureSettings.rotation);
      report_.layoutKnown(layout_);
      output_.beginPage(page, *layout);
      receive(scan, layout->bytes());
    }
    ScanOutcome outcome = scan.outcome();  // before the page is saved: nothing may fail afterwards
    if (outcome.good()) output_.endPage();
    return outcome;
  }

  void receive(SupervisedScan& scan, std::uint64_t total) {
    std::vector<std::uint8_t> buffer(bufferSize);
    ScanProgress progress{0, total};
    while (const std::size_t count = scan.read(buffer.data(), buffer.size())) {
      output_.write(buffer.data(), count);
      progress.bytes += count;
      report_.progress(progress);
    }
  }

  const ScanPlan& plan_;
  ScanReport& report_;
  Cancellation& cancellation_;
  const int cancelDescriptor_;
  PageOutput output_;
  std::string replaced_;  // the file that the next page replaces, or empty
  PictureLayout layout_;  // of the latest page as it is written
};

}  // namespace

void runScan(const ScanOptions& options) {
  ScanReport report(progressStyle(options, console::isTerminal()), options.quiet, console::columns(),
                    console::writeErrors, [] { return std::chrono::steady_clock::now(); });
  ScanPlan plan = planScan(options);
  Cancellation cancellation;
  const CancelSignals signals(cancellation);
  Batch batch(plan, report, cancellation, signals.descriptor());
  plan.request.scanner = chooseScanner(plan.device, anyUsed(options.virtualScanner),
                                       [&cancellation] { return takeInventory(cancellation); });
  report.scannerChosen(plan.request.scanner);
  for (const std::string& note : plan.notes) report.note(note);
  batch.run();
}

}  // namespace frontend
