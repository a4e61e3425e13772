#pragma once

#include <map>
#include <string>

#include "ElementIterator.h"
#include "NonterminalElem.h"

/// Children by name, in byte-wise order of the names. Owns its children and deletes those that it still
/// holds when it is destroyed. A name that begins with "_" is private: externalize() leaves it out. A
/// missing name throws NoSuchElementException.
class MapElem : public NonterminalElem {
 public:
  /// Walks the entries in order of their names. Looks each child up by its name, so that an override of
  /// getChildRaw() applies. Past the end every operation but hasNext() throws NoSuchElementException.
  class ElementIteratorImpl final : public ElementIterator {
   public:
    /// Positioned before the first entry. The map must outlive the walk.
    explicit ElementIteratorImpl(MapElem* map);
    bool hasNext() override;
    std::string nextName() override;
    /// The name converted by StringToi(), which throws ValueConversionException if it is not a number.
    unsigned int nextIndex() override;
    Element* next() override;
    /// Does not advance if the evaluation throws.
    Element* next(ListElem* args) override;

   private:
    MapElem* map;
    std::map<std::string, Element*>::const_iterator position;
  };

  /// "MapElem", for instanceOf().
  static const std::string _type;

  using NonterminalElem::addChild;
  using NonterminalElem::iterator;
  using NonterminalElem::setChild;

  /// An empty map.
  MapElem() = default;
  /// Deletes the children, in order of their names.
  ~MapElem() override;

  Element* getChildRaw(const std::string& childName) override;
  /// Returns the element that held the name before, or null. It is neither detached nor deleted: it keeps its
  /// name and its link to this map, and the caller owns it from then on.
  Element* addChild(const std::string& childName, Element* child) override;
  /// Returns the child that it replaces, detached. A new child that has a parent is nevertheless stored
  /// before ObjectStoreException("Element already added") is thrown.
  Element* setChild(std::string childName, Element* child) override;
  Element* removeChild(const std::string& childName) override;

  /// @{
  /// Write the index in decimal and call the form above, overrides included.
  Element* getChildRaw(unsigned int index) override;
  Element* addChild(unsigned int index, Element* child) override;
  Element* setChild(unsigned int index, Element* child) override;
  Element* removeChild(unsigned int index) override;
  /// @}

  /// An ElementIteratorImpl, whatever the flag.
  ElementIterator* iterator(bool chain) override;
  unsigned int getNumChildren() override;
  void removeChildren() override;

  /// Calls visitorAtMapElem().
  void accept(ElementVisitor* visitor) override;
  bool instanceOf(std::string typeName) override;
  /// A map of clones. A child whose clone() is the child itself (binary, alias, operation) has a parent
  /// already: ObjectStoreException("Element already added") is thrown; the copy stays allocated, and this map
  /// still holds all of its children.
  Element* clone() override;
  /// Adds clones of the children to the target if it is a map, and returns the target, detached. After a
  /// failure the target keeps what was added.
  Element* clone(Element* target) override;
  /// A map of the externalized children, evaluated in the context of this map, without the private names.
  Element* externalize(Element* context) override;

  /// `"<Map"`, "(name description)" for each entry, `">"`. The caller deletes the string.
  std::string* childrenToString();

 private:
  std::map<std::string, Element*> children;
};
