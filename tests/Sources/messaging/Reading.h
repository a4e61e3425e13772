#pragma once

#include <memory>
#include <string>

#include "Element.h"
#include "XMLSAXParser.h"

// The results of one parseMessage. Use it like this:
//
//   const Reading reading = read("<response requestID=\"3\"><NullElem/></response>");
//   EXPECT_EQ(reading.status, 0);
//   EXPECT_EQ(treeOf(reading.result.get()), R"({messageType: "response", requestID: "3", result: null})");
//   EXPECT_EQ(reading.standardOutput, "");
struct Reading {
  int status = 0;
  std::unique_ptr<Element> result;
  std::string standardOutput;
  std::string standardError;
};

// Reads with a separate parser, from a block of exactly the message's size. Exceptions pass through.
Reading read(const std::string& message);

// The same without collecting the two streams, for tests that read thousands of messages.
Reading readUncaptured(const std::string& message);

// The tree that a message with this text reads as, or a text that reports the failure.
std::string treeRead(const std::string& message);

// The tree as text: {name: value} for a map, the same behind the full name of its enclosure for a composite,
// [value] for a list, "text" for a string, its number for an integer, a number with six decimals for a
// double, true and false, null, hex digits in <> for bytes.
std::string treeOf(Element* element);
