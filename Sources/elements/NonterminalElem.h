#pragma once

#include <string>

#include "Element.h"

/// A container: refuses the scalar values with NotSupportedException, whose message names the value and the
/// element. The concrete class stores the children.
class NonterminalElem : public Element {
 public:
  /// "NonterminalElem", for instanceOf().
  static const std::string _type;

  using Element::clone;

  std::string stringValue() override;
  int intValue() override;
  bool booleanValue() override;
  /// Only detaches the target and returns it: the concrete class copies the children.
  Element* clone(Element* target) override;
  bool instanceOf(std::string typeName) override;
};
