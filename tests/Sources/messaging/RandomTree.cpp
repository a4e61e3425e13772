#include "RandomTree.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <map>
#include <utility>

#include "AliasElem.h"
#include "BinaryElem.h"
#include "BooleanElem.h"
#include "CompositeElem.h"
#include "DoubleElem.h"
#include "IntegerElem.h"
#include "LazyEvalElem.h"
#include "ListElem.h"
#include "MapElem.h"
#include "NullElem.h"
#include "ObjectStore.h"
#include "OperationElem.h"
#include "StringElem.h"

namespace {

using Kind = RandomTree::Kind;
using Tree = std::optional<std::string>;

// Any sequence of these is well-formed. No carriage return follows a blank: libxml2, when it drops blank text
// nodes, drops such blanks too.
const RandomText pieces[] = {
    {"a", "a", "a"},
    {"b", "b", "b"},
    {"Q", "Q", "Q"},
    {"7", "7", "7"},
    {"0", "0", "0"},
    {"_", "_", "_"},
    {".", ".", "."},
    {" ", " ", " "},
    {"  ", "  ", "  "},
    {"\t", "\t", " "},
    {"\n", "\n", " "},
    {"a\r\n", "a\n", "a "},
    {"a\ra", "a\na", "a a"},
    {">", ">", ">"},
    {"'", "'", "'"},
    {"]a", "]a", "]a"},
    {"/=;#%s?!-[", "/=;#%s?!-[", "/=;#%s?!-["},
    {"true", "true", "true"},
    {"\x7F", "\x7F", "\x7F"},
    {"\xC2\x80", "\xC2\x80", "\xC2\x80"},
    {"\xC3\xBF", "\xC3\xBF", "\xC3\xBF"},
    {"\xE2\x82\xAC", "\xE2\x82\xAC", "\xE2\x82\xAC"},
    {"\xEF\xBB\xBF", "\xEF\xBB\xBF", "\xEF\xBB\xBF"},
    {"\xF0\x9F\x98\x80", "\xF0\x9F\x98\x80", "\xF0\x9F\x98\x80"},
    {"&lt;", "<", "<"},
    {"&amp;", "&", "&"},
    {"&gt;", ">", ">"},
    {"&quot;", "\"", "\""},
    {"&apos;", "'", "'"},
    {"&amp;lt;", "&lt;", "&lt;"},
    {"&#95;", "_", "_"},
    {"&#228;", "\xC3\xA4", "\xC3\xA4"},
    {"&#x1F600;", "\xF0\x9F\x98\x80", "\xF0\x9F\x98\x80"},
    {"&#10;", "\n", "\n"},
    {"&#13;", "\r", "\r"},
    // The last one is for content only.
    {"\"", "\"", "\""},
};

const char* const enclosures[] = {"root",           "root.globals",          "root.sys",
                                  "root.sys.class", "root.sys.class.Camera", "root.globals.shelf.item"};

template <typename Value>
std::string formatted(const char* format, Value value) {
  std::array<char, 400> text;
  std::snprintf(text.data(), text.size(), format, value);
  return text.data();
}

std::string numberText(double number) {
  return formatted("%f", number);
}

// In Base64 a "y" (50) is read as a "7" (59).
std::string bytesText(std::vector<unsigned char> bytes) {
  const std::size_t size = bytes.size();
  bytes.resize((size + 2) / 3 * 3);
  for (std::size_t i = 0; i < bytes.size(); i += 3) {
    unsigned int group = bytes[i] * 65536U + bytes[i + 1] * 256U + bytes[i + 2];
    for (unsigned int place = 1; place <= 64U * 64U * 64U; place *= 64)
      if (group / place % 64 == 50) group += 9 * place;
    bytes[i] = static_cast<unsigned char>(group / 65536);
    bytes[i + 1] = static_cast<unsigned char>(group / 256 % 256);
    bytes[i + 2] = static_cast<unsigned char>(group % 256);
  }
  std::string text = "<";
  for (std::size_t i = 0; i < size; ++i) text += formatted("%02X", bytes[i]);
  return text + ">";
}

std::string joined(const std::vector<std::string>& parts) {
  std::string text;
  for (const std::string& part : parts) text += (text.empty() ? "" : ", ") + part;
  return text;
}

using Reader = Tree (*)(const RandomTree&);

std::string listText(const RandomTree& tree, Reader read) {
  std::vector<std::string> entries;
  for (const auto& child : tree.children)
    if (const Tree value = read(child.value)) entries.push_back(*value);
  return "[" + joined(entries) + "]";
}

bool isPrivate(const RandomTree::Entry& entry) {
  return entry.name.written.starts_with("_");
}

// Names that read as the same leave the last one.
std::string mapText(const RandomTree& tree, Reader read) {
  std::map<std::string, std::string> entries;
  for (const auto& child : tree.children) {
    if (isPrivate(child)) continue;
    if (const Tree value = read(child.value)) entries[child.name.inAttribute] = *value;
  }
  std::vector<std::string> parts;
  for (const auto& [name, value] : entries) parts.push_back(name + ": " + value);
  return "{" + joined(parts) + "}";
}

// What both readers make of it; of binaries, composites and what is not written, nothing.
Tree common(const RandomTree& tree, Reader read) {
  switch (tree.kind) {
    case Kind::list:
      return listText(tree, read);
    case Kind::map:
      return mapText(tree, read);
    case Kind::string:
      return "\"" + tree.text.inContent + "\"";
    case Kind::integer:
      return formatted("%d", tree.integer);
    case Kind::boolean:
      return tree.boolean ? "true" : "false";
    case Kind::number:
      // Six decimals are written.
      return numberText(std::strtod(numberText(tree.number).c_str(), nullptr));
    case Kind::null:
      return "null";
    default:
      return std::nullopt;
  }
}

std::unique_ptr<Element> builtUnwritten(int which) {
  if (which % 3 == 0) return std::make_unique<AliasElem>(ObjectStore.getElement("globals"));
  if (which % 3 == 1) return std::make_unique<OperationElem>();
  return std::make_unique<LazyEvalElem>();
}

std::unique_ptr<Element> builtLeaf(const RandomTree& tree) {
  switch (tree.kind) {
    case Kind::string:
      return std::make_unique<StringElem>(tree.text.written, tree.encoding);
    case Kind::integer:
      return std::make_unique<IntegerElem>(tree.integer);
    case Kind::boolean:
      return std::make_unique<BooleanElem>(tree.boolean);
    case Kind::number:
      return std::make_unique<DoubleElem>(tree.number);
    case Kind::binary: {
      std::vector<unsigned char> bytes = tree.bytes;
      return std::make_unique<BinaryElem>(bytes.data(), static_cast<unsigned int>(bytes.size()));
    }
    case Kind::unwritten:
      return builtUnwritten(tree.integer);
    default:
      return std::make_unique<NullElem>();
  }
}

}  // namespace

