#include "UnfinishedCopy.h"

#include <iterator>
#include <utility>

thread_local UnfinishedCopy* UnfinishedCopy::innermost = nullptr;

Element* UnfinishedCopy::filled(Element& original, Element* copy) {
  UnfinishedCopy unfinished;
  Element* const result = original.clone(copy);
  unfinished.finish();
  return result;
}

// The qualified calls reach an alias's own name and parent, which is what holding it changes.
Element* UnfinishedCopy::cloneOf(Element* child, Element* holder) {
  Element* const clone = child->clone();
  if (clone == child && child->Element::getParent() == nullptr && innermost != nullptr) {
    innermost->sharedChildren.push_back({child, holder, child->Element::getName()});
  }
  return clone;
}

UnfinishedCopy::UnfinishedCopy() : outer(std::exchange(innermost, this)) {}

UnfinishedCopy::~UnfinishedCopy() {
  innermost = outer;
  for (SharedChild& shared : sharedChildren) {
    // A setter may have refused the child, or put it into another container.
    if (shared.child->Element::getParent() != shared.holder) continue;
    shared.child->removed(shared.holder);
    shared.child->changeName(std::move(shared.name));
  }
}

// A copy inside another one is undone with that one.
void UnfinishedCopy::finish() {
  if (outer != nullptr) {
    outer->sharedChildren.insert(outer->sharedChildren.end(), std::make_move_iterator(sharedChildren.begin()),
                                 std::make_move_iterator(sharedChildren.end()));
  }
  sharedChildren.clear();
}
