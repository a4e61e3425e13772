#include "ScanCommand.h"

#include <unistd.h>

#include <chrono>
#include <vector>

#include "CancelSignals.h"
#include "CommandError.h"
#include "Console.h"
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

// Scans the pages of one command. The first page is checked before anything is printed or the
// scanner is touched.
class Pages {
 public:
  // A readable `cancelDescriptor` ends the wait for the user's answer.
  Pages(const ScanPlan& plan, ScanReport& report, Cancellation& cancellation, int cancelDescriptor)
      : plan_(plan),
        report_(report),
        cancellation_(cancellation),
        cancelDescriptor_(cancelDescriptor),
        output_(plan, cancellation) {
    output_.check(1);
  }

  void scanAll() {
    for (std::uint32_t page = 1; page <= plan_.pages; ++page) {
      if (page > 1 && !wanted(page)) break;
      const ScanOutcome outcome = scan(page);
      report_.pageEnds();
      if (!outcome.good()) fail(page, outcome);
      if (plan_.filePerPage) report_.saved(output_.name(), layout_, 1);
    }
    output_.finish();
    if (!plan_.filePerPage) report_.saved(output_.name(), layout_, output_.pagesInFile());
  }

 private:
  bool wanted(std::uint32_t page) {
    output_.check(page);
    report_.prompt(page);
    switch (readPageAnswer(STDIN_FILENO, cancelDescriptor_)) {
      case PageAnswer::scan:
        return true;
      case PageAnswer::finish:
        return false;
      case PageAnswer::cancel:
        break;
    }
    throw CommandError(ExitCode::cancelled, outcome::cancelled().sentence);
  }

  ScanOutcome scan(std::uint32_t page) {
    report_.pageBegins(page);
    SupervisedScan scan(plan_.request);
    const Cancellation::Aim aim(cancellation_, scan);
    if (const auto layout = scan.awaitLayout()) {
      layout_ = *layout;
      report_.layoutKnown(layout_);
      output_.beginPage(page, layout_);
      receive(scan);
    }
    if (scan.outcome().good()) output_.endPage();
    return scan.outcome();
  }

  void receive(SupervisedScan& scan) {
    std::vector<std::uint8_t> buffer(bufferSize);
    ScanProgress progress{0, layout_.bytes()};
    while (const std::size_t count = scan.read(buffer.data(), buffer.size())) {
      output_.write(buffer.data(), count);
      progress.bytes += count;
      report_.progress(progress);
    }
  }

  // Saves the pages before the one that failed, and throws the error.
  [[noreturn]] void fail(std::uint32_t page, const ScanOutcome& outcome) {
    const ExitCode code = exitCodeFor(outcome.status);
    if (page == 1 || outcome.status == ScanStatus::cancelled) throw CommandError(code, outcome.sentence);
    output_.abandonPage();
    output_.finish();
    const std::string before =
        page == 2 ? " The page before it was saved." : " The pages before it were saved.";
    throw CommandError(code, "Page " + std::to_string(page) + ": " + outcome.sentence + before);
  }

  const ScanPlan& plan_;
  ScanReport& report_;
  Cancellation& cancellation_;
  const int cancelDescriptor_;
  PageOutput output_;
  PictureLayout layout_;
};

}  // namespace

void runScan(const ScanOptions& options) {
  ScanReport report(progressStyle(options, console::isTerminal()), options.quiet, console::columns(),
                    console::writeErrors, [] { return std::chrono::steady_clock::now(); });
  ScanPlan plan = planScan(options);
  Cancellation cancellation;
  const CancelSignals signals(cancellation);
  Pages pages(plan, report, cancellation, signals.descriptor());
  plan.request.scanner = chooseScanner(options.device, anyUsed(options.virtualScanner), takeInventory());
  report.scannerChosen(plan.request.scanner);
  for (const std::string& note : plan.notes) report.note(note);
  pages.scanAll();
}

}  // namespace frontend
