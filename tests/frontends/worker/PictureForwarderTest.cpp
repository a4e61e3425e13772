#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

#include "OwnedDescriptor.h"
#include "PictureForwarder.h"
#include "WorkerMessages.h"

namespace {

using namespace frontend;
using platform::OwnedDescriptor;
using testing::HasSubstr;

// A front end's two ends, and the worker's, of a scan of 3 x 2 grey pixels.
class Forwarding : public testing::Test {
 protected:
  Forwarding() {
    int ends[2] = {-1, -1};
    EXPECT_EQ(socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends), 0);
    reports_ = OwnedDescriptor(ends[0]);
    control_ = OwnedDescriptor(ends[1]);
    EXPECT_EQ(pipe2(ends, O_CLOEXEC), 0);
    image_ = OwnedDescriptor(ends[0]);
    fcntl(ends[0], F_SETFL, O_NONBLOCK);
    request.settings = {75, ColorMode::gray, {0, 0, 3, 2}};
    channel_.emplace(control_.get());
    pipe_.emplace(ends[1], control_.get(), cancel_, activity_);
    forwarder.emplace(request, *channel_, *pipe_);
  }

  std::optional<ScanOutcome> begin(std::string_view header) {
    PictureHeader read;
    read.feed(reinterpret_cast<const std::uint8_t*>(header.data()), header.size());
    EXPECT_EQ(read.state(), PictureHeader::State::complete);
    return forwarder->begins(read);
  }
  bool pass(std::string_view rows) {
    return forwarder->raster(reinterpret_cast<const std::uint8_t*>(rows.data()), rows.size());
  }
  std::optional<WorkerReport> told() const {
    std::array<char, largestWorkerMessage> message;
    const ssize_t count = recv(reports_.get(), message.data(), message.size(), MSG_DONTWAIT);
    return count > 0 ? readReport({message.data(), static_cast<std::size_t>(count)}) : std::nullopt;
  }
  // What is in the pipe; "..." where more may come.
  std::string passed() const {
    std::array<char, 64> bytes;
    const ssize_t count = read(image_.get(), bytes.data(), bytes.size());
    return count < 0 ? "..." : std::string(bytes.data(), static_cast<std::size_t>(count));
  }

  ScanRequest request;
  std::optional<PictureForwarder> forwarder;

 private:
  OwnedDescriptor reports_;
  OwnedDescriptor control_;
  OwnedDescriptor image_;
  Cancellation cancel_;
  ThreadActivity activity_;
  std::optional<ReportChannel> channel_;
  std::optional<ImagePipe> pipe_;
};

TEST_F(Forwarding, TellsTheLayoutPassesTheRowsAndTellsTheGoodEnd) {
  EXPECT_EQ(begin("P5\n# \n3 2\n255\n"), std::nullopt);
  EXPECT_EQ(std::get<PictureLayout>(told().value()), expectedLayout(request));
  EXPECT_TRUE(pass("abcd"));
  EXPECT_TRUE(pass("ef"));
  EXPECT_EQ(passed(), "abcdef");
  EXPECT_EQ(passed(), "...");
  EXPECT_FALSE(told());
  forwarder->isWhole();
  EXPECT_TRUE(std::get<ScanOutcome>(told().value()).good());
  EXPECT_EQ(passed(), "") << "the end";
}

TEST_F(Forwarding, MakesBitsOfGreysByTheThreshold) {
  request.threshold = 'c';
  EXPECT_EQ(begin("P5\n# \n3 2\n255\n"), std::nullopt);
  EXPECT_EQ(std::get<PictureLayout>(told().value()).bitsPerChannel, 1U);
  EXPECT_TRUE(pass("abcd"));
  EXPECT_TRUE(pass("ab"));
  EXPECT_EQ(passed(), "\xC0\x60");  // each row begins a byte; 1 is black
}

TEST_F(Forwarding, AppliesTheToneToEverySample) {
  request.tone.brightness = -20;  // 51 of 255 darker
  EXPECT_EQ(begin("P5\n# \n3 2\n255\n"), std::nullopt);
  EXPECT_TRUE(pass("zyx"));
  EXPECT_TRUE(pass("zy\x01"));
  EXPECT_EQ(passed(), std::string("GFEGF\0", 6));
}

// Front ends have already reported its size and its colours to their users.
TEST_F(Forwarding, RefusesAnotherPictureThanWasAskedFor) {
  for (const char* header : {"P5\n# \n4 2\n255\n", "P5\n# \n3 1\n255\n", "P6\n# \n3 2\n255\n"}) {
    const auto refusal = begin(header);
    ASSERT_TRUE(refusal) << header;
    EXPECT_EQ(refusal->status, ScanStatus::badData);
    EXPECT_THAT(refusal->sentence, HasSubstr("than requested"));
    EXPECT_FALSE(told()) << header;
  }
}

}  // namespace
