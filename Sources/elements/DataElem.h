#pragma once

#include <string>

#include "TerminalElem.h"

/// A leaf that holds a value, fixed at construction. Evaluates to itself.
class DataElem : public TerminalElem {
 public:
  /// "DataElem", for instanceOf().
  static const std::string _type;

  Element* eval(Element* context, ListElem* args) override;
  /// The element itself, no copy; every concrete class overrides it.
  Element* externalize(Element* context) override;
  bool instanceOf(std::string typeName) override;
};
