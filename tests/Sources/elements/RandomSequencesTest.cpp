#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "BinaryElem.h"
#include "Children.h"
#include "CompositeElem.h"
#include "FailedClone.h"
#include "IntegerElem.h"
#include "ListElem.h"
#include "MapElem.h"

namespace {

// Leaves that count how many of them there are. A clone of an integer is not counted, since it is another
// class; a binary element has no clone.
template <typename Leaf>
struct Counted : Leaf {
  template <typename... Arguments>
  explicit Counted(Arguments... arguments) : Leaf(arguments...) {
    ++alive;
  }
  ~Counted() override { --alive; }
  static inline int alive = 0;
};

// What an element should be: its own name, whom it has as parent, and its children in order.
struct Node {
  enum class Kind { integer, binary, list, map };
  enum class Parent { none, holder, partialCopy };

  bool isContainer() const { return kind == Kind::list || kind == Kind::map; }
  bool holds(const Node* other) const {
    return other == this || std::any_of(children.begin(), children.end(),
                                        [&](const auto& child) { return child->holds(other); });
  }
  // A binary element clones to itself, so the copy can take it in only while it has no parent.
  bool canBeCloned() const {
    return std::all_of(children.begin(), children.end(), [](const auto& child) {
      return (child->kind != Kind::binary || child->parent == Parent::none) && child->canBeCloned();
    });
  }

  Kind kind;
  Element* element;
  std::string name;
  Parent parent = Parent::none;
  std::vector<std::unique_ptr<Node>> children;
};

std::string expectedText(const Node& node) {
  constexpr const char* marks[] = {"", "^", "?"};
  std::string text = node.name + marks[static_cast<int>(node.parent)] + "(";
  for (const auto& child : node.children) text += expectedText(*child);
  return text + ")";
}

std::string actualText(Element& element, const Element* holder) {
  const Element* const parent = element.getParent();
  std::string text = element.getName() + (parent == nullptr ? "" : parent == holder ? "^" : "?") + "(";
  if (!element.instanceOf("TerminalElem")) {
    for (Element* const child : childrenOf(element, false)) text += actualText(*child, &element);
  }
  return text + ")";
}

// Gives the children that a clone shares with its original back to the original.
void dropShared(Element& copy, Node& original) {
  for (unsigned int index = copy.getNumChildren(); index-- > 0;) {
    Node& child = *original.children[index];
    if (childrenOf(copy, false)[index] == child.element) {
      copy.removeChild(index);
      child.name.clear();
    } else if (child.isContainer()) {
      dropShared(*childrenOf(copy, false)[index], child);
    }
  }
}

// Random operations on a handful of trees, each done to the elements and to the model of what they should be.
class Trees {
 public:
  explicit Trees(unsigned int seed) : engine_(seed) {}
  ~Trees() {
    for (const auto& root : roots_) delete root->element;
  }
  Trees(const Trees&) = delete;
  Trees& operator=(const Trees&) = delete;

  void step() {
    switch (below(8)) {
      case 0:
      case 1:
        return make();
      case 2:
      case 3:
        return hold();
      case 4:
        return replace();
      case 5:
        return remove();
      case 6:
        return clone();
      default:
        return below(4) == 0 ? empty() : destroy();
    }
  }

  void expectAsModelled() const {
    for (const auto& root : roots_) {
      EXPECT_EQ(actualText(*root->element, nullptr), expectedText(*root));
    }
  }

 private:
  std::size_t below(std::size_t count) { return engine_() % count; }

  void make() {
    static constexpr unsigned char bytes[] = {1, 2};
    const auto add = [&](Node::Kind kind, Element* element) {
      roots_.push_back(std::make_unique<Node>(Node{kind, element, "", Node::Parent::none, {}}));
    };
    switch (below(6)) {
      case 0:
        return add(Node::Kind::integer, new Counted<IntegerElem>(7));
      case 1:
      case 2:
        return add(Node::Kind::binary, new Counted<BinaryElem>(+bytes, 2U));
      case 3:
        return add(Node::Kind::map, new MapElem);
      case 4:
        return add(Node::Kind::map, new CompositeElem(nullptr));
      default:
        return add(Node::Kind::list, new ListElem);
    }
  }

  // Any container, at any depth, that `fits`; null where the one that chance picks does not.
  Node* container(const std::function<bool(const Node&)>& fits) {
    std::vector<Node*> all;
    const std::function<void(Node&)> collect = [&](Node& node) {
      if (node.isContainer() && fits(node)) all.push_back(&node);
      for (const auto& child : node.children) collect(*child);
    };
    for (const auto& root : roots_) collect(*root);
    return all.empty() ? nullptr : all[below(all.size())];
  }
  Node* fullContainer() {
    return container([](const Node& node) { return !node.children.empty(); });
  }

  std::unique_ptr<Node> takeRoot(std::size_t index) {
    std::unique_ptr<Node> root = std::move(roots_[index]);
    roots_.erase(roots_.begin() + static_cast<std::ptrdiff_t>(index));
    return root;
  }
  // A child that a container releases keeps its name if that container is not its parent.
  void becomesRoot(std::unique_ptr<Node> node) {
    if (node->parent == Node::Parent::holder) {
      node->name.clear();
      node->parent = Node::Parent::none;
    }
    roots_.push_back(std::move(node));
  }
  static void becomesHeld(Node& node, const std::string& name) {
    node.name = name;
    node.parent = Node::Parent::holder;
  }
  static void rename(Node& list, std::size_t from) {
    for (; from < list.children.size(); ++from) list.children[from]->name = std::to_string(from);
  }

