#pragma once

#include <string>

#include "Element.h"

/// A leaf: refuses every child operation with NotSupportedException, whose message names the operation, its
/// arguments and the element.
class TerminalElem : public Element {
 public:
  /// "TerminalElem", for instanceOf().
  static const std::string _type;

  using Element::addChild;
  using Element::iterator;
  using Element::setChild;

  Element* getChildRaw(const std::string& childName) override;
  Element* getChildRaw(unsigned int index) override;
  Element* removeChild(const std::string& childName) override;
  Element* removeChild(unsigned int index) override;
  void removeChildren() override;
  unsigned int getNumChildren() override;

  /// @{
  /// The caller keeps the child.
  Element* addChild(const std::string& childName, Element* child) override;
  Element* addChild(unsigned int index, Element* child) override;
  Element* setChild(std::string childName, Element* child) override;
  Element* setChild(unsigned int index, Element* child) override;
  /// @}

  /// The only one of these exceptions with the default message.
  ElementIterator* iterator(bool chain) override;
  bool instanceOf(std::string typeName) override;

 private:
  [[noreturn]] void refuse(const std::string& operation);
};
