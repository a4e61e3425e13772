#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <unistd.h>

#include <csignal>
#include <string>
#include <thread>

#include "ByteSink.h"
#include "OwnedDescriptor.h"

namespace {

using frontend::ByteSink;
using platform::OwnedDescriptor;

// The writer's end does not block: another process that shares it may have set that.
class PipeThatDoesNotBlock : public testing::Test {
 protected:
  PipeThatDoesNotBlock() {
    int ends[2] = {-1, -1};
    EXPECT_EQ(pipe2(ends, O_CLOEXEC), 0);
    reader = OwnedDescriptor(ends[0]);
    writer = OwnedDescriptor(ends[1]);
    EXPECT_EQ(fcntl(writer.get(), F_SETFL, O_NONBLOCK), 0);
  }

  OwnedDescriptor reader;
  OwnedDescriptor writer;
};

TEST_F(PipeThatDoesNotBlock, GetsAllBytesAsItsReaderTakesThem) {
  const std::string bytes(std::size_t{1} << 20, 'x');
  std::size_t received = 0;
  std::thread reading([&] {
    char part[4096];
    for (ssize_t count = 0; (count = read(reader.get(), part, sizeof part)) > 0;)
      received += static_cast<std::size_t>(count);
  });
  ByteSink sink(writer.get());
  EXPECT_TRUE(sink.write(bytes.data(), bytes.size())) << sink.failure();
  writer.reset();
  reading.join();
  EXPECT_EQ(received, bytes.size());
}

TEST_F(PipeThatDoesNotBlock, IsNoLongerWaitedForAfterACancelThatInterruptsNothing) {
  frontend::Cancellation cancellation;
  std::thread cancelling([&] {
    for (pollfd room{writer.get(), POLLOUT, 0}; poll(&room, 1, 0) > 0;) std::this_thread::yield();
    cancellation.request();
  });
  const std::string bytes(std::size_t{1} << 20, 'x');
  ByteSink sink(writer.get(), &cancellation);
  EXPECT_FALSE(sink.write(bytes.data(), bytes.size()));
  EXPECT_TRUE(sink.cancelled());
  cancelling.join();
}

TEST_F(PipeThatDoesNotBlock, EndsTheSinkWhereItsReaderIsGone) {
  ByteSink sink(writer.get());
  reader.reset();
  const auto before = std::signal(SIGPIPE, SIG_IGN);
  EXPECT_FALSE(sink.write("x", 1));
  std::signal(SIGPIPE, before);
  EXPECT_EQ(sink.failure(), "Broken pipe");
}

}  // namespace
