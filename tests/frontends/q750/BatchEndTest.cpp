#include <gtest/gtest.h>

#include <string>

#include "BatchEnd.h"

namespace {

using namespace frontend;
using enum SavedPages::Place;

SavedPages of(SavedPages::Place place, std::uint32_t complete, std::uint32_t pages) {
  SavedPages saved;
  saved.place = place;
  saved.complete = complete;
  saved.pages = pages;
  saved.first = place == filePerPage ? "s-1.png" : "a.pdf";
  saved.last = place == filePerPage ? "s-" + std::to_string(pages) + ".png" : "a.pdf";
  return saved;
}

SavedPages elsewhere(std::uint32_t pages) {
  SavedPages saved = of(document, pages, pages);
  saved.last = "q750-saved-1.pdf";
  saved.elsewhere = true;
  return saved;
}

SavedPages appended(std::uint32_t complete, std::uint32_t pages) {
  SavedPages saved = of(document, complete, pages);
  saved.before = 5;
  return saved;
}

SavedPages cutOff(std::uint32_t pages) {
  SavedPages saved = of(standardOutput, pages, pages);
  saved.incomplete = true;
  return saved;
}

TEST(BatchEnd, DescribesWhatWasSaved) {
  const struct {
    SavedPages saved;
    const char* clause;
  } cases[] = {
      {of(document, 0, 0), "nothing was saved"},
      {of(document, 3, 0), "nothing was saved"},
      {of(document, 1, 1), "a.pdf holds 1 complete page"},
      {of(document, 3, 3), "a.pdf holds 3 complete pages"},
      {of(document, 3, 1), "a.pdf holds the first of 3 complete pages"},
      {of(document, 3, 2), "a.pdf holds the first 2 of 3 complete pages"},
      {appended(1, 1), "1 complete page was added to a.pdf"},
      {appended(2, 2), "2 complete pages were added to a.pdf"},
      {appended(3, 2), "a.pdf got the first 2 of 3 complete pages"},
      {appended(3, 0), "nothing was saved"},
      {elsewhere(1), "1 complete page was saved as q750-saved-1.pdf"},
      {elsewhere(2), "2 complete pages were saved as q750-saved-1.pdf"},
      {of(filePerPage, 0, 0), "nothing was saved"},
      {of(filePerPage, 1, 1), "1 page was saved: s-1.png"},
      {of(filePerPage, 3, 3), "3 pages were saved: s-1.png to s-3.png"},
      {of(standardOutput, 0, 0), "nothing was saved"},
      {of(standardOutput, 2, 2), "standard output holds 2 complete pages"},
      {cutOff(0), "the picture on standard output is incomplete"},
      {cutOff(1), "standard output holds 1 complete page and an incomplete one"},
  };
  for (const auto& one : cases) EXPECT_EQ(describe(one.saved), one.clause);
}

TEST(BatchEnd, IsReportedWithTheReasonAndThePages) {
  SavedPages cut = of(document, 3, 2);
  cut.problem = "The disk is full.";
  const struct {
    ExitCode code;
    const char* reason;
    SavedPages saved;
    const char* message;
  } cases[] = {
      {ExitCode::cancelled, "", of(document, 0, 0), "The scan was cancelled; nothing was saved."},
      {ExitCode::cancelled, "", of(document, 2, 2), "The scan was cancelled; a.pdf holds 2 complete pages."},
      {ExitCode::cancelled, "", cut,
       "The scan was cancelled; a.pdf holds the first 2 of 3 complete pages. The disk is full."},
      {ExitCode::noDevice, "It is gone.", of(document, 0, 0), "It is gone."},
      {ExitCode::noDevice, "It is gone.", cutOff(0),
       "It is gone. The picture on standard output is incomplete."},
      {ExitCode::noDevice, "Page 4: It is gone.", cut,
       "Page 4: It is gone. The disk is full. a.pdf holds the first 2 of 3 complete pages."},
      {ExitCode::output, "The disk is full.", cut,
       "The disk is full. a.pdf holds the first 2 of 3 complete pages."},
      {ExitCode::output, "The disk is full.", of(document, 3, 0), "The disk is full. Nothing was saved."},
  };
  for (const auto& one : cases) {
    const CommandError error = errorOfBatch(one.code, one.reason, one.saved);
    EXPECT_EQ(error.code(), one.code);
    EXPECT_STREQ(error.what(), one.message);
  }
}

}  // namespace
