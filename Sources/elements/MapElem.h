#pragma once

#include <map>
#include <string>

#include "ElementIterator.h"
#include "NonterminalElem.h"

/// Children by name, in byte-wise order of the names. Owns them; deletes what it still holds when it goes.
/// Copies as deep as the children's own clone(). A name that begins with "_" is private: externalize leaves
/// it out.
class MapElem : public NonterminalElem {
 public:
  /// Walks the entries in order of their names. Looks each child up by its name, so that an override applies.
  class ElementIteratorImpl final : public ElementIterator {
   public:
    /// Before the first entry. The map must outlive the walk.
    explicit ElementIteratorImpl(MapElem* map);
    bool hasNext() override;
    Element* next() override;
    Element* next(ListElem* args) override;
    std::string nextName() override;
    /// The name read by StringToi, whose ValueConversionException comes out.
    unsigned int nextIndex() override;

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
  /// Deletes the children.
  ~MapElem() override;

  Element* getChildRaw(const std::string& childName) override;
  /// The index forms, this one and those below, write the index in decimal and call the name form.
  Element* getChildRaw(unsigned int index) override;
  ElementIterator* iterator(bool chain) override;
  /// Returns the element that held the name before, or null. That one is neither detached nor deleted: it
  /// keeps its name and its link to this map and is the caller's from then on.
  Element* addChild(const std::string& childName, Element* child) override;
  Element* addChild(unsigned int index, Element* child) override;
  /// The name must be there: else NoSuchElementException. A child that has a parent already is stored all the
  /// same before "Element already added" comes out.
  Element* setChild(std::string childName, Element* child) override;
  Element* setChild(unsigned int index, Element* child) override;
  Element* removeChild(const std::string& childName) override;
  Element* removeChild(unsigned int index) override;
  void removeChildren() override;
  unsigned int getNumChildren() override;
  Element* clone() override;
  /// Adds clones of the children to the target if it is a map; returns the target.
  Element* clone(Element* target) override;
  Element* externalize(Element* context) override;
  void accept(ElementVisitor* visitor) override;
  bool instanceOf(std::string typeName) override;

  /// `"<Map"`, "(name description)" for each entry, `">"`. The caller deletes the string.
  std::string* childrenToString();

 private:
  std::map<std::string, Element*> children;
};
