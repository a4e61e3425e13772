#pragma once

#include <memory>
#include <string>

#include "MapElem.h"

/// A map with an enclosure: another element, in which names are looked up that the map itself does not hold,
/// as with an object and its class. Assignments to a member x go through the setter "_set_x", if one is
/// found, which may refuse them. Counting, removal and deletion apply to its own entries only; the enclosure
/// is neither owned nor copied. A chain of enclosures must not be circular: a look-up would never end.
class CompositeElem : public MapElem {
 public:
  /// Walks the map's own entries, then the children of the enclosure. Only hasNext() continues into the
  /// enclosure: call it before each step.
  class ElementIteratorImpl final : public ElementIterator {
   public:
    /// Positioned before the first own entry. The owner and its enclosure must outlive the walk.
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
  /// Null if there is none.
  Element* getEnclosure();
  /// Two blanks and the full name of the enclosure, or nothing, between "<" and ">".
  std::string toString() override;

  /// The own entry, else what the enclosure finds. Any failure of the enclosure's look-up is thrown as
  /// NoSuchElementException with its message.
  Element* getChildRaw(const std::string& childName) override;
  /// With `chain`, the enclosure's children follow: a name held at several levels is returned once for each.
  ElementIterator* iterator(bool chain) override;
  /// @{
  /// As in a map, unless a setter refuses: then nothing is stored, null is returned and the caller keeps the
  /// child. Exceptions of the setter pass through.
  Element* addChild(const std::string& childName, Element* child) override;
  Element* setChild(std::string childName, Element* child) override;
  /// @}

  /// The copy has the same enclosure. Its children are added through addChild(), setters included; otherwise
  /// as in a map.
  Element* clone() override;
  Element* clone(Element* target) override;
  /// Calls visitorAtCompositeElem().
  void accept(ElementVisitor* visitor) override;
  bool instanceOf(std::string typeName) override;

 private:
  bool setterAccepts(const std::string& childName, Element* child);

  Element* enclosure;
};
