// Runs a target over every file of the folders given, without a fuzzer: its main() in every build except the
// fuzzer's. Prints the name of each file before it is read, so that the last one printed is the one that
// failed. Exit status 1 for a folder that is missing or contains no file.
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <vector>

#include "Target.h"

namespace {

using std::filesystem::path;

std::vector<path> filesIn(const path& folder) {
  std::vector<path> files;
  std::error_code missing;
  for (const auto& entry : std::filesystem::directory_iterator(folder, missing)) {
    if (entry.is_regular_file()) files.push_back(entry.path());
  }
  std::sort(files.begin(), files.end());
  return files;
}

void replay(const path& file) {
  dprintf(STDERR_FILENO, "%s\n", file.c_str());
  std::ifstream stream(file, std::ios::binary);
  const std::vector<char> content{std::istreambuf_iterator<char>(stream), {}};
  // A block of exactly the file's size, never null: not a byte behind it can be read unnoticed.
  const auto bytes = std::make_unique<std::uint8_t[]>(content.size());
  std::copy(content.begin(), content.end(), bytes.get());
  LLVMFuzzerTestOneInput(bytes.get(), content.size());
}

}  // namespace

int main(int count, char** arguments) {
  if (count < 2) return 1;
  for (int index = 1; index < count; ++index) {
    const std::vector<path> files = filesIn(arguments[index]);
    if (files.empty()) {
      dprintf(STDERR_FILENO, "%s holds no input\n", arguments[index]);
      return 1;
    }
    for (const path& file : files) replay(file);
  }
  return 0;
}
