#pragma once

#include <memory>
#include <string>

#include "MapElem.h"

/// A map with an enclosure, another element in which names are looked up that the map itself does not hold:
/// an object and its class. Assignments to a member x go through the setter "_set_x", if one is found, which
/// may refuse them. Counting, removal and deletion see the own entries only; the enclosure is neither owned
/// nor copied. A chain of enclosures must not lead back to its beginning.
class CompositeElem : public MapElem {
 public:
  /// Walks the own entries, then the children of the enclosure. hasNext is what moves on into the enclosure.
  class ElementIteratorImpl final : public ElementIterator {
   public:
    /// Before the first own entry. The owner and its enclosure must outlive the walk.
    explicit ElementIteratorImpl(CompositeElem* owner);
    bool hasNext() override;
    Element* next() override;
    Element* next(ListElem* args) override;
    std::string nextName() override;
    unsigned int nextIndex() override;

   private:
    bool nextIterator();

    std::unique_ptr<ElementIterator> current;
    Element* enclosure;
  };

  /// "CompositeElem", for instanceOf().
  static const std::string _type;

  using MapElem::addChild;
  using MapElem::clone;
  using MapElem::getChildRaw;
  using MapElem::iterator;
  using MapElem::setChild;

  /// An empty composite. The enclosure may be null.
  explicit CompositeElem(Element* enclosure);

  /// Returns the previous enclosure, which may be null.
  Element* setEnclosure(Element* newEnclosure);
  /// Null where there is none.
  Element* getEnclosure();

  /// The own entry, else what the enclosure finds; NoSuchElementException with the last failure's message.
  Element* getChildRaw(const std::string& childName) override;
  /// With `chain` the enclosure's children follow: a name held at several levels comes once for each.
  ElementIterator* iterator(bool chain) override;
  /// @{
  /// Like the map's, unless a setter refuses: then nothing is stored, null comes back and the child stays the
  /// caller's. What the setter throws comes out.
  Element* addChild(const std::string& childName, Element* child) override;
  Element* setChild(std::string childName, Element* child) override;
  /// @}
  /// Two blanks and the full name of the enclosure, or nothing, between "<" and ">".
  std::string toString() override;
  /// The copy shares the enclosure. The children are copied through addChild, setters included.
  Element* clone() override;
  Element* clone(Element* target) override;
  void accept(ElementVisitor* visitor) override;
  bool instanceOf(std::string typeName) override;

 private:
  bool setterAccepts(const std::string& childName, Element* child);

  Element* enclosure;
};
