#pragma once

#include <string>

#include "Element.h"

/// A container: refuses the scalar values with NotSupportedException, whose message names the value and the
/// element. How children are held is the concrete class's.
class NonterminalElem : public Element {
 public:
  /// "NonterminalElem", for instanceOf().
  static const std::string _type;

  using Element::clone;

  std::string stringValue() override;
  int intValue() override;
  bool booleanValue() override;
  Element* clone(Element* target) override;
  bool instanceOf(std::string typeName) override;
};
