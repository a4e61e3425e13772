#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <regex>
#include <string>
#include <vector>

namespace {

using testing::Contains;
using testing::HasSubstr;
using testing::Not;

// The libraries that the system loads because the program itself links them.
std::vector<std::string> librariesOf(const std::string& program) {
  FILE* output = popen(("readelf -W --dynamic " + program).c_str(), "r");
  EXPECT_NE(output, nullptr);
  std::vector<std::string> libraries;
  char line[4096];
  while (std::fgets(line, sizeof line, output) != nullptr) {
    std::cmatch needed;
    if (std::regex_search(line, needed, std::regex(R"(\(NEEDED\).*\[(.*)\])")))
      libraries.push_back(needed[1]);
  }
  EXPECT_EQ(pclose(output), 0);
  return libraries;
}

// Every scan pays for each of them.
TEST(WorkerProgram, LoadsNoLibraryForWhatItNeverDoes) {
  const auto libraries = librariesOf(Q750_WORKER);
  EXPECT_THAT(libraries, Contains(HasSubstr("libusb")));
  EXPECT_THAT(libraries, Not(Contains(HasSubstr("libtiff")))) << "it keeps no file";
  EXPECT_THAT(libraries, Not(Contains(HasSubstr("libxml2")))) << "it gets no parsed document";
}

}  // namespace
