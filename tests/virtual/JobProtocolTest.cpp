#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "CallLog.h"
#include "DeviceHost.h"
#include "RequestInbox.h"
#include "VirtualScanner.h"

namespace virtualscanner {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using Parameter = DeviceHost::Parameter;

class JobProtocol : public testing::Test {
 protected:
  // Steps of the table below: n enter, c create, s start, d done, x exit. For a small letter the expected
  // reply is a response, for a capital one an exception.
  void play(const std::string& steps) {
    for (std::size_t i = 0; i < steps.size(); ++i) {
      const bool wrong = steps[i] < 'a';
      const std::string answer = perform(static_cast<char>(steps[i] | 0x20));
      ASSERT_EQ(answer.substr(0, answer.find(' ')), wrong ? "exception" : "response")
          << "step " << i + 1 << " of " << steps << ": " << host_.lastReply();
    }
  }

  std::string perform(char step) {
    switch (step) {
      case 'n':
        return host_.enter();
      case 'c': {
        std::string answer = host_.create();
        if (answer.size() > 9) job_ = answer.substr(9);
        return answer;
      }
      case 's':
        return host_.call(job_, "start");
      case 'd':
        return host_.call(job_ + ".scanJob", "done");
      default:
        return host_.exit();
    }
  }

  VirtualScanner scanner_{Paper::plain(black)};
  const CallLog calls_ = recordCalls(scanner_);
  DeviceHost host_{scanner_};
  std::string job_ = "HostSendJob1";
};

TEST_F(JobProtocol, TakesCallsInTheirOrderAndRefusesOthersWithoutAnEffect) {
  for (const char* steps : {
           "ncsdx",
           "ncsdxncsdx",
           "ncsdcsdx",  // one job, two, two in one session
           "C",
           "S",
           "D",
           "X",  // nothing before enter
           "nS",
           "nD",
           "nx",
           "nxX",
           "nxC",  // a session without a job
           "ncC",
           "ncD",
           "ncX",  // a job that is not started
           "ncsS",
           "ncsC",
           "ncsX",
           "ncsdD",
           "ncsdS",          // while and after a job runs
           "ncCDXsSCXdDSx",  // a job despite all of them
           "nn",
           "ncnS",
           "ncncsdx",
           "ncsnD",
           "ncsncsdx",  // enter starts afresh
       }) {
    SCOPED_TRACE(steps);
    play(steps);
    perform('n');
    ASSERT_EQ(perform('x'), "response 0");
  }
}

TEST_F(JobProtocol, NamesEachJobAnew) {
  host_.enter();
  EXPECT_EQ(host_.create(), "response HostSendJob1");
  host_.enter();
  EXPECT_EQ(host_.create(), "response HostSendJob2");
  EXPECT_EQ(host_.call("HostSendJob1", "start"), "exception");
  EXPECT_EQ(host_.call("HostSendJob2", "start"), "response 0");
}

TEST_F(JobProtocol, RepeatsTheRequestIdInEveryReply) {
  for (const int id : {0, 7, 9999}) {
    host_.requestId = id;
    EXPECT_EQ(host_.enter(), "response 0");
    EXPECT_EQ(host_.lastReply(), "<?xml version=\"1.0\"?>\r\n<response requestID=\"" + std::to_string(id) +
                                     "\">\r\n  <IntegerElem>0</IntegerElem>\r\n</response>\r\n");
    EXPECT_EQ(host_.call("nobody", "start"), "exception");
    EXPECT_EQ(host_.lastReply(),
              "<?xml version=\"1.0\"?>\r\n<exception requestID=\"" + std::to_string(id) +
                  "\">\r\n  <message>there is no such object or method</message>\r\n</exception>\r\n");
  }
}

TEST_F(JobProtocol, RefusesWhatNoObjectOffers) {
  host_.enter();
  for (const auto& [object, method] : {std::pair{"system", "reboot"},
                                       {"jobFactory", "destroy"},
                                       {"", "start"},
                                       {"HostSendJob1", "start"},
                                       {".scanJob", "done"},
                                       {"scanJob", "done"}}) {
    EXPECT_EQ(host_.call(object, method), "exception") << object << "." << method;
    EXPECT_THAT(host_.lastReply(), HasSubstr("there is no such object or method"));
  }
}

TEST_F(JobProtocol, RequiresTheParametersOfEachCall) {
  EXPECT_EQ(host_.call("system", "enterHostUSBSendMode"), "exception");
  EXPECT_THAT(host_.lastReply(), HasSubstr("the call has too few parameters"));
  EXPECT_EQ(host_.call("system", "enterHostUSBSendMode", {Parameter::kind}), "exception");
  EXPECT_THAT(host_.lastReply(), HasSubstr("the parameters are not a map"));
  host_.enter();
  const std::vector<std::pair<std::vector<Parameter>, std::string>> cases{
      {{}, "the call has too few parameters"},
      {{Parameter::kind}, "the call has too few parameters"},
      {{Parameter::tree, Parameter::kind}, "the device has no such kind of job"},
      {{Parameter::wrongKind, Parameter::tree}, "the device has no such kind of job"},
      {{Parameter::kind, Parameter::kind}, "the parameter scanParameters is missing"}};
  for (const auto& [parameters, reason] : cases) {
    EXPECT_EQ(host_.call("jobFactory", "create", parameters), "exception");
    EXPECT_THAT(host_.lastReply(), HasSubstr(reason));
  }
  EXPECT_EQ(host_.create(), "response HostSendJob1");
}

TEST_F(JobProtocol, RepliesToARequestThatItCannotScanWithAnException) {
  host_.request.resolution = 1200;
  host_.enter();
  EXPECT_EQ(host_.create(), "exception");
  EXPECT_THAT(host_.lastReply(), HasSubstr("the resolution is none of"));
  EXPECT_EQ(scanner_.lastRequest(), std::nullopt);
}

TEST_F(JobProtocol, RepliesToTextThatIsNotACallWithAnException) {
  const std::pair<const char*, const char*> cases[] = {
      {"", "this is not a message"},
      {"<method", "this is not a message"},
      {"<method></wrong>", "this is not a message"},
      {"<exception><message>inside</message></exception>", "this is not a message"},
      {"<!DOCTYPE m [<!ENTITY e \"<me/>\">]><method>&e;</method>", "this is not a message"},
      {"<response requestID=\"3\"><IntegerElem>0</IntegerElem></response>", "this is not a method call"},
      {"<method name=\"callRule\" requestID=\"3\"/>", "this is not a method call"},
      {"<method name=\"callMethod\" requestID=\"3\"/>", "the call has no list of parameters"},
      {"<method name=\"callMethod\"><arg name=\"params\"><IntegerElem>1</IntegerElem></arg></method>",
       "the call has no list of parameters"},
      {"<method name=\"callMethod\"><arg name=\"params\"><IntegerElem>no number</IntegerElem></arg></method>",
       ""},
  };
  for (const auto& [text, reason] : cases) {
    testing::internal::CaptureStderr();
    host_.write(controlPacket(text));
    testing::internal::GetCapturedStderr();
    const std::string reply = host_.takeReply();
    EXPECT_THAT(reply, HasSubstr("<exception requestID=")) << text;
    EXPECT_THAT(reply, HasSubstr(reason)) << text;
  }
  EXPECT_THAT(*calls_, ElementsAre());
}

TEST_F(JobProtocol, ReportsTheCallsThatItUnderstands) {
  play("ncsdx");
  EXPECT_THAT(*calls_, ElementsAre("system.enterHostUSBSendMode", "jobFactory.create", "HostSendJob1.start",
                                   "HostSendJob1.scanJob.done", "system.exitHostUSBSendMode"));
}

class Inbox : public testing::Test {
 protected:
  void receive(const std::vector<std::uint8_t>& bytes) { inbox_.receive(bytes.data(), bytes.size()); }

