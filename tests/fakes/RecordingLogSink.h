#pragma once

#include <string>
#include <vector>

#include "Log.h"

// Receives the log while it exists and keeps every line whole. One thread:
//
//   RecordingLogSink sink;
//   convert();
//   EXPECT_THAT(sink.lines, ElementsAre("offset 1: 2"));
class RecordingLogSink final : public platform::LogSink {
 public:
  RecordingLogSink() { platform::useLogSink(this); }
  RecordingLogSink(const RecordingLogSink&) = delete;
  RecordingLogSink& operator=(const RecordingLogSink&) = delete;
  ~RecordingLogSink() override { platform::useLogSink(nullptr); }

  void line(const platform::LogLine& line) override {
    lines.emplace_back();
    line.read([this](std::string_view piece) {
      lines.back() += piece;
      return true;
    });
  }

  std::vector<std::string> lines;
};
