#pragma once

#include <chrono>
#include <cstdint>
#include <stdexcept>
#include <string>

#include "CommandError.h"
#include "PictureFormat.h"
#include "Rotation.h"

namespace frontend {

// A value that an option does not take. What is wrong with it and what to give instead, without the name of
// the option: "unknown mode. Choose color, gray or lineart."
class ValueError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// The value of --quality.
struct Quality {
  int number;
  bool lossless;  // instead of the number
};

// Reads the values of the options of a scan, wherever the user gave them, one at a time: whether two of them
// contradict each other is the plan's concern. Choices ignore case. Each function throws ValueError.
namespace optionvalue {

PictureMode mode(const std::string& text);
std::uint32_t resolution(const std::string& text);
// Of a gray level or a percentage.
std::uint8_t threshold(const std::string& text);
// Of brightness and contrast.
std::int32_t tonePercent(const std::string& text);
// In hundredths.
std::uint32_t gamma(const std::string& text);
std::uint32_t pages(const std::string& text);
PictureFormat format(const std::string& text);
Rotation rotation(const std::string& text);
Quality quality(const std::string& text);
// The name in progressNames.
std::string progress(const std::string& text);
std::chrono::milliseconds timeout(const std::string& text);

}  // namespace optionvalue

// Reads the value of an option on the command line. Throws UsageError, which begins with the option.
template <typename Value>
Value valueOf(const char* option, const std::string& text, Value (*read)(const std::string& text)) {
  try {
    return read(text);
  } catch (const ValueError& error) {
    throw UsageError(std::string(option) + " " + text + ": " + error.what());
  }
}

}  // namespace frontend
