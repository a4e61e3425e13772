#pragma once

#include <cstdint>
#include <map>
#include <string>

#include "ElementIterator.h"
#include "NonterminalElem.h"

/// Children by position 0..n-1, each named by its position in decimal. Owns them; deletes what it still holds
/// when it goes. Copies as deep as the children's own clone().
class ListElem : public NonterminalElem {
 public:
  /// Walks the positions in order.
  class ListIterator final : public ElementIterator {
   public:
    /// Before the first child. The list must outlive the walk.
    explicit ListIterator(ListElem* list);
    bool hasNext() override;
    Element* next() override;
    Element* next(ListElem* args) override;
    std::string nextName() override;
    unsigned int nextIndex() override;

   private:
    ListElem* list;
    unsigned int index = 0;
  };

  /// "ListElem", for instanceOf().
  static const std::string _type;

  using NonterminalElem::addChild;
  using NonterminalElem::iterator;
  using NonterminalElem::setChild;

  /// An empty list.
  ListElem() = default;
  /// Deletes the children.
  ~ListElem() override;

  /// The name forms, this one and those below, read the name as a decimal number: text that is none means
  /// position 0.
  Element* getChildRaw(const std::string& childName) override;
  /// Out of range: NoSuchElementException with the index in decimal, here and in setChild and removeChild.
  Element* getChildRaw(unsigned int index) override;
  ElementIterator* iterator(bool chain) override;
  Element* addChild(const std::string& childName, Element* child) override;
  /// Inserts at 0..n and renames what moves up; returns null. Past n: IndexOutOfBoundsException.
  Element* addChild(unsigned int index, Element* child) override;
  Element* setChild(std::string childName, Element* child) override;
  /// A child that has a parent already is stored all the same before "Element already added" comes out, and
  /// the one that it replaced is then the caller's to find.
  Element* setChild(unsigned int index, Element* child) override;
  Element* removeChild(const std::string& childName) override;
  /// Renames what moves down.
  Element* removeChild(unsigned int index) override;
  void removeChildren() override;
  unsigned int getNumChildren() override;
  Element* clone() override;
  /// Adds clones of the children to the target list; null when the target is no list.
  Element* clone(Element* target) override;
  Element* externalize(Element* context) override;
  void accept(ElementVisitor* visitor) override;
  bool instanceOf(std::string typeName) override;

  /// @{
  /// Append and return the list, which owns the element, or the new one made of the value. The element gets
  /// neither name nor parent: it may be held elsewhere as well, and both would then delete it.
  ListElem* add(Element* element);
  ListElem* add(std::string text);
  ListElem* add(char* text);
  /// The same. Without this overload a literal would choose `bool`.
  ListElem* add(const char* text);
  ListElem* add(int value);
  ListElem* add(bool value);
  /// @}

  /// `"<List"`, a blank and the description of each child, `">"`. The caller deletes the string.
  std::string* childrenToString();

 private:
  void _addChild(unsigned int index);
  void _removeChild(unsigned int index);
  void adjustChildNames(unsigned int from);

  std::map<std::int32_t, Element*> children;
};