  // A tree that is to go into another one. What a partial copy holds can go nowhere.
  std::optional<std::size_t> freeRoot() {
    if (roots_.empty()) return std::nullopt;
    const std::size_t index = below(roots_.size());
    return roots_[index]->parent == Node::Parent::none ? std::optional(index) : std::nullopt;
  }

  void hold() {
    const std::optional<std::size_t> index = freeRoot();
    if (!index) return;
    Node* const holder = container([&](const Node& node) { return !roots_[*index]->holds(&node); });
    if (holder == nullptr) return;
    std::unique_ptr<Node> child = takeRoot(*index);
    if (holder->kind == Node::Kind::map) return holdByName(*holder, std::move(child));
    auto& list = dynamic_cast<ListElem&>(*holder->element);
    if (below(2) == 0) {
      list.add(child->element);
      holder->children.push_back(std::move(child));
    } else {
      const std::size_t position = below(holder->children.size() + 1);
      list.addChild(static_cast<unsigned int>(position), child->element);
      becomesHeld(*child, std::to_string(position));
      holder->children.insert(holder->children.begin() + static_cast<std::ptrdiff_t>(position),
                              std::move(child));
      rename(*holder, position);
    }
  }

  void holdByName(Node& map, std::unique_ptr<Node> child) {
    const std::string name = std::to_string(below(6));
    Element* const previous = map.element->addChild(name, child->element);
    becomesHeld(*child, name);
    auto place = map.children.begin();
    while (place != map.children.end() && (*place)->name < name) ++place;
    if (previous == nullptr) {
      map.children.insert(place, std::move(child));
    } else {
      EXPECT_EQ(previous, (*place)->element);
      previous->removed(map.element);
      std::swap(*place, child);
      becomesRoot(std::move(child));
    }
  }

  void replace() {
    const std::optional<std::size_t> index = freeRoot();
    if (!index) return;
    Node* const holder =
        container([&](const Node& node) { return !node.children.empty() && !roots_[*index]->holds(&node); });
    if (holder == nullptr) return;
    std::unique_ptr<Node> child = takeRoot(*index);
    std::unique_ptr<Node>& place = holder->children[below(holder->children.size())];
    const std::string name = keyOf(*holder, place);
    EXPECT_EQ(holder->element->setChild(name, child->element), place->element);
    becomesHeld(*child, name);
    std::swap(place, child);
    becomesRoot(std::move(child));
  }

  void remove() {
    Node* const holder = fullContainer();
    if (holder == nullptr) return;
    const std::size_t index = below(holder->children.size());
    const std::string name = keyOf(*holder, holder->children[index]);
    std::unique_ptr<Node> child = std::move(holder->children[index]);
    EXPECT_EQ(holder->element->removeChild(name), child->element);
    holder->children.erase(holder->children.begin() + static_cast<std::ptrdiff_t>(index));
    becomesRoot(std::move(child));
    if (holder->kind == Node::Kind::list) rename(*holder, index);
  }

  // The model's names of a list's children need not be their positions.
  static std::string keyOf(const Node& holder, const std::unique_ptr<Node>& child) {
    return holder.kind == Node::Kind::map ? child->name : std::to_string(&child - holder.children.data());
  }

  void clone() {
    Node* const original = fullContainer();
    if (original == nullptr) return;
    if (!original->canBeCloned()) {
      EXPECT_EQ(failedClone(*original->element), "ObjectStoreException: Element already added");
      partialCopyTakes(*original);
      return;
    }
    const std::unique_ptr<Element> copy(original->element->clone());
    EXPECT_EQ(copy->getNumChildren(), original->children.size());
    dropShared(*copy, *original);
  }

  // Children are copied in order until one refuses, whose own children may have been copied before.
  // Whether all were.
  static bool partialCopyTakes(Node& container) {
    return std::all_of(container.children.begin(), container.children.end(), [&](auto& child) {
      if (child->kind != Node::Kind::binary) return partialCopyTakes(*child);
      if (child->parent != Node::Parent::none) return false;
      child->name = keyOf(container, child);
      child->parent = Node::Parent::partialCopy;
      return true;
    });
  }

  void empty() {
    Node* const holder = fullContainer();
    if (holder == nullptr) return;
    holder->element->removeChildren();
    for (auto& child : std::exchange(holder->children, {})) becomesRoot(std::move(child));
  }

  void destroy() {
    if (roots_.empty()) return;
    delete takeRoot(below(roots_.size()))->element;
  }

  std::mt19937 engine_;
  std::vector<std::unique_ptr<Node>> roots_;
};

TEST(RandomSequences, KeepTreesAsTheModelSaysAndDeleteEachLeafOnce) {
  for (unsigned int seed = 0; seed < 2000 && !testing::Test::HasFailure(); ++seed) {
    SCOPED_TRACE(seed);
    {
      Trees trees(seed);
      for (int step = 0; step < 40; ++step) {
        trees.step();
        trees.expectAsModelled();
      }
    }
    ASSERT_EQ(Counted<IntegerElem>::alive + Counted<BinaryElem>::alive, 0);
  }
}

}  // namespace
