#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>
#include <string>

#include "WorkerMessages.h"

namespace {

using namespace frontend;
using testing::HasSubstr;

ScanRequest fullRequest() {
  ScanRequest request;
  request.scanner = "usb:1-2.3";
  request.settings = {150, ColorMode::gray, {10, 20, 300, 400}};
  request.threshold = 128;
  request.timeout = std::chrono::milliseconds(4500);
  request.virtualScanner = {
      "/paper with\nline feeds: 3:x.png", {"stall", "time-out@7"}, 1000, true, 1500, 90000};
  request.verbose = true;
  return request;
}

void expectSame(const ScanRequest& one, const ScanRequest& other) {
  EXPECT_EQ(one.scanner, other.scanner);
  EXPECT_EQ(one.settings.resolution, other.settings.resolution);
  EXPECT_EQ(one.settings.mode, other.settings.mode);
  EXPECT_EQ(one.settings.area, other.settings.area);
  EXPECT_EQ(one.threshold, other.threshold);
  EXPECT_EQ(one.tone, other.tone);
  EXPECT_EQ(one.timeout, other.timeout);
  EXPECT_EQ(one.verbose, other.verbose);
  EXPECT_EQ(one.virtualScanner.paper, other.virtualScanner.paper);
  EXPECT_EQ(one.virtualScanner.faults, other.virtualScanner.faults);
  EXPECT_EQ(one.virtualScanner.packetSize, other.virtualScanner.packetSize);
  EXPECT_EQ(one.virtualScanner.realTime, other.virtualScanner.realTime);
  EXPECT_EQ(one.virtualScanner.warmUpMs, other.virtualScanner.warmUpMs);
  EXPECT_EQ(one.virtualScanner.bytesPerSecond, other.virtualScanner.bytesPerSecond);
}

TEST(WorkerMessages, CarryARequestUnchanged) {
  const auto read = readRequest(requestMessage(fullRequest()));
  ASSERT_TRUE(read);
  expectSame(*read, fullRequest());
}

TEST(WorkerMessages, CarryARequestWithNothingOptional) {
  ScanRequest request;
  request.scanner = "virtual";
  request.settings.area = {0, 0, 2550, 3507};
  const auto read = readRequest(requestMessage(request));
  ASSERT_TRUE(read);
  expectSame(*read, request);
}

TEST(WorkerMessages, CarryEveryTone) {
  ScanRequest request;
  request.scanner = "virtual";
  request.settings.area = {0, 0, 2550, 3507};
  for (const Tone tone : {Tone{-100, 100, 10}, Tone{100, -100, 500}, Tone{0, -1, 101}, Tone{7, 0, 100}}) {
    request.tone = tone;
    const auto read = readRequest(requestMessage(request));
    ASSERT_TRUE(read);
    EXPECT_EQ(read->tone, tone);
  }
}

TEST(WorkerMessages, RefuseATonePastItsRangeAndOneBesideAThreshold) {
  for (const Tone tone : {Tone{-101, 0, 100}, Tone{101, 0, 100}, Tone{0, -101, 100}, Tone{0, 101, 100},
                          Tone{0, 0, 9}, Tone{0, 0, 501}}) {
    ScanRequest request = fullRequest();
    request.threshold.reset();
    request.tone = tone;
    EXPECT_FALSE(readRequest(requestMessage(request)))
        << tone.brightness << tone.contrast << tone.gammaHundredths;
  }
  ScanRequest lineart = fullRequest();
  lineart.tone.brightness = 1;
  EXPECT_FALSE(readRequest(requestMessage(lineart)));
}

TEST(WorkerMessages, RefuseASignWithoutANumber) {
  const std::string good = requestMessage(fullRequest());
  ASSERT_TRUE(readRequest(good));
  for (const char* odd :
       {"brightness 1:-", "brightness 2:-0", "brightness 2:+1", "brightness 2:00", "brightness 0:"}) {
    std::string message = good;
    message.replace(message.find("brightness 1:0"), 14, odd);
    EXPECT_FALSE(readRequest(message)) << odd;
  }
}

TEST(WorkerMessages, AreTextOfAVersion) {
  EXPECT_THAT(requestMessage(fullRequest()),
              HasSubstr("q750-worker 1\nrequest\nscanner 9:usb:1-2.3\nresolution 3:150\nmode 4:gray\n"));
  EXPECT_EQ(layoutMessage({637, 876, 3, 8, 75}),
            "q750-worker 1\nlayout\nwidth 3:637\nheight 3:876\nchannels 1:3\nbits 1:8\nresolution 2:75\n");
  EXPECT_EQ(outcomeMessage({ScanStatus::noDevice, "None."}),
            "q750-worker 1\noutcome\nstatus 1:2\nsentence 5:None.\n");
}

TEST(WorkerMessages, CarryReportsUnchanged) {
  const PictureLayout layout{637, 876, 1, 1, 600};
  EXPECT_EQ(std::get<PictureLayout>(*readReport(layoutMessage(layout))), layout);
  const auto outcome = std::get<ScanOutcome>(*readReport(outcomeMessage(outcome::noMemory())));
  EXPECT_EQ(outcome.status, ScanStatus::noMemory);
  EXPECT_EQ(outcome.sentence, outcome::noMemory().sentence);
  EXPECT_TRUE(std::holds_alternative<Heartbeat>(*readReport(heartbeatMessage)));
}

AttachedScanners twoScanners() {
  using enum platform::AttachedDevice::Access;
  return {{{1, {2, 3}}, 4, granted}, {{255, {15, 15, 15, 15, 15, 15, 15}}, 127, noNode}};
}

TEST(WorkerMessages, CarryScannersUnchanged) {
  EXPECT_EQ(scannersMessage({{{1, {2}}, 4, platform::AttachedDevice::Access::denied}}),
            "q750-worker 1\nscanners\nscanners 1:1\npath 3:1-2\naddress 1:4\naccess 1:1\n");
  for (const AttachedScanners& scanners : {twoScanners(), AttachedScanners()})
    EXPECT_EQ(std::get<AttachedScanners>(*readListReply(scannersMessage(scanners))), scanners);
}

// However many there are, the message can be sent.
TEST(WorkerMessages, CarryAsManyScannersAsFit) {
  const AttachedScanners many(1000, twoScanners()[1]);
  const std::string message = scannersMessage(many);
  EXPECT_LE(message.size(), largestWorkerMessage);
  EXPECT_EQ(std::get<AttachedScanners>(*readListReply(message)).size(), mostListedScanners);
}

TEST(WorkerMessages, ExplainWhyThereIsNoList) {
  const auto reply = readListReply(outcomeMessage(outcome::noMemory()));
  EXPECT_EQ(std::get<ScanOutcome>(*reply).status, ScanStatus::noMemory);
  EXPECT_FALSE(readListReply(outcomeMessage(outcome::good())));
}

TEST(WorkerMessages, OfScannersTakeNoWrongField) {
  const std::pair<const char*, const char*> table[] = {
      {"scanners 1:2", "scanners 1:1"},   {"scanners 1:2", "scanners 1:3"},
      {"scanners 1:2", "scanners 3:257"}, {"path 5:1-2.3", "path 5:1-2 3"},
      {"path 5:1-2.3", "path 6:1-02.3"},  {"path 5:1-2.3", "path 5:\x1b[2J."},
      {"address 1:4", "address 3:256"},   {"address 1:4", "address 2:-4"},
      {"access 1:0", "access 1:3"},       {"access 1:0", "access 7:granted"}};
  for (const auto& [right, wrong] : table) {
    std::string message = scannersMessage(twoScanners());
    ASSERT_NE(message.find(right), std::string::npos) << right;
    message.replace(message.find(right), std::string(right).size(), wrong);
    EXPECT_FALSE(readListReply(message)) << wrong;
  }
}

TEST(WorkerMessages, OfScansAndListsAreNotMistakenForEachOther) {
  EXPECT_FALSE(readReport(scannersMessage(twoScanners())));
  EXPECT_FALSE(readListReply(heartbeatMessage));
  EXPECT_FALSE(readListReply(layoutMessage({1, 2, 3, 8, 75})));
  EXPECT_FALSE(readRequest(listMessage));
}

TEST(WorkerMessages, CarryPatienceThatIsTooLongAsTheLongest) {
  ScanRequest request = fullRequest();
  request.timeout = std::chrono::milliseconds::max();
  EXPECT_EQ(readRequest(requestMessage(request))->timeout.count(), 4294967295);
}

TEST(WorkerMessages, WithoutTheirEndAreNone) {
  for (const std::string& whole :
       {requestMessage(fullRequest()), layoutMessage({1, 2, 3, 8, 75}), outcomeMessage(outcome::good()),
        std::string(heartbeatMessage), scannersMessage(twoScanners())}) {
    for (std::size_t length = 0; length < whole.size(); ++length) {
      EXPECT_FALSE(readRequest(whole.substr(0, length))) << length;
      EXPECT_FALSE(readReport(whole.substr(0, length))) << length;
      EXPECT_FALSE(readListReply(whole.substr(0, length))) << length;
    }
    EXPECT_FALSE(readRequest(whole + "x"));
    EXPECT_FALSE(readReport(whole + "\n"));
    EXPECT_FALSE(readListReply(whole + "\n"));
  }
}

TEST(WorkerMessages, OfAnotherVersionAreNone) {
  std::string request = requestMessage(fullRequest());
  request[request.find(" 1\n") + 1] = '2';
  EXPECT_FALSE(readRequest(request));
  EXPECT_FALSE(readRequest(cancelMessage));
  EXPECT_FALSE(readReport(cancelMessage));
  EXPECT_FALSE(readReport(requestMessage(fullRequest())));
}

class WrongField : public testing::TestWithParam<std::pair<const char*, const char*>> {};

TEST_P(WrongField, MakesARequestNone) {
  std::string request = requestMessage(fullRequest());
  const auto& [right, wrong] = GetParam();
  ASSERT_NE(request.find(right), std::string::npos) << right;
  request.replace(request.find(right), std::string(right).size(), wrong);
  EXPECT_FALSE(readRequest(request)) << wrong;
}

INSTANTIATE_TEST_SUITE_P(
    Table, WrongField,
    testing::Values(
        std::pair("resolution 3:150", "resolution 3:151"), std::pair("resolution 3:150", "resolution 4:0150"),
        std::pair("resolution 3:150", "resolution 3:+15"),
        std::pair("resolution 3:150", "resolution 10:4294967446"),
        std::pair("resolution 3:150", "resolution 25:9999999999999999999999999"),
        std::pair("scanner 9", "scanner 99999"), std::pair("scanner 9", "scanner -9"),
        std::pair("scanner 9", "scanner 18446744073709551615"), std::pair("mode 4:gray", "mode 4:grey"),
        std::pair("mode 4:gray", "mode 5:color"), std::pair("threshold 3:128", "threshold 3:256"),
        std::pair("threshold 3:128", "threshold 3:12x"), std::pair("timeout 4:4500", "timeout 1:0"),
        std::pair("width 3:300", "width 1:0"), std::pair("width 3:300", "width 4:1266"),
        std::pair("width 3:300", "width 10:4294967295"), std::pair("left 2:10", "left 10:4294967295"),
        std::pair("height 3:400", "height 4:1734"), std::pair("verbose 1:1", "verbose 1:2"),
        std::pair("faults 1:2", "faults 1:3"), std::pair("faults 1:2", "faults 1:1"),
        std::pair("faults 1:2", "faults 9:100000000"), std::pair("threshold 3:128", "threshold 3:007")));

TEST(WorkerMessages, WithAWrongStatusAreNone) {
  EXPECT_FALSE(readReport("q750-worker 1\noutcome\nstatus 2:10\nsentence 1:x\n"));
  EXPECT_TRUE(readReport("q750-worker 1\noutcome\nstatus 1:9\nsentence 1:x\n"));
}

// Bytes changed at random: whatever is read then holds what requests hold, and nothing worse happens.
TEST(WorkerMessages, DamagedAtRandomDoNoHarm) {
  std::mt19937 random(750);
  const std::string whole = requestMessage(fullRequest());
  for (int round = 0; round < 20000; ++round) {
    std::string damaged = whole;
    for (int changes = 1 + static_cast<int>(random() % 3); changes > 0; --changes) {
      damaged[random() % damaged.size()] = static_cast<char>(random());
    }
    readReport(damaged);
    if (const auto request = readRequest(damaged)) {
      EXPECT_GT(request->settings.area.width, 0U);
      EXPECT_LE(request->settings.area.left + request->settings.area.width, 5100U);
    }
  }
}

}  // namespace
