#include <gtest/gtest.h>

#include <string>

#include "VerboseSink.h"

namespace {

using frontend::VerboseSink;

// An endless line that counts how much of it was read.
class EndlessLine final : public platform::LogLine {
 public:
  void read(const PieceReader& reader) const override {
    while (reader("0123456789")) ++pieces;
  }
  mutable int pieces = 0;
};

class Verbose : public testing::Test {
 protected:
  std::string shown;
  VerboseSink sink{30, [this](std::string_view text) { shown += text; }};
};

class TextLine final : public platform::LogLine {
 public:
  explicit TextLine(std::string text) : text_(std::move(text)) {}
  void read(const PieceReader& reader) const override { reader(text_); }

 private:
  std::string text_;
};

TEST_F(Verbose, ShowsAShortLineWhole) {
  sink.line(TextLine("offset 1: 2"));
  EXPECT_EQ(shown, "log: offset 1: 2\n");
}

TEST_F(Verbose, ReadsNoMoreOfALineThanItShows) {
  const EndlessLine line;
  sink.line(line);
  EXPECT_EQ(shown, "log: 0123456789012345678901...\n");
  EXPECT_LE(line.pieces, 3);
}

TEST_F(Verbose, FillsTheScreenExactly) {
  sink.line(TextLine(std::string(25, 'x')));
  EXPECT_EQ(shown, "log: " + std::string(25, 'x') + "\n");
}

TEST_F(Verbose, CutsOnePieceThatIsTooLong) {
  sink.line(TextLine(std::string(1000000, 'x')));
  EXPECT_EQ(shown, "log: " + std::string(22, 'x') + "...\n");
}

TEST_F(Verbose, KeepsControlCharactersFromTheTerminal) {
  sink.line(TextLine("a\x1b[2J\tb\xff\n"));
  EXPECT_EQ(shown, "log: a?[2J?b?\n");
}

}  // namespace
