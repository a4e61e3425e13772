#pragma once

#include <cstdint>
#include <map>
#include <string>

#include "ElementIterator.h"
#include "NonterminalElem.h"

/// Children by position 0..n-1, each named by its position in decimal. Owns its children and deletes those
/// that it still holds when it is destroyed. A position that holds no child throws NoSuchElementException
/// with the index in decimal as its message.
class ListElem : public NonterminalElem {
 public:
  /// Walks the positions in order. Past the end every operation but hasNext() throws
  /// NoSuchElementException("OutofRange").
  class ListIterator final : public ElementIterator {
   public:
    /// Positioned before the first child. The list must outlive the walk.
    explicit ListIterator(ListElem* list);
    bool hasNext() override;
    unsigned int nextIndex() override;
    /// The position in decimal, which need not be the child's own name.
    std::string nextName() override;
    Element* next() override;
    /// Does not advance if the evaluation throws.
    Element* next(ListElem* args) override;

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
  /// Deletes the children, in order.
  ~ListElem() override;

  /// @{
  /// Append and return the list, which owns the element, or the one created from the value. The element gets
  /// neither name nor parent: it may be held elsewhere as well, and both would then delete it.
  ListElem* add(Element* element);
  ListElem* add(std::string text);
  ListElem* add(char* text);
  /// The same. Without this overload, a literal would select `bool`.
  ListElem* add(const char* text);
  ListElem* add(int value);
  ListElem* add(bool value);
  /// @}

  Element* getChildRaw(unsigned int index) override;
  /// Inserts at 0..n, renames the children that move up and returns null. Throws
  /// IndexOutOfBoundsException past n.
  Element* addChild(unsigned int index, Element* child) override;
  /// Returns the child that it replaces, detached. A new child that has a parent is nevertheless stored
  /// before ObjectStoreException("Element already added") is thrown; the replaced one is then lost.
  Element* setChild(unsigned int index, Element* child) override;
  /// Renames the children that move down.
  Element* removeChild(unsigned int index) override;

  /// @{
  /// Convert the name to a number (decimal; 0 if it is not a number) and call the form above.
  Element* getChildRaw(const std::string& childName) override;
  Element* addChild(const std::string& childName, Element* child) override;
  Element* setChild(std::string childName, Element* child) override;
  Element* removeChild(const std::string& childName) override;
  /// @}

  void removeChildren() override;
  unsigned int getNumChildren() override;
  /// A ListIterator, whatever the flag.
  ElementIterator* iterator(bool chain) override;

  /// A list of clones. A child whose clone() is the child itself (binary, alias, operation) is shared if it
  /// has no parent: the copy becomes its parent. If it has one, ObjectStoreException("Element already
  /// added") is thrown; the copy stays allocated with the children that it shares, and this list still holds
  /// all of its own.
  Element* clone() override;
  /// Inserts clones of the children in front of those of the target and returns it; null for a target that is
  /// not a list, which is only detached. After a failure the target keeps what was inserted.
  Element* clone(Element* target) override;
  /// A list of the externalized children, evaluated in the context of this list.
  Element* externalize(Element* context) override;
  /// Calls visitorAtListElem().
  void accept(ElementVisitor* visitor) override;
  bool instanceOf(std::string typeName) override;

  /// `"<List"`, a blank and the description of each child, `">"`. The caller deletes the string.
  std::string* childrenToString();

 private:
  void _addChild(unsigned int index);
  void _removeChild(unsigned int index);
  void adjustChildNames(unsigned int from);

  std::map<std::int32_t, Element*> children;
};
