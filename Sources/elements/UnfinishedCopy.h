#pragma once

#include <string>
#include <vector>

#include "Element.h"

// The copy that a container's clone() is filling, and the children that it shares with the original: those
// whose clone() is the child itself (binary, alias, operation) and which have no parent, because
// ListElem::add() appended them. The copy gives them its name and parent. If a later child refuses, they get
// back what they had, and the original is what it was before; without a failure they stay shared.
//
// Lives on the stack of clone(), one inside the other as the containers are. Any number of threads may clone,
// each its own trees.
class UnfinishedCopy {
 public:
  // Fills `copy`, which is taken over, by original.clone(copy) and returns the result. What that throws
  // passes through, and the copy stays allocated: it still holds the shared children and would delete them.
  static Element* filled(Element& original, Element* copy);

  // child->clone(), which the caller adds to `holder` at once.
  static Element* cloneOf(Element* child, Element* holder);

  UnfinishedCopy(const UnfinishedCopy&) = delete;
  UnfinishedCopy& operator=(const UnfinishedCopy&) = delete;

 private:
  struct SharedChild {
    Element* child;
    Element* holder;
    std::string name;
  };

  UnfinishedCopy();
  ~UnfinishedCopy();
  void finish();

  static thread_local UnfinishedCopy* innermost;

  UnfinishedCopy* outer;
  std::vector<SharedChild> sharedChildren;
};
