#include "FrontEnd.h"

#include <poll.h>
#include <sys/wait.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "PageImage.h"
#include "Paper.h"

using virtualscanner::Paper;

FrontEnd::FrontEnd() : descriptorsBefore_(openDescriptors()) {
  setenv("SANE_CONFIG_DIR", folder.path().c_str(), 1);
  unsetenv("SANE_DEBUG_QUENVAR");
}

FrontEnd::~FrontEnd() {
  end();
  if (countsDescriptors_) {
    EXPECT_EQ(openDescriptors(), descriptorsBefore_);
  }
  EXPECT_FALSE(hasChild());
}

void FrontEnd::begin(const std::string& config) {
  end();
  writeContent(folder / "quenvar.conf", "virtual on\n" + config + "\n");
  SANE_Int version = 0;
  ASSERT_EQ(library.init(&version, nullptr), SANE_STATUS_GOOD);
  EXPECT_EQ(SANE_VERSION_MAJOR(version), 1);
  begun_ = true;
}

void FrontEnd::end() {
  if (begun_) library.exit();
  begun_ = false;
  handle = nullptr;
}

void FrontEnd::open() {
  if (!begun_) begin();
  ASSERT_EQ(library.open("virtual", &handle), SANE_STATUS_GOOD);
}

SANE_Int FrontEnd::optionNamed(const std::string& name) {
  for (SANE_Int index = 1;; ++index) {
    const SANE_Option_Descriptor* option = library.getOptionDescriptor(handle, index);
    if (option == nullptr) break;
    if (name == option->name) return index;
  }
  ADD_FAILURE() << "no option " << name;
  return 0;
}

SANE_Status FrontEnd::set(const std::string& option, const char* text) {
  char value[32] = {};
  std::strncpy(value, text, sizeof value - 1);
  return library.controlOption(handle, optionNamed(option), SANE_ACTION_SET_VALUE, value, nullptr);
}

SANE_Status FrontEnd::set(const std::string& option, SANE_Word word) {
  return library.controlOption(handle, optionNamed(option), SANE_ACTION_SET_VALUE, &word, nullptr);
}

void FrontEnd::askForSmallScan(const char* mode) {
  const double pixel = 25.4 / 75;
  EXPECT_EQ(set("mode", mode), SANE_STATUS_GOOD);
  EXPECT_EQ(set("resolution", 75), SANE_STATUS_GOOD);
  EXPECT_EQ(setMillimetres("tl-x", 20 * pixel), SANE_STATUS_GOOD);
  EXPECT_EQ(setMillimetres("tl-y", 30 * pixel), SANE_STATUS_GOOD);
  EXPECT_EQ(setMillimetres("br-x", 138 * pixel), SANE_STATUS_GOOD);
  EXPECT_EQ(setMillimetres("br-y", 119 * pixel), SANE_STATUS_GOOD);
}

namespace {

std::vector<std::uint8_t> page(const virtualscanner::PageRequest& request, const std::string& mode,
                               int threshold) {
  std::vector<std::uint8_t> pixels = virtualscanner::paintPage(Paper::testChart(), request);
  if (mode != "Lineart") return pixels;
  const std::size_t rowBytes = (request.width + 7) / 8;
  std::vector<std::uint8_t> bits(rowBytes * request.height, 0);
  for (std::size_t i = 0; i < pixels.size(); ++i) {
    const std::size_t x = i % request.width;
    if (pixels[i] < threshold)
      bits[i / request.width * rowBytes + x / 8] |= static_cast<std::uint8_t>(0x80 >> x % 8);
  }
  return bits;
}

}  // namespace

std::vector<std::uint8_t> FrontEnd::smallPage(const std::string& mode, int threshold) {
  return page({75, mode == "Color", 20, 30, 118, 89}, mode, threshold);
}

std::vector<std::uint8_t> FrontEnd::wholePage(const std::string& mode, std::uint32_t resolution) {
  return page({resolution, mode == "Color", 0, 0, 850 * resolution / 100, 1169 * resolution / 100}, mode,
              128);
}

SANE_Status FrontEnd::read(SANE_Int capacity) {
  std::vector<SANE_Byte> buffer(static_cast<std::size_t>(capacity));
  length = -1;
  status = library.read(handle, buffer.data(), capacity, &length);
  if (status != SANE_STATUS_GOOD) {
    EXPECT_EQ(length, 0);
  }
  EXPECT_GE(length, 0);
  EXPECT_LE(length, capacity);
  received.insert(received.end(), buffer.begin(), buffer.begin() + length);
  return status;
}

std::vector<std::uint8_t> FrontEnd::readAll(SANE_Int capacity) {
  received.clear();
  while (read(capacity) == SANE_STATUS_GOOD) EXPECT_GT(length, 0);
  return std::move(received);
}

SANE_Parameters FrontEnd::parameters() {
  SANE_Parameters parameters{};
  EXPECT_EQ(library.getParameters(handle, &parameters), SANE_STATUS_GOOD);
  return parameters;
}

bool FrontEnd::readable(int milliseconds) {
  SANE_Int descriptor = -1;
  EXPECT_EQ(library.getSelectFd(handle, &descriptor), SANE_STATUS_GOOD);
  pollfd waiting{descriptor, POLLIN, 0};
  return poll(&waiting, 1, milliseconds) == 1;
}

std::size_t FrontEnd::openDescriptors() {
  std::size_t count = 0;
  for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) ++count;
  return count;
}

bool FrontEnd::hasChild() {
  return waitpid(-1, nullptr, WNOHANG) >= 0 || errno != ECHILD;
}
