#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <utility>

#include "GrowingFile.h"
#include "SystemCalls.h"
#include "TemporaryFolder.h"

using platform::Data;
using platform::GrowingFile;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

// A buffer whose references can be counted and whose bytes can be set.
class Buffer final : public Data {
 public:
  explicit Buffer(std::string bytes = "") : text(std::move(bytes)) {}
  void retain() override { ++references; }
  void release() override { --references; }
  const std::uint8_t* bytes() const override { return reinterpret_cast<const std::uint8_t*>(text.data()); }
  std::size_t length() const override { return text.size(); }
  void append(const void* bytes, std::size_t count) override {
    text.append(static_cast<const char*>(bytes), count);
  }

  std::string text;
  int references = 1;
};

ino_t inodeOf(const std::string& path) {
  struct stat status {};
  return lstat(path.c_str(), &status) == 0 ? status.st_ino : 0;
}

class GrowingFileTest : public testing::Test {
 protected:
  // Appends as much and brings the file up to date.
  bool grow(std::size_t count) {
    for (; count > 0; --count) buffer.text += static_cast<char>('a' + buffer.text.size() % 26);
    return file->update(buffer);
  }
  // Two appends create both files that take turns under the name.
  void expectTheNextUpdatesToBeRight() {
    for (int update = 0; update < 3; ++update) {
      EXPECT_TRUE(grow(10));
      EXPECT_EQ(contentOf(name), buffer.text) << "update " << update;
    }
  }
  std::string spareName() const {
    for (const std::string& found : folder.names()) {
      if (found.starts_with(".dump.")) return folder / found;
    }
    return {};
  }

  TemporaryFolder folder;
  const std::string name = folder / "dump";
  Buffer buffer;
  std::optional<GrowingFile> file{name};
};

TEST_F(GrowingFileTest, HoldsExactlyTheBytesSoFarAfterEachUpdate) {
  for (const std::size_t count : {5U, 0U, 1U, 1000U, 0U, 0U, 70000U, 3U}) {
    EXPECT_TRUE(grow(count));
    EXPECT_EQ(contentOf(name), buffer.text);
    EXPECT_EQ(modeOf(name), 0600U);
  }
}

TEST_F(GrowingFileTest, MakesAnEmptyFileOfAnEmptyBuffer) {
  EXPECT_TRUE(file->update(buffer));
  EXPECT_THAT(folder.names(), ElementsAre("dump"));
  EXPECT_EQ(contentOf(name), "");
}

TEST_F(GrowingFileTest, ReplacesTheFileAtEachUpdate) {
  grow(10);
  for (int update = 0; update < 4; ++update) {
    const ino_t before = inodeOf(name);
    grow(10);
    EXPECT_NE(inodeOf(name), before);
  }
}

TEST_F(GrowingFileTest, WritesEachByteTwiceHoweverManyUpdates) {
  SystemCalls calls;
  constexpr std::uint64_t updates = 200;
  constexpr std::uint64_t step = 1000;
  for (std::uint64_t update = 0; update < updates; ++update) ASSERT_TRUE(grow(step));
  EXPECT_EQ(calls.bytesWritten, 2 * updates * step - step);
  EXPECT_EQ(contentOf(name), buffer.text);
}

TEST_F(GrowingFileTest, NeedsOneWriteForAnUpdate) {
  grow(10);
  grow(10);
  SystemCalls calls;
  grow(10);
  EXPECT_EQ(calls.writes, 1);
}

TEST_F(GrowingFileTest, WritesWholeAndRenamesWhereNamesCannotBeExchanged) {
  SystemCalls calls;
  calls.canExchange = false;
  expectTheNextUpdatesToBeRight();
  EXPECT_EQ(calls.bytesWritten, 10U + 20U + 30U);
  EXPECT_THAT(folder.names(), ElementsAre("dump"));
}

struct Interference {
  const char* what;
  void (*act)(const std::string& name, const std::string& spare);
};

class GrowingFileInterference : public GrowingFileTest, public testing::WithParamInterface<Interference> {};

TEST_P(GrowingFileInterference, IsMadeGoodByTheNextUpdates) {
  grow(10);
  grow(10);
  const std::string spare = spareName();
  ASSERT_FALSE(spare.empty());
  GetParam().act(name, spare);
  expectTheNextUpdatesToBeRight();
  EXPECT_FALSE(isLink(name));
}

const Interference interferences[] = {
    {"NameRemoved", [](const std::string& name, const std::string&) { std::filesystem::remove(name); }},
    {"NameReplaced",
     [](const std::string& name, const std::string&) {
       std::filesystem::remove(name);
       writeContent(name, "12345678901234567890");
     }},
    {"NameMovedAway",
     [](const std::string& name, const std::string&) { std::filesystem::rename(name, name + ".kept"); }},
    {"NameCut", [](const std::string& name, const std::string&) { std::filesystem::resize_file(name, 3); }},
    {"NameEmptied", [](const std::string& name, const std::string&) { writeContent(name, ""); }},
    {"NameGrown",
     [](const std::string& name, const std::string&) { std::filesystem::resize_file(name, 500); }},
    {"NameBecameALink",
     [](const std::string& name, const std::string&) {
       std::filesystem::rename(name, name + ".kept");
       std::filesystem::create_symlink(name + ".kept", name);
     }},
    {"SpareRemoved", [](const std::string&, const std::string& spare) { std::filesystem::remove(spare); }},
    {"SpareReplaced",
     [](const std::string&, const std::string& spare) {
       std::filesystem::remove(spare);
       writeContent(spare, "1234567890");
     }},
    {"SpareCut",
     [](const std::string&, const std::string& spare) { std::filesystem::resize_file(spare, 3); }},
    {"SpareBecameALink",
     [](const std::string& name, const std::string& spare) {
       std::filesystem::remove(spare);
       std::filesystem::create_symlink(name, spare);
     }},
    {"BothRemoved",
     [](const std::string& name, const std::string& spare) {
       std::filesystem::remove(name);
       std::filesystem::remove(spare);
     }},
};
INSTANTIATE_TEST_SUITE_P(ByAnOutsider, GrowingFileInterference, testing::ValuesIn(interferences),
                         [](const auto& instance) { return std::string(instance.param.what); });

