#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "JobWatch.h"
#include "Packets.h"

inline constexpr frontend::JobPipes pipes{1, 2, 3};
inline constexpr std::uint32_t readTimeOutMs = 15000;
inline const std::string smallHeader = "P5\n#\n4 3\n255\n";

// Keeps what it was given, as text: the size, the rows, "whole".
class RecordingListener final : public frontend::PictureListener {
 public:
  std::optional<frontend::ScanOutcome> begins(const frontend::PictureHeader& header) override {
    shown.push_back(std::to_string(header.width()) + "x" + std::to_string(header.height()));
    return refusal;
  }
  bool raster(const std::uint8_t* bytes, std::size_t count) override {
    shown.emplace_back(reinterpret_cast<const char*>(bytes), count);
    return wanted;
  }
  void isWhole() override { shown.emplace_back("whole"); }

  std::optional<frontend::ScanOutcome> refusal;
  bool wanted = true;
  std::vector<std::string> shown;
};

// A job that is watched, without a device: the calls of the library and the replies of the device.
//
//   WatchedJobDriver job;
//   job.startJob();
//   job.stream(packet(0xDD, smallHeader));     // the library reads the job stream, which brings this
//   EXPECT_EQ(job.watch.state(), JobState::receiving);
struct WatchedJobDriver {
  using IOReturn = platform::IOReturn;

  WatchedJobDriver() { watch.watchPipes(pipes); }
  WatchedJobDriver(const WatchedJobDriver&) = delete;
  WatchedJobDriver& operator=(const WatchedJobDriver&) = delete;

  // Whether the call is passed to the device.
  bool ask(const std::string& method) {
    const std::string bytes = call(method);
    return !watch.beforeWrite(pipes.out, bytes.data(), static_cast<std::uint32_t>(bytes.size()));
  }
  IOReturn answer(const std::string& bytes) { return read(pipes.reply, bytes); }
  IOReturn stream(const std::string& bytes) {
    watch.beforeRead(pipes.data);
    return read(pipes.data, bytes);
  }
  // The status that the library gets; nothing where the read is repeated.
  std::optional<IOReturn> failStream(IOReturn status, std::uint32_t waitedMs = readTimeOutMs) {
    watch.beforeRead(pipes.data);
    return watch.afterRead(pipes.data, status, nullptr, 0, waitedMs);
  }
  std::optional<IOReturn> failAnswer(IOReturn status) {
    return watch.afterRead(pipes.reply, status, nullptr, 0, readTimeOutMs);
  }
  void startJob() {
    ask("enterHostUSBSendMode");
    answer(response("0"));
    ask("create");
    answer(response("job1"));
    ask("start");
    answer(response("0"));
  }
  IOReturn read(std::uint8_t pipe, const std::string& bytes) {
    const auto size = static_cast<std::uint32_t>(bytes.size());
    return watch.afterRead(pipe, platform::kIOReturnSuccess, bytes.data(), size, readTimeOutMs).value();
  }
  frontend::ScanStatus status() const { return watch.verdict().status; }
  std::string sentence() const { return watch.verdict().sentence; }

  frontend::Cancellation cancel;
  RecordingListener picture;
  std::chrono::steady_clock::time_point now;
  frontend::JobWatch watch{{&cancel, &picture, 60000, 12, [this] { return now; }}};
};
