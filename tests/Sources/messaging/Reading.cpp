#include "Reading.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <vector>

#include "BinaryElem.h"
#include "BooleanElem.h"
#include "CompositeElem.h"
#include "DoubleElem.h"
#include "ElementIterator.h"
#include "IntegerElem.h"
#include "ListElem.h"
#include "MapElem.h"
#include "NullElem.h"
#include "StringElem.h"

namespace {

template <typename... Values>
std::string formatted(const char* format, Values... values) {
  std::array<char, 400> text;
  std::snprintf(text.data(), text.size(), format, values...);
  return text.data();
}

std::string treeOfBytes(BinaryElem& bytes) {
  std::string text = "<";
  for (unsigned int i = 0; i < bytes.binaryLength(); ++i) text += formatted("%02X", bytes.binaryValue()[i]);
  return text + ">";
}

std::string treeOfChildren(Element& container, bool named) {
  std::string text;
  const std::unique_ptr<ElementIterator> children(container.iterator(false));
  while (children->hasNext()) {
    if (!text.empty()) text += ", ";
    if (named) text += children->nextName() + ": ";
    text += treeOf(children->next());
  }
  return text;
}

std::string treeOfComposite(CompositeElem& composite) {
  Element* enclosure = composite.getEnclosure();
  const std::string name = enclosure == nullptr ? "" : enclosure->getFullName();
  return name + "{" + treeOfChildren(composite, true) + "}";
}

// Collects both streams, also when reading throws.
class Capture {
 public:
  Capture() {
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
  }
  Capture(const Capture&) = delete;
  Capture& operator=(const Capture&) = delete;
  ~Capture() {
    if (running_) end();
  }
  void end() {
    running_ = false;
    output_ = testing::internal::GetCapturedStdout();
    error_ = testing::internal::GetCapturedStderr();
  }
  const std::string& output() const { return output_; }
  const std::string& error() const { return error_; }

 private:
  bool running_ = true;
  std::string output_;
  std::string error_;
};

}  // namespace

Reading readUncaptured(const std::string& message) {
  Reading reading;
  // A separate block, so that a sanitizer detects a read past the end; never null, even if empty.
  const auto block = std::make_unique<char[]>(message.size());
  message.copy(block.get(), message.size());
  XMLSAXParser parser;
  reading.status = parser.parseMessage(block.get(), static_cast<int>(message.size()));
  reading.result.reset(parser.getResult());
  return reading;
}

Reading read(const std::string& message) {
  Capture capture;
  Reading reading = readUncaptured(message);
  capture.end();
  reading.standardOutput = capture.output();
  reading.standardError = capture.error();
  return reading;
}

std::string treeRead(const std::string& message) {
  const Reading reading = read(message);
  if (reading.status != 0) return "failed: " + reading.standardError;
  return treeOf(reading.result.get());
}

std::string treeOf(Element* element) {
  if (element == nullptr) return "nothing";
  if (auto* composite = dynamic_cast<CompositeElem*>(element)) return treeOfComposite(*composite);
  if (dynamic_cast<MapElem*>(element) != nullptr) return "{" + treeOfChildren(*element, true) + "}";
  if (dynamic_cast<ListElem*>(element) != nullptr) return "[" + treeOfChildren(*element, false) + "]";
  if (dynamic_cast<StringElem*>(element) != nullptr) return "\"" + element->stringValue() + "\"";
  if (dynamic_cast<NullElem*>(element) != nullptr) return "null";
  if (auto* number = dynamic_cast<DoubleElem*>(element)) return formatted("%f", number->doubleValue());
  if (auto* bytes = dynamic_cast<BinaryElem*>(element)) return treeOfBytes(*bytes);
  const bool known =
      dynamic_cast<IntegerElem*>(element) != nullptr || dynamic_cast<BooleanElem*>(element) != nullptr;
  return known ? element->stringValue() : "an element of another class";
}
