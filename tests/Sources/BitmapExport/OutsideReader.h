#pragma once

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <array>
#include <cstdio>
#include <string>

// The standard output of a third-party program about a file:
//
//   EXPECT_THAT(outputOf("tiffinfo", "libtiff-tools", path), HasSubstr("Image Width: 4"));
inline std::string outputOf(const std::string& program, const std::string& debianPackage,
                            const std::string& arguments) {
  FILE* stream = popen((program + " " + arguments).c_str(), "r");
  if (stream == nullptr) {
    ADD_FAILURE() << "could not run " << program;
    return {};
  }
  std::string output;
  std::array<char, 65536> buffer;
  while (const std::size_t count = std::fread(buffer.data(), 1, buffer.size(), stream))
    output.append(buffer.data(), count);
  const int status = pclose(stream);
  constexpr int notFound = 127;
  if (WIFEXITED(status) && WEXITSTATUS(status) == notFound) {
    ADD_FAILURE() << program << " was not found: install the Debian package " << debianPackage
                  << " (tools/setup does it).";
  } else {
    EXPECT_EQ(status, 0) << program << " " << arguments;
  }
  return output;
}
