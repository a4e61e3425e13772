#pragma once

class BinaryElem;
class BooleanElem;
class CompositeElem;
class DoubleElem;
class IntegerElem;
class ListElem;
class MapElem;
class NullElem;
class ObjectStoreException;
class PersistentElem;
class StringElem;

/// Receives an element as its concrete class (double dispatch through Element::accept()). Borrows its
/// argument. Aliases, operations and lazily evaluated elements call nothing. No virtual destructor: a visitor
/// that is deleted through a base adds one after these operations, whose order is part of the binary
/// interface.
class ElementVisitor {
 public:
  /// Reserved: the class is declared only, and no element calls this.
  virtual void visitorAtPersistentElem(PersistentElem* element) = 0;

  /// @{
  /// Called by accept() of an object of exactly this class. The visitor does not keep the object. Its
  /// exceptions pass through accept().
  virtual void visitorAtCompositeElem(CompositeElem* element) = 0;
  virtual void visitorAtMapElem(MapElem* element) = 0;
  virtual void visitorAtListElem(ListElem* element) = 0;
  virtual void visitorAtIntegerElem(IntegerElem* element) = 0;
  virtual void visitorAtBooleanElem(BooleanElem* element) = 0;
  virtual void visitorAtDoubleElem(DoubleElem* element) = 0;
  virtual void visitorAtStringElem(StringElem* element) = 0;
  virtual void visitorAtBinaryElem(BinaryElem* element) = 0;
  virtual void visitorAtNullElem(NullElem* element) = 0;
  virtual void visitorAtObjectStoreException(ObjectStoreException* exception) = 0;
  /// @}

 protected:
  ~ElementVisitor() = default;
};
