#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "Log.h"

namespace {

using platform::LogLine;
using platform::LogSink;

// Installs itself for its lifetime and keeps the pieces of every line, up to a number of pieces per line.
class RecordingSink final : public LogSink {
 public:
  explicit RecordingSink(std::size_t wanted = SIZE_MAX) : wanted_(wanted) { platform::useLogSink(this); }
  ~RecordingSink() override { platform::useLogSink(nullptr); }
  RecordingSink(const RecordingSink&) = delete;
  RecordingSink& operator=(const RecordingSink&) = delete;

  void line(const LogLine& line) override {
    pieces.clear();
    if (wanted_ == 0) return;
    line.read([this](std::string_view piece) {
      pieces.emplace_back(piece);
      return pieces.size() < wanted_;
    });
    std::string text;
    for (const std::string& piece : pieces) text += piece;
    lines.push_back(text);
  }

  std::vector<std::string> pieces;  // of the latest line
  std::vector<std::string> lines;

 private:
  std::size_t wanted_;
};

// Delivers as many pieces as the reader accepts and counts them.
class EndlessLine final : public LogLine {
 public:
  void read(const PieceReader& reader) const override {
    do ++produced;
    while (reader("piece"));
  }
  mutable int produced = 0;
};

TEST(Log, SendsATextToTheSinkOfTheMoment) {
  RecordingSink sink;
  platform::log("first");
  platform::log("");
  platform::log(std::string_view("a\nb\0c", 5));
  EXPECT_THAT(sink.lines, testing::ElementsAre("first", "", std::string("a\nb\0c", 5)));
}

TEST(Log, SendsNothingToASinkThatWasReplaced) {
  RecordingSink first;
  {
    RecordingSink second;
    platform::log("to the second");
    EXPECT_THAT(second.lines, testing::ElementsAre("to the second"));
  }
  EXPECT_THAT(first.lines, testing::IsEmpty());
}

TEST(Log, ProducesOnlyThePiecesThatTheSinkReads) {
  const EndlessLine line;
  RecordingSink deaf(0);
  platform::log(line);
  EXPECT_EQ(line.produced, 0);
  RecordingSink brief(3);
  platform::log(line);
  EXPECT_EQ(line.produced, 3);
}

TEST(LogFormat, FormatsLikePrintf) {
  RecordingSink sink;
  platform::logFormat("offset %d: %s, %5.2f%%", 3, "text", 1.5);
  platform::logFormat("%s", "");
  EXPECT_THAT(sink.lines, testing::ElementsAre("offset 3: text,  1.50%", ""));
}

TEST(LogFormat, FormatsNothingForASinkThatReadsNothing) {
  RecordingSink deaf(0);
  int formatted = 0;
  platform::logFormat("12345%n", &formatted);
  EXPECT_EQ(formatted, 0);
  RecordingSink sink;
  platform::logFormat("12345%n", &formatted);
  EXPECT_EQ(formatted, 5);
}

TEST(LogFormat, HandsOutTextsOfAnyLengthWhole) {
  RecordingSink sink;
  for (const std::size_t length : {1U, 1022U, 1023U, 1024U, 1025U, 4096U, 100000U}) {
    const std::string text(length, 'x');
    platform::logFormat("<%s>%d", text.c_str(), 7);
    EXPECT_EQ(sink.lines.back(), "<" + text + ">7");
  }
}

TEST(LogFormat, StopsALongTextWhenTheSinkHasEnough) {
  RecordingSink brief(1);
  const std::string text(1000000, 'x');
  platform::logFormat("%s%s%s", text.c_str(), text.c_str(), text.c_str());
  EXPECT_EQ(brief.pieces.size(), 1U);
  EXPECT_LE(brief.pieces[0].size(), text.size());
}

// Reads every line twice.
class TwiceReadingSink final : public LogSink {
 public:
  void line(const LogLine& line) override {
    for (std::string& text : texts) {
      line.read([&text](std::string_view piece) {
        text += piece;
        return true;
      });
    }
  }
  std::string texts[2];
};

TEST(LogFormat, MayBeReadAgain) {
  TwiceReadingSink sink;
  platform::useLogSink(&sink);
  const std::string tail(2000, 'x');
  platform::logFormat("%d %s %d|", 1, "two", 3);
  platform::logFormat("%d %s", 4, tail.c_str());
  platform::useLogSink(nullptr);
  EXPECT_EQ(sink.texts[0], "1 two 3|4 " + tail);
  EXPECT_EQ(sink.texts[1], sink.texts[0]);
}

// A reader that throws.
class FailingSink final : public LogSink {
 public:
  void line(const LogLine& line) override {
    try {
      line.read([](std::string_view) -> bool { throw std::string("failed"); });
    } catch (const std::string& text) {
      caught = text;
    }
  }
  std::string caught;
};

TEST(LogFormat, LetsTheReadersExceptionOut) {
  FailingSink sink;
  platform::useLogSink(&sink);
  platform::logFormat("%s", std::string(5000, 'x').c_str());
  platform::useLogSink(nullptr);
  EXPECT_EQ(sink.caught, "failed");
}

TEST(LogFormat, HandsOutTheFormatOfATextThatCannotBeFormatted) {
  RecordingSink sink;
  const wchar_t beyondAscii[] = {0x20AC, 0};  // not representable in the "C" locale
  platform::logFormat("bad %ls", beyondAscii);
  EXPECT_THAT(sink.lines, testing::ElementsAre("bad %ls"));
}

}  // namespace
