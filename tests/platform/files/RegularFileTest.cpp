#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>

#include "OwnedDescriptor.h"
#include "RegularFile.h"
#include "TemporaryFolder.h"

namespace {

using namespace platform;
using State = FileContent::State;

constexpr std::size_t largest = 10000;

class ARegularFile : public testing::Test {
 protected:
  State state() const { return readRegularFile(path, largest).state; }

  TemporaryFolder folder;
  std::string path = folder / "settings";
};

TEST_F(ARegularFile, IsReadAsAWhole) {
  for (const std::size_t size : {0, 1, 4096, 4097, 9999, 10000}) {
    const std::string bytes(size, 'q');
    writeContent(path, bytes);
    const FileContent content = readRegularFile(path, largest);
    EXPECT_EQ(content.state, State::read) << size;
    EXPECT_EQ(content.bytes, bytes);
  }
}

TEST_F(ARegularFile, MayBeBehindALink) {
  writeContent(folder / "elsewhere", "text");
  std::filesystem::create_symlink("elsewhere", path);
  EXPECT_EQ(readRegularFile(path, largest).bytes, "text");
}

TEST_F(ARegularFile, HasALimitedSize) {
  writeContent(path, std::string(largest + 1, 'q'));
  EXPECT_EQ(state(), State::tooLarge);
  std::filesystem::resize_file(path, std::uintmax_t{1} << 40);  // a hole: it takes no space
  EXPECT_EQ(state(), State::tooLarge);
  EXPECT_EQ(readRegularFile(path, largest).bytes, "");
}

TEST_F(ARegularFile, MayBeMissing) {
  EXPECT_EQ(state(), State::missing);
  EXPECT_EQ(readRegularFile("/dev/null/settings", largest).state, State::missing);
}

TEST_F(ARegularFile, IsNoFifoAndNobodyWaitsForItsWriter) {
  ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
  EXPECT_EQ(state(), State::notRegular);
}

TEST_F(ARegularFile, IsNoFolderAndNoDevice) {
  std::filesystem::create_directory(path);
  EXPECT_EQ(state(), State::notRegular);
  for (const char* device : {"/dev/zero", "/dev/full", "/dev/null"})
    EXPECT_EQ(readRegularFile(device, largest).state, State::notRegular) << device;
}

TEST_F(ARegularFile, IsNoSocket) {
  const OwnedDescriptor socket(::socket(AF_UNIX, SOCK_STREAM, 0));
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  ASSERT_LT(path.size(), sizeof address.sun_path);
  std::copy(path.begin(), path.end(), address.sun_path);
  ASSERT_EQ(bind(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
  EXPECT_EQ(state(), State::notRegular);
}

TEST_F(ARegularFile, ReportsWhyItCannotBeRead) {
  std::filesystem::create_symlink("settings", path);
  const FileContent content = readRegularFile(path, largest);
  EXPECT_EQ(content.state, State::unreadable);
  EXPECT_EQ(content.error, ELOOP);
  EXPECT_EQ(content.problem(largest), "cannot be read: Too many levels of symbolic links");
}

TEST_F(ARegularFile, IsOpenedOrHasAProblemThatAUserUnderstands) {
  EXPECT_EQ(openRegularFile(path).problem(), "cannot be opened: No such file or directory");
  EXPECT_EQ(openRegularFile(folder.path()).problem(), "is not a regular file");
  EXPECT_EQ(openRegularFile("/dev/zero").problem(), "is not a regular file");
  ASSERT_EQ(mkfifo((folder / "fifo").c_str(), 0600), 0);
  EXPECT_EQ(openRegularFile(folder / "fifo").problem(), "is not a regular file");
  writeContent(path, "q");
  EXPECT_GE(openRegularFile(path).descriptor.get(), 0);
}

}  // namespace
