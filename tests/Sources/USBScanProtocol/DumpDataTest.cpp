#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "AllocationCounter.h"
#include "PacketStream.h"

namespace {

using platform::Data;
using platform::DataRef;

const char* const dumpPath = "/tmp/vexo-data-dump";

std::string contents(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

mode_t modeOf(const char* path) {
  struct stat status {};
  EXPECT_EQ(lstat(path, &status), 0);
  return status.st_mode;
}

// The number of files in /tmp with the dump's name, including private ones beside it.
std::ptrdiff_t filesOfTheDump() {
  std::ptrdiff_t count = 0;
  for (const auto& entry : std::filesystem::directory_iterator("/tmp")) {
    if (entry.path().filename().string().find("vexo-data-dump") != std::string::npos) ++count;
  }
  return count;
}

class DumpData : public testing::Test {
 protected:
  DumpData() { unlink(dumpPath); }
  ~DumpData() override {
    releaseUSBScanProtocol(parser);
    unlink(dumpPath);
  }
  void append(const std::string& text) { data->append(text.data(), text.size()); }
  std::string bytes() const { return {reinterpret_cast<const char*>(data->bytes()), data->length()}; }

  void* parser = initUSBScanProtocol(nullptr);
  DataRef data{Data::create()};
};

TEST_F(DumpData, HoldsTheBytesSoFarAfterEachCall) {
  for (int read = 0; read < 12; ++read) {
    append(std::string(static_cast<std::size_t>(read) * 777, static_cast<char>('a' + read)));
    dumpData(data.get());
    ASSERT_EQ(contents(dumpPath), bytes()) << "after read " << read;
  }
}

TEST_F(DumpData, DoesNothingWithoutABuffer) {
  dumpData(nullptr);
  EXPECT_NE(access(dumpPath, F_OK), 0);
  append("stays");
  dumpData(data.get());
  dumpData(nullptr);
  EXPECT_EQ(contents(dumpPath), "stays");
}

TEST_F(DumpData, WritesAnEmptyFileForAnEmptyBuffer) {
  dumpData(data.get());
  EXPECT_EQ(access(dumpPath, F_OK), 0);
  EXPECT_EQ(contents(dumpPath), "");
}

TEST_F(DumpData, ReplacesAnEarlierDump) {
  append("a long earlier page");
  dumpData(data.get());
  data = DataRef(Data::create());
  append("new");
  dumpData(data.get());
  EXPECT_EQ(contents(dumpPath), "new");
}

TEST_F(DumpData, IsReadableByItsOwnerOnly) {
  for (int read = 0; read < 3; ++read) {
    append("x");
    dumpData(data.get());
    EXPECT_EQ(modeOf(dumpPath), static_cast<mode_t>(S_IFREG | 0600));
  }
}

TEST_F(DumpData, ReplacesALinkInsteadOfFollowingIt) {
  std::string folder = (std::filesystem::temp_directory_path() / "q750-dump-XXXXXX").string();
  ASSERT_NE(mkdtemp(folder.data()), nullptr);
  const std::string victim = folder + "/victim";
  std::ofstream(victim) << "precious";
  ASSERT_EQ(symlink(victim.c_str(), dumpPath), 0);
  append("page");
  dumpData(data.get());
  EXPECT_EQ(modeOf(dumpPath), static_cast<mode_t>(S_IFREG | 0600));
  EXPECT_EQ(contents(victim), "precious");
  std::filesystem::remove_all(folder);
}

TEST_F(DumpData, LeavesNoPrivateFileAndNoReferenceAfterRelease) {
  for (int read = 0; read < 3; ++read) {
    append("x");
    dumpData(data.get());
  }
  EXPECT_EQ(filesOfTheDump(), 2);  // the one under the name and the one that takes turns with it
  releaseUSBScanProtocol(parser);
  parser = initUSBScanProtocol(nullptr);
  EXPECT_EQ(filesOfTheDump(), 1);
  EXPECT_EQ(contents(dumpPath), "xxx");
  const allocations::Since since;
  data.reset();
  EXPECT_LT(since.objects(), 0);  // nobody else held the buffer
}

TEST_F(DumpData, IgnoresThatTheFileCannotBeWritten) {
  ASSERT_EQ(mkdir(dumpPath, 0700), 0);  // no file takes the place of a folder
  append("x");
  dumpData(data.get());
  EXPECT_TRUE(std::filesystem::is_directory(dumpPath));
  ASSERT_EQ(rmdir(dumpPath), 0);
  dumpData(data.get());
  EXPECT_EQ(contents(dumpPath), "x");
}

// Every call of one job, with each read of image data dumped.
TEST_F(DumpData, FollowsAnAccumulatorFedByTheParser) {
  USBScanProtocolCallbacks record{};
  record.info = data.get();
  record.imageData = [](void* image, int length, void* info) {
    static_cast<Data*>(info)->append(image, static_cast<std::size_t>(length));
  };
  void* job = initUSBScanProtocol(&record);
  const Bytes stream = packet(0xAA) + packet(0xDD, "first") + packet(0xDD, "second") + packet(0xFF);
  for (const std::uint8_t byte : stream) {
    receiveData(job, &byte, 1, 0);
    dumpData(data.get());
    ASSERT_EQ(contents(dumpPath), bytes());
  }
  EXPECT_EQ(bytes(), "firstsecond");
  releaseUSBScanProtocol(job);
}

}  // namespace
