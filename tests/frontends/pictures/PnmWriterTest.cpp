#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <string>
#include <thread>
#include <vector>

#include "WritingPictures.h"

namespace {

using namespace frontend;

TEST_F(WritingPictures, WritesPnm) {
  const TestPicture tiny(2, 1, 3);
  ASSERT_TRUE(write(PictureFormat::pnm, {&tiny}));
  EXPECT_EQ(contentOf(path), "P6\n# q750 9.9.9, 300 dots per inch\n2 1\n255\n" +
                                 std::string(tiny.pixels.begin(), tiny.pixels.end()));
  const TestPicture tinyGrey(3, 2, 1);
  ASSERT_TRUE(write(PictureFormat::pnm, {&tinyGrey}));
  EXPECT_EQ(contentOf(path), "P5\n# q750 9.9.9, 300 dots per inch\n3 2\n255\n" +
                                 std::string(tinyGrey.pixels.begin(), tinyGrey.pixels.end()));
  ASSERT_TRUE(write(PictureFormat::pnm, {&narrowLineart}));
  EXPECT_EQ(contentOf(path), "P4\n# q750 9.9.9, 300 dots per inch\n13 61\n" +
                                 std::string(narrowLineart.pixels.begin(), narrowLineart.pixels.end()));
}

// The sizes of the system calls that write the picture as PNM: each is one packet of such a socket.
std::vector<std::size_t> writesOf(const TestPicture& picture) {
  int ends[2];
  EXPECT_EQ(socketpair(AF_UNIX, SOCK_SEQPACKET, 0, ends), 0);
  std::vector<std::size_t> sizes;
  std::thread reader([&] {
    std::vector<char> packet(1 << 20);
    for (ssize_t size; (size = recv(ends[1], packet.data(), packet.size(), 0)) > 0;)
      sizes.push_back(static_cast<std::size_t>(size));
  });
  ByteSink sink(ends[0]);
  picture.writeTo(*makePnmWriter(sink, settings()));
  close(ends[0]);
  reader.join();
  close(ends[1]);
  return sizes;
}

TEST_F(WritingPictures, WritesManyRowsOfAPnmAtOnce) {
  EXPECT_THAT(writesOf(color), testing::ElementsAre(45 + 37 * 29 * 3));
  // Rows of 40 KB do not fit in twos; those of 90 KB are not collected.
  EXPECT_THAT(writesOf(TestPicture(40'000, 3, 1)), testing::ElementsAre(47 + 40'000, 40'000, 40'000));
  EXPECT_THAT(writesOf(TestPicture(30'000, 2, 3)), testing::ElementsAre(47, 90'000, 90'000));
}

}  // namespace