RandomText Random::content() {
  return text(true);
}

RandomText Random::name() {
  return text(false);
}

RandomText Random::text(bool quotes) {
  RandomText made;
  const std::size_t length = chance(1) ? 100 + below(300) : below(6);
  for (std::size_t i = 0; i < length; ++i) {
    const RandomText& piece = pieces[below(std::size(pieces) - (quotes ? 0 : 1))];
    made.written += piece.written;
    made.inContent += piece.inContent;
    made.inAttribute += piece.inAttribute;
  }
  return made;
}

int Random::integer() {
  constexpr int limits[] = {0, 1, -1, std::numeric_limits<int>::max(), std::numeric_limits<int>::min()};
  return chance(50) ? limits[below(std::size(limits))] : static_cast<int>(engine_());
}

double Random::number() {
  using Limits = std::numeric_limits<double>;
  constexpr double special[] = {0.0,
                                -0.0,
                                0.5,
                                1e-7,
                                Limits::max(),
                                Limits::min(),
                                0.9999995,
                                -Limits::infinity(),
                                1e15 + 0.3,
                                -Limits::max(),
                                Limits::denorm_min(),
                                Limits::quiet_NaN()};
  if (chance(40)) return special[below(std::size(special))];
  double value = static_cast<double>(engine_()) / 4294967296.0 - 0.5;
  for (std::size_t steps = below(40); steps > 0; --steps) value *= 7.3;
  return value;
}

RandomTree Random::tree(int levels) {
  constexpr Kind leaves[] = {Kind::string, Kind::string, Kind::integer, Kind::boolean,
                             Kind::number, Kind::null,   Kind::binary,  Kind::unwritten};
  constexpr Kind containers[] = {Kind::list, Kind::map, Kind::map, Kind::composite};
  constexpr const char* encodings[] = {"", "UTF-8", "base64", "none"};
  RandomTree made;
  if (levels > 0 && chance(levels == 5 ? 80 : 45)) {
    made.kind = containers[below(std::size(containers))];
    made.enclosure = enclosures[below(std::size(enclosures))];
    fill(made, levels);
    return made;
  }
  made.kind = leaves[below(std::size(leaves))];
  if (made.kind == Kind::string) made.text = content();
  made.encoding = encodings[below(std::size(encodings))];
  made.integer = integer();
  made.boolean = chance(50);
  made.number = number();
  made.bytes.resize(below(20));
  for (unsigned char& byte : made.bytes) byte = static_cast<unsigned char>(below(256));
  return made;
}

void Random::fill(RandomTree& container, int levels) {
  std::map<std::string, RandomTree::Entry> entries;
  for (std::size_t count = below(5); count > 0; --count) {
    RandomTree::Entry entry = {name(), tree(levels - 1)};
    const std::string written = entry.name.written;
    entries.insert_or_assign(written, std::move(entry));
  }
  for (auto& [written, entry] : entries) container.children.push_back(std::move(entry));
}

std::unique_ptr<Element> built(const RandomTree& tree) {
  if (tree.kind == Kind::list) {
    auto list = std::make_unique<ListElem>();
    for (const auto& child : tree.children) list->add(built(child.value).release());
    return list;
  }
  std::unique_ptr<Element> map;
  if (tree.kind == Kind::map) map = std::make_unique<MapElem>();
  if (tree.kind == Kind::composite) {
    map = std::make_unique<CompositeElem>(ObjectStore.getElement(tree.enclosure));
  }
  if (map == nullptr) return builtLeaf(tree);
  for (const auto& child : tree.children) map->addChild(child.name.written, built(child.value).release());
  return map;
}

Tree treeOfRead(const RandomTree& tree) {
  if (tree.kind == Kind::binary) return bytesText(tree.bytes);
  return common(tree, treeOfRead);
}

Tree treeOfDecoded(const RandomTree& tree) {
  if (tree.kind == Kind::composite) return tree.enclosure + mapText(tree, treeOfDecoded);
  return common(tree, treeOfDecoded);
}

Tree treeOfDecodedArgument(const RandomTree& tree) {
  return tree.kind == Kind::composite ? std::nullopt : treeOfDecoded(tree);
}

int compositesWritten(const RandomTree& tree) {
  int count = tree.kind == Kind::composite ? 1 : 0;
  for (const auto& child : tree.children) {
    if (tree.kind == Kind::list || !isPrivate(child)) count += compositesWritten(child.value);
  }
  return count;
}