  std::vector<std::string> messages_;
  RequestInbox inbox_{[this](std::string_view message) { messages_.emplace_back(message); }};
};

TEST_F(Inbox, TakesMessagesCutAtEveryPlace) {
  std::vector<std::uint8_t> two = controlPacket("first");
  const std::vector<std::uint8_t> second = controlPacket("second");
  two.insert(two.end(), second.begin(), second.end());
  for (std::size_t chunk = 1; chunk <= two.size(); ++chunk) {
    messages_.clear();
    for (std::size_t i = 0; i < two.size(); i += chunk) {
      receive({two.begin() + static_cast<std::ptrdiff_t>(i),
               two.begin() + static_cast<std::ptrdiff_t>(std::min(i + chunk, two.size()))});
    }
    ASSERT_THAT(messages_, ElementsAre("first", "second")) << chunk;
  }
}

TEST_F(Inbox, DropsAnUnfinishedMessageWhenTheNextBegins) {
  const std::vector<std::uint8_t> whole = controlPacket("given up");
  for (std::size_t length = 1; length < whole.size(); ++length) {
    messages_.clear();
    receive({whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length)});
    receive(controlPacket("next"));
    ASSERT_THAT(messages_, ElementsAre("next")) << length;
  }
}

TEST_F(Inbox, DropsAnnouncedLengthsThatNoMessageHas) {
  for (const auto& header : std::vector<std::vector<std::uint8_t>>{{0xCC, 0, 0, 0, 0xFF, 0xFF, 0xFF, 0xF8},
                                                                   {0xCC, 0, 0, 0, 0xFF, 0xFF, 0xFF, 0xFF},
                                                                   {0xCC, 0, 0, 0, 0, 0x10, 0, 1},
                                                                   {0x00, 0, 0, 0, 0x80, 0, 0, 0}}) {
    messages_.clear();
    receive(header);
    receive({header.begin(), header.begin() + 5});
    receive({header.begin() + 5, header.end()});
    receive(controlPacket("next"));
    EXPECT_THAT(messages_, ElementsAre("next"));
  }
}

TEST_F(Inbox, DropsTheWholeWriteThatAnnouncesTooMuch) {
  std::vector<std::uint8_t> bytes = controlPacket("before");
  bytes.insert(bytes.end(), {0xCC, 0, 0, 0, 0xFF, 0xFF, 0xFF, 0xF8});
  receive(bytes);
  receive(controlPacket("next"));
  EXPECT_THAT(messages_, ElementsAre("next"));
}

TEST_F(Inbox, SkipsPacketsOfOtherTypes) {
  receive({0xDD, 0, 0, 0, 0, 0, 0, 2, 'x', 'y'});
  receive(controlPacket("text"));
  EXPECT_THAT(messages_, ElementsAre("text"));
}

TEST_F(Inbox, ForgetsAnUnfinishedMessageWhenCleared) {
  receive({0xCC, 0, 0, 0, 0, 0, 0, 9, 'x'});
  inbox_.clear();
  receive(controlPacket("text"));
  EXPECT_THAT(messages_, ElementsAre("text"));
}

}  // namespace
}  // namespace virtualscanner
