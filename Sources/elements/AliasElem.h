#pragma once

#include <string>

#include "Element.h"

/// Stands in for another element, which it does not own and which must outlive it. Forwards everything except
/// attachment (added, removed), binary values, clone and accept, which apply to the alias itself: its full
/// name is the target's, and a visitor skips it. Throws what the target throws.
class AliasElem : public Element {
 public:
  using Element::addChild;
  using Element::iterator;
  using Element::setChild;

  /// The target must not be null.
  explicit AliasElem(Element* target);

  Element* eval(Element* context, ListElem* args) override;
  Element* getChildRaw(const std::string& childName) override;
  Element* getChildRaw(unsigned int index) override;
  /// Always the target's chained iterator, whatever the flag.
  ElementIterator* iterator(bool chain) override;
  Element* addChild(const std::string& childName, Element* child) override;
  Element* addChild(unsigned int index, Element* child) override;
  Element* setChild(std::string childName, Element* child) override;
  Element* setChild(unsigned int index, Element* child) override;
  Element* removeChild(const std::string& childName) override;
  Element* removeChild(unsigned int index) override;
  void removeChildren() override;
  unsigned int getNumChildren() override;
  std::string stringValue() override;
  int intValue() override;
  bool booleanValue() override;
  void* objectValue() override;
  /// ": " and the target's full name.
  std::string toString() override;
  std::string getName() override;
  Element* getParent() override;
  Element* externalize(Element* context) override;
  bool instanceOf(std::string typeName) override;

 private:
  Element* target;
};