TEST_F(GrowingFileTest, DoesNotTouchWhatALinkUnderTheNamePointsTo) {
  writeContent(folder / "precious", "precious");
  std::filesystem::create_symlink(folder / "precious", name);
  expectTheNextUpdatesToBeRight();
  EXPECT_EQ(contentOf(folder / "precious"), "precious");
}

TEST_F(GrowingFileTest, DoesNotGrowAFileThatSomebodyKeptByASecondName) {
  grow(10);
  grow(10);
  std::filesystem::create_hard_link(name, folder / "kept");
  const std::string kept = buffer.text;
  expectTheNextUpdatesToBeRight();
  EXPECT_EQ(contentOf(folder / "kept"), kept);
}

TEST_F(GrowingFileTest, NoticesBytesThatWereChangedInPlace) {
  grow(10);
  grow(10);
  writeContent(name, "12345678901234567890");  // as long as before
  std::filesystem::last_write_time(name, std::filesystem::last_write_time(name) + std::chrono::seconds(1));
  expectTheNextUpdatesToBeRight();
}

TEST_F(GrowingFileTest, StartsOverForAnotherBuffer) {
  grow(30);
  grow(30);
  Buffer other("other");
  EXPECT_TRUE(file->update(other));
  EXPECT_EQ(contentOf(name), "other");
  other.text += " grown";
  EXPECT_TRUE(file->update(other));
  EXPECT_EQ(contentOf(name), "other grown");
  EXPECT_EQ(buffer.references, 1);
  EXPECT_EQ(other.references, 2);
  file->finish();  // before the other buffer is released
}

TEST_F(GrowingFileTest, StartsOverForABufferThatShrank) {
  grow(30);
  grow(30);
  buffer.text = "short";
  EXPECT_TRUE(file->update(buffer));
  EXPECT_EQ(contentOf(name), "short");
  expectTheNextUpdatesToBeRight();
}

TEST_F(GrowingFileTest, HoldsOneReferenceUntilItFinishes) {
  grow(10);
  grow(10);
  EXPECT_EQ(buffer.references, 2);
  file->finish();
  EXPECT_EQ(buffer.references, 1);
}

TEST_F(GrowingFileTest, RemovesItsPrivateFileWhenItFinishes) {
  grow(10);
  grow(10);
  EXPECT_THAT(folder.names(), SizeIs(2));
  file->finish();
  EXPECT_THAT(folder.names(), ElementsAre("dump"));
  EXPECT_EQ(contentOf(name), buffer.text);
  file->finish();
  expectTheNextUpdatesToBeRight();
}

TEST_F(GrowingFileTest, FinishesWhenItGoes) {
  grow(10);
  grow(10);
  file.reset();
  EXPECT_EQ(buffer.references, 1);
  EXPECT_THAT(folder.names(), ElementsAre("dump"));
}

TEST_F(GrowingFileTest, RemovesThePrivateFileOfARunThatCrashed) {
  writeContent(folder / (".dump.q750-" + std::to_string(geteuid())), "half a dump");
  grow(10);
  EXPECT_THAT(folder.names(), ElementsAre("dump"));
}

TEST_F(GrowingFileTest, KeepsTheOldFileOnAFullDiskAndCatchesUpWhenThereIsRoomAgain) {
  grow(10);
  const std::string old = buffer.text;
  SystemCalls calls;
  calls.room = 15;
  EXPECT_FALSE(grow(10));
  EXPECT_FALSE(grow(10));
  EXPECT_EQ(contentOf(name), old);
  calls.room = UINT64_MAX;
  expectTheNextUpdatesToBeRight();
}

TEST_F(GrowingFileTest, FillsAFullDiskOnlyOnce) {
  SystemCalls calls;
  calls.room = 15;
  grow(10);
  for (int update = 0; update < 10; ++update) EXPECT_FALSE(grow(10));
  EXPECT_EQ(calls.bytesWritten, 15U);
  file->finish();
  EXPECT_THAT(folder.names(), ElementsAre("dump"));
}

TEST_F(GrowingFileTest, WritesEachByteOnceWhereTheNameCannotBeReplaced) {
  std::filesystem::create_directory(name);
  SystemCalls calls;
  for (int update = 0; update < 10; ++update) EXPECT_FALSE(grow(10));
  EXPECT_EQ(calls.bytesWritten, 100U);
  file->finish();
  EXPECT_THAT(folder.names(), ElementsAre("dump"));
}

TEST_F(GrowingFileTest, FailsInAFolderThatDoesNotExist) {
  file.emplace(folder / "nowhere/dump");
  EXPECT_FALSE(grow(10));
  EXPECT_FALSE(grow(10));
  EXPECT_THAT(folder.names(), IsEmpty());
}

}  // namespace
