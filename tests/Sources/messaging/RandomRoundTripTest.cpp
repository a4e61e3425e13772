#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "CompositeElem.h"
#include "Decoding.h"
#include "Exceptions.h"
#include "IntegerElem.h"
#include "ListElem.h"
#include "MapElem.h"
#include "MessageText.h"
#include "ParsedText.h"
#include "RandomTree.h"
#include "Reading.h"
#include "XMLEncoding.h"

namespace {

using Kind = RandomTree::Kind;

std::string treeOfEntries(const std::map<std::string, std::string>& entries) {
  std::string text;
  for (const auto& [name, value] : entries) text += (text.empty() ? "" : ", ") + name + ": " + value;
  return "{" + text + "}";
}

std::string quoted(const std::string& text) {
  return "\"" + text + "\"";
}

std::string treeOfAll(const std::string& message) {
  const Reading reading = readUncaptured(message);
  return reading.status == 0 ? treeOf(reading.result.get()) : "malformed";
}

class RandomRoundTrips : public testing::Test {
 protected:
  RandomRoundTrips() { shelf_->addChild("item", new IntegerElem(1)); }

 private:
  // The enclosures of the composites.
  Stored camera_{"sys.class", "Camera", new CompositeElem(nullptr)};
  Stored shelf_{"globals", "shelf", new MapElem};
};

TEST_F(RandomRoundTrips, BringBackOfRepliesWhatEachReaderKeeps) {
  for (unsigned int seed = 1; seed <= 2000; ++seed) {
    SCOPED_TRACE(seed);
    Random random(seed);
    const RandomTree tree = random.tree();
    const bool fault = random.chance(20);
    const int requestID = random.integer();
    XMLVisitor visitor(fault ? 2 : 1, requestID);
    built(tree)->accept(&visitor);
    const std::string message = dump(visitor);

    std::map<std::string, std::string> read = {{"messageType", fault ? "\"exception\"" : "\"response\""},
                                               {"requestID", quoted(std::to_string(requestID))}};
    if (const auto result = treeOfRead(tree)) read["result"] = *result;
    ASSERT_EQ(treeOfAll(message), treeOfEntries(read)) << message;

    const ParsedText text(message);
    ASSERT_NE(text.root(), nullptr) << message;
    const std::unique_ptr<Element> decoded(XMLEncoding::deSerializeElement(text.first()));
    ASSERT_EQ(treeOf(decoded.get()), treeOfDecoded(tree).value_or("nothing")) << message;
  }
}

TEST_F(RandomRoundTrips, BringTheKindOfAFaultBackAndNotItsText) {
  for (unsigned int seed = 1; seed <= 200; ++seed) {
    SCOPED_TRACE(seed);
    Random random(seed);
    XMLVisitor visitor(2, 3);
    NoSuchElementException(random.content().written).accept(&visitor);
    const std::string message = dump(visitor);
    ASSERT_EQ(treeOfAll(message), "{messageType: \"exception\", requestID: \"3\"}") << message;
    const ParsedText text(message);
    ASSERT_EQ(text.first()->type, XML_ELEMENT_NODE) << message;
    ASSERT_EQ(XMLEncoding::deSerializeElement(text.first()), nullptr) << message;
  }
}

// One argument of a call, as each look-up is expected to find it.
struct Argument {
  std::string name;
  std::string read;
  std::string string = "nothing";
  std::string element = "nothing";
  std::string list = "[]";
};

struct Method {
  int code;
  const char* name;
  // The last one stays open for the element, if there is one.
  std::vector<const char*> arguments;
  bool open;
};

const Method methods[] = {
    {0, "", {"", ""}, false},
    {3, "getAttribute", {"objName", "attribName"}, false},
    {4, "setAttribute", {"objName", "attribName", "value"}, true},
    {5, "callMethod", {"objName", "method", "params"}, true},
    {6, "callRule", {"ruleName", "params"}, true},
    {7, "addObserver", {"objName", "event", "observer"}, false},
    {8, "removeObserver", {"objName", "event", "observer"}, false},
    {9, "instantiate", {"className", "objName", "params"}, true},
    {10, "event", {"observer", "objName", "event", "data"}, true},
    {11, "callVoidMethod", {"objName", "method", "params"}, true},
};

std::string lineBreak(int level) {
  return "\n" + std::string(2 * static_cast<std::size_t>(level), ' ');
}

Argument literalArgument(const char* name, const RandomText& text) {
  return {name, quoted(text.inContent), text.written.empty() ? "nothing" : text.inContent};
}

// `text` is the text in the argument before the element: a callRule has some.
Argument openArgument(const Method& method, const std::string& text, const RandomTree& tree) {
  const int level = method.code == 10 ? 2 : 1;
  const std::string before = tree.kind == Kind::unwritten ? "" : lineBreak(level);
  const std::string after = lineBreak(level - 1 + compositesWritten(tree));
  Argument argument = {method.arguments.back(), treeOfRead(tree).value_or(quoted(text + before + after))};
  if (!text.empty() || tree.kind == Kind::unwritten) {
    argument.string = text + (tree.kind == Kind::unwritten ? after : before);
  } else {
    argument.element = treeOfDecodedArgument(tree).value_or("nothing");
    if (tree.kind == Kind::list) argument.list = argument.element;
  }
  return argument;
}

struct RandomCall {
  explicit RandomCall(Random& random) : method(methods[random.below(std::size(methods))]) {
    for (RandomText& literal : literals) literal = random.content();
    // The parser that the decoder relies on drops blanks at the front.
    RandomText& ruleText = literals[1];
    if (method.code == 6 && !ruleText.written.empty()) {
      ruleText.written.insert(0, "x");
      ruleText.inContent.insert(0, "x");
    }
    tree = random.tree();
    requestID = random.integer();
    for (std::size_t i = 0; i < method.arguments.size() - (method.open ? 1 : 0); ++i)
      arguments.push_back(literalArgument(method.arguments[i], literals[i]));
    if (method.open)
      arguments.push_back(openArgument(method, method.code == 6 ? ruleText.inContent : "", tree));
  }

