#include "StatusDocument.h"

#include <array>

#include "EsclNames.h"
#include "XmlWriter.h"

namespace frontend::share {
namespace {

// In the order of the enumeration.
constexpr std::array<std::string_view, 3> scannerStateNames = {"Idle", "Processing", "Down"};

// All of these elements, always: some clients cannot read a job that lacks one.
void writeJob(XmlWriter& xml, const JobReport& job) {
  const bool scanned = job.state == JobState::completed;
  const bool toTransfer = !job.delivered && (scanned || !hasEnded(job.state));
  xml.open("scan:JobInfo");
  xml.leaf("pwg:JobUri", jobPath(job.id));
  xml.leaf("pwg:JobUuid", job.id);
  xml.leaf("scan:Age", static_cast<std::uint64_t>(job.age.count()));
  xml.leaf("pwg:ImagesCompleted", scanned ? 1 : 0);
  xml.leaf("pwg:ImagesToTransfer", toTransfer ? 1 : 0);
  xml.leaf("scan:TransferRetryCount", job.retries);
  xml.leaf("pwg:JobState", jobStateNames.at(static_cast<std::size_t>(job.state)));
  xml.open("pwg:JobStateReasons");
  xml.leaf("pwg:JobStateReason", job.reason);
  xml.close();
  xml.close();
}

}  // namespace

std::string jobPath(std::string_view id) {
  return std::string(escl::rootPath) + "/ScanJobs/" + std::string(id);
}

std::string statusDocument(ScannerState state, const std::vector<JobReport>& jobs) {
  XmlWriter xml("scan:ScannerStatus");
  xml.leaf("pwg:Version", escl::version);
  xml.leaf("pwg:State", scannerStateNames.at(static_cast<std::size_t>(state)));
  xml.open("scan:Jobs");  // even if there are none: clients access it without checking
  for (const JobReport& job : jobs) writeJob(xml, job);
  return xml.finish();
}

}  // namespace frontend::share
