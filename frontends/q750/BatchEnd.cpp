#include "BatchEnd.h"

namespace frontend {
namespace {

std::string completePages(std::uint32_t count) {
  return std::to_string(count) + (count == 1 ? " complete page" : " complete pages");
}

std::string describeDocument(const SavedPages& saved) {
  if (saved.elsewhere) {
    return completePages(saved.pages) + (saved.pages == 1 ? " was" : " were") + " saved as " + saved.last;
  }
  if (saved.before > 0 && saved.pages == saved.complete)
    return completePages(saved.pages) + (saved.pages == 1 ? " was" : " were") + " added to " + saved.last;
  if (saved.pages == saved.complete) return saved.last + " holds " + completePages(saved.pages);
  return saved.last + (saved.before > 0 ? " got the first " : " holds the first ") +
         (saved.pages == 1 ? "" : std::to_string(saved.pages) + " ") + "of " + completePages(saved.complete);
}

std::string describeFiles(const SavedPages& saved) {
  if (saved.pages == 1) return "1 page was saved: " + saved.last;
  return std::to_string(saved.pages) + " pages were saved: " + saved.first + " to " + saved.last;
}

std::string describeStandardOutput(const SavedPages& saved) {
  if (saved.pages == 0) return "the picture on standard output is incomplete";
  return "standard output holds " + completePages(saved.pages) +
         (saved.incomplete ? " and an incomplete one" : "");
}

// As a sentence.
std::string sentence(std::string clause) {
  // Names of files keep their spelling: a clause begins with one only where it ends in none.
  if (clause.starts_with("nothing") || clause.starts_with("standard") || clause.starts_with("the "))
    clause[0] = static_cast<char>(clause[0] - 'a' + 'A');
  return clause + ".";
}

}  // namespace

std::string describe(const SavedPages& saved) {
  if (saved.pages == 0 && !saved.incomplete) return "nothing was saved";
  switch (saved.place) {
    case SavedPages::Place::document:
      return describeDocument(saved);
    case SavedPages::Place::filePerPage:
      return describeFiles(saved);
    case SavedPages::Place::standardOutput:
      break;
  }
  return describeStandardOutput(saved);
}

CommandError errorOfBatch(ExitCode code, const std::string& reason, const SavedPages& saved) {
  const std::string clause = describe(saved);
  const std::string problem = saved.problem.empty() || saved.problem == reason ? "" : " " + saved.problem;
  if (code == ExitCode::cancelled) return {code, "The scan was cancelled; " + clause + "." + problem};
  const bool silent = saved.complete == 0 && !saved.incomplete;
  return {code, reason + problem + (silent ? "" : " " + sentence(clause))};
}

}  // namespace frontend
