#pragma once

#include <string>

#include "TerminalElem.h"

/// A leaf that holds a value, fixed at construction. Evaluates to itself.
class DataElem : public TerminalElem {
 public:
  /// "DataElem", for instanceOf().
  static const std::string _type;

  /// Returns the element itself.
  Element* eval(Element* context, ListElem* args) override;
  /// Returns the element itself, not a copy: every concrete class overrides this.
  Element* externalize(Element* context) override;
  bool instanceOf(std::string typeName) override;
};
