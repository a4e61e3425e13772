#pragma once

#include <memory>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "Element.h"

// Trees and texts that a seed determines, and what a reader makes of them according to the message format:
// computed from the generated values, never by the library's code. Use it like this:
//
//   Random random(seed);
//   const RandomTree tree = random.tree();
//   const std::string message = response(*built(tree));
//   EXPECT_EQ(what XMLSAXParser makes of it, treeOfRead(tree).value_or("nothing"));

// A text as the writer writes it, and what XML makes of these bytes between tags and in an attribute.
struct RandomText {
  std::string written;
  std::string inContent;
  std::string inAttribute;
};

struct RandomTree {
  // `unwritten` is for the elements that visitors skip: aliases and operations.
  enum class Kind { list, map, composite, string, integer, boolean, number, null, binary, unwritten };
  struct Entry;

  Kind kind = Kind::null;
  RandomText text;
  std::string encoding;
  int integer = 0;
  bool boolean = false;
  double number = 0;
  std::vector<unsigned char> bytes;
  // The full name of an element of the object store.
  std::string enclosure;
  // Of lists without names; else in the byte-wise order of the names as they are written, none twice.
  std::vector<Entry> children;
};

struct RandomTree::Entry {
  RandomText name;
  RandomTree value;
};

class Random {
 public:
  explicit Random(unsigned int seed) : engine_(seed) {}

  // 0 to count - 1.
  std::size_t below(std::size_t count) { return engine_() % count; }
  bool chance(std::size_t percent) { return below(100) < percent; }
  // Of the characters that the format can hold: for content all but "<" and "&", which are written as
  // references; for names without the quotation mark.
  RandomText content();
  RandomText name();
  int integer();
  // A few dozen elements at most, five levels at most.
  RandomTree tree() { return tree(5); }

 private:
  RandomTree tree(int levels);
  void fill(RandomTree& container, int levels);
  RandomText text(bool quotes);
  double number();

  std::mt19937 engine_;
};

// The tree as elements; composites get their enclosures from the object store.
std::unique_ptr<Element> built(const RandomTree& tree);

// What XMLSAXParser makes of the tree in a message, as the text of treeOf(); none when it is dropped.
std::optional<std::string> treeOfRead(const RandomTree& tree);
// What XMLEncoding makes of it, alone or in a container.
std::optional<std::string> treeOfDecoded(const RandomTree& tree);
// The same for the value of an argument.
std::optional<std::string> treeOfDecodedArgument(const RandomTree& tree);
// How many composites the writer writes: each moves the rest of the message one level in.
int compositesWritten(const RandomTree& tree);
