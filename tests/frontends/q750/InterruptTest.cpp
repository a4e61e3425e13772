#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <ostream>
#include <string>
#include <vector>

#include "ProgramFixture.h"

namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

// A point of a scan at which a user interrupts it.
struct Moment {
  const char* name;
  std::vector<std::string> arguments;
  int percent;  // of the picture that has arrived by then; -1 for nothing at all
};

void PrintTo(const Moment& moment, std::ostream* out) {
  *out << moment.name;
}

const Moment moments[] = {
    {"WarmUp", {"--virtual-warm-up", "60000"}, -1},
    {"FirstRow", {"--virtual-speed", "10000"}, 0},
    {"Middle", {"--virtual-speed", "2000000"}, 50},
    {"Stall", {"--virtual-fault", "truncated-image:840000", "--virtual-real-time"}, 50},
};

// Waits until the program has reported that it has reached the moment.
void awaitMoment(const Moment& moment, const Pipe& errors) {
  for (;;) {
    const std::string line = errors.readThrough("\n");
    ASSERT_THAT(line, EndsWith("\n"));
    if (moment.percent < 0 && line == "{\"event\":\"page\",\"page\":1}\n") return;
    const std::size_t percent = line.find("\"percent\":");
    if (moment.percent >= 0 && percent != std::string::npos &&
        std::stoi(line.substr(percent + 10)) >= moment.percent)
      return;
  }
}

class Interrupting : public ProgramFixture, public testing::WithParamInterface<std::tuple<Moment, int>> {
 protected:
  void start(const std::string& output) {
    const Moment& moment = std::get<0>(GetParam());
    std::vector<std::string> arguments = scanArguments({"-o", output, "-r", "75", "--progress", "json"});
    arguments.insert(arguments.end(), moment.arguments.begin(), moment.arguments.end());
    process = startProgram(arguments, out.writer(), errors.writer(), [] { setpgid(0, 0); });
    out.closeWriter();
    errors.closeWriter();
    awaitMoment(moment, errors);
  }
  int signalNumber() const { return std::get<1>(GetParam()); }
  void expectCancelled() {
    EXPECT_THAT(
        readAll(errors.reader()),
        EndsWith("{\"event\":\"error\",\"status\":\"cancelled\",\"exit_code\":130,\"message\":\"The scan was "
                 "cancelled; nothing was saved.\"}\n"));
    EXPECT_EQ(waitFor(process), 130);
    EXPECT_THAT(folder.names(), IsEmpty());
  }

  Pipe out;
  Pipe errors;
  pid_t process = 0;
};

TEST_P(Interrupting, LeavesNothing) {
  start(folder / "page.tiff");
  kill(process, signalNumber());
  expectCancelled();
}

// As a terminal sends it to all foreground processes, for a user in a hurry.
TEST_P(Interrupting, LeavesNothingWhenTheWholeGroupGetsTheSignalTwice) {
  start(folder / "page.pdf");
  kill(-process, signalNumber());
  kill(-process, signalNumber());
  expectCancelled();
}

INSTANTIATE_TEST_SUITE_P(Moments, Interrupting,
                         testing::Combine(testing::ValuesIn(moments),
                                          testing::Values(SIGINT, SIGTERM, SIGHUP)),
                         [](const auto& row) {
                           return std::string(std::get<0>(row.param).name) +
                                  sigabbrev_np(std::get<1>(row.param));
                         });

class InterruptingOutput : public ProgramFixture {
 protected:
  Pipe out;
  Pipe errors;
};

TEST_F(InterruptingOutput, EndsAPictureThatNobodyReads) {
  const pid_t process =
      startProgram(scanArguments({"-o", "-", "-r", "75", "-q"}), out.writer(), errors.writer());
  out.closeWriter();
  errors.closeWriter();
  char first = 0;
  ASSERT_EQ(read(out.reader(), &first, 1), 1);
  kill(process, SIGINT);
  readAll(out.reader());
  EXPECT_EQ(readAll(errors.reader()),
            "q750: The scan was cancelled; the picture on standard output is incomplete.\n");
  EXPECT_EQ(waitFor(process), 130);
}

TEST_F(InterruptingOutput, EndsAScanWhoseMessagesNobodyReads) {
  const pid_t process =
      startProgram(scanArguments({"-o", folder / "page.tiff", "-r", "75", "--progress", "json",
                                  "--virtual-speed", "100000"}),
                   out.writer(), errors.writer(), [] { fcntl(STDERR_FILENO, F_SETPIPE_SZ, 4096); });
  errors.closeWriter();
  errors.readThrough("\"percent\":0}\n");
  kill(process, SIGTERM);
  EXPECT_THAT(readAll(errors.reader()), HasSubstr("cancelled"));
  EXPECT_EQ(waitFor(process), 130);
  EXPECT_THAT(folder.names(), IsEmpty());
}

TEST_F(InterruptingOutput, EndsTheQuestionForTheNextPage) {
  Pipe answers;
  const pid_t process = startProgram(
      scanArguments({"-o", folder / "a.pdf", "-r", "75", "-a", "0x0+9x9px", "-q", "--pages", "2"}),
      out.writer(), errors.writer(), [&answers] { dup2(answers.reader(), STDIN_FILENO); });
  errors.closeWriter();
  errors.readThrough("q to save and quit): ");
  kill(process, SIGINT);
  EXPECT_EQ(readAll(errors.reader()),
            "q750: The scan was cancelled; " + (folder / "a.pdf") + " holds 1 complete page.\n");
  EXPECT_EQ(waitFor(process), 130);
  EXPECT_THAT(folder.names(), ElementsAre("a.pdf"));
}

TEST_F(InterruptingOutput, EndsTheDoctor) {
  const pid_t process =
      startProgram({"doctor", "--device", "virtual", "--virtual-warm-up", "60000", "--timeout", "90"},
                   out.writer(), errors.writer());
  out.closeWriter();
  errors.closeWriter();
  out.readThrough("\n");
  out.readThrough("\n");  // the findings before the scan
  kill(process, SIGINT);
  EXPECT_THAT(readAll(errors.reader()), HasSubstr("cancelled"));
  EXPECT_EQ(waitFor(process), 130);
}

}  // namespace
