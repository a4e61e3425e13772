#pragma once

#include <memory>
#include <string>
#include <vector>

#include "Element.h"
#include "ElementIterator.h"

// The names that a walk with this flag returns, in order.
inline std::vector<std::string> namesOf(Element& container, bool chain = true) {
  std::vector<std::string> names;
  const std::unique_ptr<ElementIterator> walk(container.iterator(chain));
  while (walk->hasNext()) {
    names.push_back(walk->nextName());
    walk->next();
  }
  return names;
}

// The elements that a walk returns, in order.
inline std::vector<Element*> childrenOf(Element& container, bool chain = true) {
  std::vector<Element*> children;
  const std::unique_ptr<ElementIterator> walk(container.iterator(chain));
  while (walk->hasNext()) children.push_back(walk->next());
  return children;
}

// The names that the children themselves have.
inline std::vector<std::string> ownNamesOf(Element& container) {
  std::vector<std::string> names;
  for (Element* const child : childrenOf(container)) names.push_back(child->getName());
  return names;
}
