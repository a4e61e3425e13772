#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "HostileScan.h"
#include "HostileStream.h"

namespace {

using namespace hostile;
using frontend::ScanStatus;

TEST(HostileStream, FollowsFromItsSeedAlone) {
  const auto beginning = [](std::uint64_t seed) {
    Dice dice(seed);
    HostileStream stream = babble(dice);
    std::vector<std::uint8_t> bytes(5000);
    bytes.resize(stream.take(bytes.data(), bytes.size()));
    return bytes;
  };
  EXPECT_EQ(beginning(7), beginning(7));
  EXPECT_NE(beginning(7), beginning(8));
}

TEST(HostileStream, RepeatsAPieceAsOftenAsItIsTold) {
  HostileStream stream;
  stream.add("ab", 3);
  stream.add("c");
  std::uint8_t bytes[16];
  EXPECT_EQ(stream.take(bytes, 5), 5U);
  EXPECT_EQ(stream.take(bytes, sizeof bytes), 2U);
  EXPECT_EQ(std::string(bytes, bytes + 2), "bc");
  EXPECT_TRUE(stream.isEmpty());
  stream.add("x", HostileStream::forEver);
  for (int i = 0; i < 1000; ++i) EXPECT_EQ(stream.take(bytes, sizeof bytes), sizeof bytes);
}

TEST(HostileScan, OfNoDesignedOutcomeIsRecognized) {
  for (const auto& outcome :
       {frontend::outcome::workerDied("it was killed by signal 11"), frontend::outcome::noMemory(),
        frontend::outcome::workerGarbled(), frontend::outcome::wrongRequest("There is no seed."),
        frontend::ScanOutcome{ScanStatus::good, "The scanner refused the scan. "},
        frontend::ScanOutcome{ScanStatus::refused, "The scanner refused the scan. \x1b[2J"}})
    EXPECT_FALSE(isDesigned(outcome)) << outcome.sentence;
  EXPECT_TRUE(isDesigned(frontend::outcome::refused("\x1b[2J")));
}

bool isPrintable(const std::string& text) {
  return std::all_of(text.begin(), text.end(), [](char c) { return (c >= ' ' && c <= '~') || c == '\n'; });
}

TEST(HostileScanner, OfAnySeedEndsTheScanAsDesigned) {
  testing::internal::CaptureStderr();  // of the workers too
  std::vector<int> statuses(static_cast<std::size_t>(ScanStatus::noMemory) + 1);
  for (std::uint32_t seed = 1; seed <= 250; ++seed) {
    frontend::ScanOutcome outcome;
    EXPECT_EQ(complaintAbout(seed, Q750_HOSTILE_WORKER, &outcome), "") << "seed " << seed;
    ++statuses[static_cast<std::size_t>(outcome.status)];
  }
  EXPECT_TRUE(isPrintable(testing::internal::GetCapturedStderr()));
  // The devices are of many kinds: some scan well, others reach each way to fail.
  for (const ScanStatus status :
       {ScanStatus::good, ScanStatus::cancelled, ScanStatus::timedOut, ScanStatus::badData,
        ScanStatus::ioError, ScanStatus::refused, ScanStatus::noDevice})
    EXPECT_GT(statuses[static_cast<std::size_t>(status)], 0) << static_cast<int>(status);
  EXPECT_EQ(goodScan(Q750_WORKER), "The page was scanned.");
}

// Once, the scans with these devices did not.
TEST(HostileScanner, OfAKeptSeedEndsTheScanAsDesigned) {
  static constexpr struct {
    std::uint32_t seed;
    const char* finding;
  } kept[] = {
      {4329, "the answer to one of the last calls dripped in for longer than all of them may take"},
      {11748, "the same, in smaller pieces"},
  };
  for (const auto& [seed, finding] : kept)
    EXPECT_EQ(complaintAbout(seed, Q750_HOSTILE_WORKER), "") << "seed " << seed << ": " << finding;
}

// The first seed that probes this side of a bound.
std::uint32_t seedOf(const Probe& probe, bool beyond) {
  for (std::uint32_t seed = 1;; ++seed) {
    const auto side = probeOf(seed);
    if (side && side->probe == &probe && side->beyond == beyond) return seed;
  }
}

TEST(HostileScanner, MeetsEveryBoundOfTheWorkerAndNoneTooSoon) {
  testing::internal::CaptureStderr();  // the logs of some
  for (const Probe& probe : allProbes()) {
    for (const bool beyond : {false, true}) {
      const std::uint32_t seed = seedOf(probe, beyond);
      EXPECT_EQ(complaintAbout(seed, Q750_HOSTILE_WORKER), "") << probe.name << ", seed " << seed;
    }
  }
  EXPECT_TRUE(isPrintable(testing::internal::GetCapturedStderr()));
}

}  // namespace
