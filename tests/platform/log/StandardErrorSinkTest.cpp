#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <ctime>
#include <string>
#include <thread>
#include <vector>

#include "StandardErrorSink.h"

namespace {

using platform::LogLine;

std::string stampPattern() {
  return "[0-9]{4}-[0-9]{2}-[0-9]{2} [0-9]{2}:[0-9]{2}:[0-9]{2}\\.[0-9]{3} platform-log-tests\\[" +
         std::to_string(getpid()) + "\\] ";
}

// Makes standard error a stream of packets while it exists, so that writes can be distinguished.
class PacketStandardError {
 public:
  PacketStandardError() : saved_(dup(STDERR_FILENO)) {
    EXPECT_EQ(socketpair(AF_UNIX, SOCK_SEQPACKET, 0, ends_.data()), 0);
    dup2(ends_[0], STDERR_FILENO);
    close(ends_[0]);
  }
  PacketStandardError(const PacketStandardError&) = delete;
  PacketStandardError& operator=(const PacketStandardError&) = delete;
  ~PacketStandardError() {
    restore();
    close(ends_[1]);
  }
  void restore() {
    if (saved_ < 0) return;
    dup2(saved_, STDERR_FILENO);
    close(saved_);
    saved_ = -1;
  }
  // What was written so far, one element for each write. Restores standard error first.
  std::vector<std::string> writes() {
    restore();
    std::vector<std::string> all;
    std::vector<char> buffer(1 << 16);
    for (;;) {
      const ssize_t size = recv(ends_[1], buffer.data(), buffer.size(), 0);
      if (size <= 0) return all;
      all.emplace_back(buffer.data(), static_cast<std::size_t>(size));
    }
  }

 private:
  int saved_;
  std::array<int, 2> ends_{};
};

// A text of many small pieces that never exists as a whole.
class PiecedLine final : public LogLine {
 public:
  explicit PiecedLine(int pieces) : pieces_(pieces) {}
  void read(const PieceReader& reader) const override {
    for (int piece = 0; piece < pieces_; ++piece) {
      if (!reader("0123456789")) return;
    }
  }

 private:
  int pieces_;
};

class FailingLine final : public LogLine {
 public:
  void read(const PieceReader& reader) const override {
    reader("so far");
    throw std::bad_alloc();
  }
};

TEST(StandardErrorSink, IsTheDefaultAndStampsEachLine) {
  testing::internal::CaptureStderr();
  platform::log("ConvertPPMToTIFF()");
  platform::logFormat("width: %d", 4);
  const std::string text = testing::internal::GetCapturedStderr();
  EXPECT_THAT(text, testing::MatchesRegex(stampPattern() + "ConvertPPMToTIFF\\(\\)\n" + stampPattern() +
                                          "width: 4\n"));
}

TEST(StandardErrorSink, StampsTheLocalTimeOfNow) {
  const std::time_t before = std::time(nullptr);
  testing::internal::CaptureStderr();
  platform::log("text");
  const std::string text = testing::internal::GetCapturedStderr();
  std::tm stamp{};
  stamp.tm_isdst = -1;
  ASSERT_NE(strptime(text.c_str(), "%Y-%m-%d %H:%M:%S", &stamp), nullptr);
  const std::time_t stamped = std::mktime(&stamp);
  EXPECT_GE(stamped, before);
  EXPECT_LE(stamped, std::time(nullptr));
}

TEST(StandardErrorSink, LeavesALineBreakInsideATextAsItIs) {
  testing::internal::CaptureStderr();
  platform::log("one\ntwo\n");
  EXPECT_THAT(testing::internal::GetCapturedStderr(), testing::MatchesRegex(stampPattern() + "one\ntwo\n\n"));
}

TEST(StandardErrorSink, WritesAShortLineInOnePiece) {
  PacketStandardError standardError;
  platform::log(PiecedLine(300));
  platform::log("next");
  const auto writes = standardError.writes();
  ASSERT_EQ(writes.size(), 2U);
  EXPECT_THAT(writes[0], testing::MatchesRegex(stampPattern() + "(0123456789){300}\n"));
  EXPECT_THAT(writes[1], testing::EndsWith("next\n"));
}

TEST(StandardErrorSink, PassesALongLineThroughASmallBuffer) {
  PacketStandardError standardError;
  platform::log(PiecedLine(5000));
  std::string text;
  for (const std::string& write : standardError.writes()) {
    EXPECT_LE(write.size(), 4096U);
    text += write;
  }
  std::string expected;
  for (int piece = 0; piece < 5000; ++piece) expected += "0123456789";
  EXPECT_THAT(text, testing::EndsWith("] " + expected + "\n"));
  EXPECT_LT(text.size(), expected.size() + 100);
}

TEST(StandardErrorSink, KeepsTheLinesOfThreadsApart) {
  testing::internal::CaptureStderr();
  std::vector<std::thread> threads;
  for (int thread = 0; thread < 4; ++thread) {
    threads.emplace_back([] {
      for (int line = 0; line < 10; ++line) platform::log(PiecedLine(20000));
    });
  }
  for (std::thread& thread : threads) thread.join();
  const std::string text = testing::internal::GetCapturedStderr();
  std::size_t lines = 0;
  for (std::size_t at = 0; at < text.size(); ++lines) {
    const std::size_t end = text.find('\n', at);
    const std::size_t stampEnd = text.find("] ", at) + 2;
    ASSERT_NE(end, std::string::npos);
    ASSERT_EQ(end - stampEnd, 200000U);
    at = end + 1;
  }
  EXPECT_EQ(lines, 40U);
}

TEST(StandardErrorSink, EndsTheLineOfATextThatBreaksOff) {
  testing::internal::CaptureStderr();
  platform::log(FailingLine());
  EXPECT_THAT(testing::internal::GetCapturedStderr(), testing::EndsWith("so far (unfinished)\n"));
}

TEST(StandardErrorSink, LosesSilentlyWhatCannotBeWritten) {
  const int saved = dup(STDERR_FILENO);
  close(STDERR_FILENO);
  errno = ERANGE;
  platform::log(PiecedLine(5000));
  const int after = errno;
  dup2(saved, STDERR_FILENO);
  close(saved);
  EXPECT_EQ(after, ERANGE);  // logging leaves errno alone
}

}  // namespace