  std::string message() const {
    XMLVisitor visitor(method.code, requestID, literals[0].written, literals[1].written, literals[2].written);
    if (method.open) built(tree)->accept(&visitor);
    return dump(visitor);
  }

  // What XMLSAXParser makes of the message: of equal names the last one.
  std::string read() const {
    std::map<std::string, std::string> entries;
    for (const Argument& argument : arguments) entries[argument.name] = argument.read;
    entries["messageType"] = "\"method\"";
    entries["systemRule"] = quoted(method.name);
    entries["requestID"] = quoted(method.code == 10 ? "" : std::to_string(requestID));
    return treeOfEntries(entries);
  }

  // What XMLEncoding finds under a name: of equal names the first one.
  Argument found(const std::string& name) const {
    for (const Argument& argument : arguments)
      if (argument.name == name) return argument;
    return {name, ""};
  }

  const Method& method;
  RandomText literals[3];
  RandomTree tree;
  int requestID;
  std::vector<Argument> arguments;
};

TEST_F(RandomRoundTrips, BringBackOfCallsWhatEachReaderKeeps) {
  const char* const wanted[] = {"objName",   "method", "params",   "attribName", "value", "ruleName",
                                "className", "event",  "observer", "data",       "",      "absent"};
  for (unsigned int seed = 1; seed <= 2000; ++seed) {
    SCOPED_TRACE(seed);
    Random random(seed);
    const RandomCall call(random);
    const std::string message = call.message();
    ASSERT_EQ(treeOfAll(message), call.read()) << message;

    const ParsedText text(message);
    ASSERT_NE(text.root(), nullptr) << message;
    for (const char* name : wanted) {
      const Argument expected = call.found(name);
      const char* string = XMLEncoding::parseStringArg(text.first(), name);
      ASSERT_EQ(string == nullptr ? "nothing" : string, expected.string) << name << " in " << message;
      const std::unique_ptr<Element> element(XMLEncoding::parseElemArg(text.first(), name));
      ASSERT_EQ(treeOf(element.get()), expected.element) << name << " in " << message;
      const std::unique_ptr<ListElem> list(XMLEncoding::parseListElemArg(text.first(), name));
      ASSERT_EQ(treeOf(list.get()), expected.list) << name << " in " << message;
    }
  }
}

}  // namespace
