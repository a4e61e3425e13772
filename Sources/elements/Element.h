#pragma once

#include <string>

class ElementIterator;
class ElementVisitor;
class ListElem;

/// A node of the trees that represent messages, parameter sets and stored objects: a name, a link to the
/// container that holds it, and one interface for leaves (TerminalElem), containers (NonterminalElem) and
/// aliases (AliasElem). Not copyable; clone() and externalize() make copies if a class supports them.
///
/// One thread at a time per tree, no locks; nothing blocks. A container owns the children it holds; a
/// detached element is owned by the code that has the pointer. Deleting a child that is still held leaves its
/// container with a dangling pointer: remove it first. Failures are reported as the exceptions of
/// Exceptions.h, thrown by value. Children and arguments are never null unless stated.
class Element {
 public:
  /// The name of the class, "Element", with which instanceOf() compares. Set by static initialisation.
  static const std::string _type;

  Element(const Element&) = delete;
  Element& operator=(const Element&) = delete;

  // The order of the virtual operations is part of the binary interface.

  /// Leaves the container that holds the element, if any, with a dangling pointer.
  virtual ~Element();

  /// The element that represents this one in `context`: itself, unless a class states otherwise. `args` may
  /// be null. Called by getChild() with the container as context.
  virtual Element* eval(Element* context, ListElem* args);

  /// @{
  /// The child as it is held, not evaluated; still the container's. Throws NoSuchElementException.
  virtual Element* getChildRaw(const std::string& name) = 0;
  virtual Element* getChildRaw(unsigned int index) = 0;
  /// @}

  /// A new iterator, which the caller deletes. `chain` makes a CompositeElem continue into its enclosure.
  virtual ElementIterator* iterator(bool chain) = 0;

  /// @{
  /// Takes ownership of the child. Returns null, unless a class states otherwise. Throws
  /// ObjectStoreException("Element already added") for a child that has a parent.
  virtual Element* addChild(const std::string& name, Element* child) = 0;
  virtual Element* addChild(unsigned int index, Element* child) = 0;
  /// @}

  /// @{
  /// Takes ownership of the child and returns the one that it replaces, which the caller then owns.
  virtual Element* setChild(std::string name, Element* child) = 0;
  virtual Element* setChild(unsigned int index, Element* child) = 0;
  /// @}

  /// @{
  /// Detaches the child and returns it; the caller then owns it. Throws NoSuchElementException.
  virtual Element* removeChild(const std::string& name) = 0;
  virtual Element* removeChild(unsigned int index) = 0;
  /// @}

  /// Detaches all children without deleting them: the caller must have pointers to them.
  virtual void removeChildren() = 0;
  /// How many children the element itself holds.
  virtual unsigned int getNumChildren() = 0;

  /// @{
  /// The scalar value in this form. Throws NotSupportedException if the class has none and
  /// ValueConversionException if the value cannot be converted to this form.
  virtual std::string stringValue() = 0;
  virtual int intValue() = 0;
  virtual bool booleanValue() = 0;
  /// @}

  /// @{
  /// An object, the bytes, and the number of bytes. Throw NotSupportedException unless the class has such a
  /// value; what they point to is still owned by the element.
  virtual void* objectValue();
  virtual unsigned char* binaryValue();
  virtual unsigned int binaryLength();
  /// @}

  /// The description that print() writes after the name; empty unless a class has one.
  virtual std::string toString();

  /// Called by the container that adds the element. Throws ObjectStoreException("Element already added") and
  /// changes nothing if the element has a parent.
  virtual void added(std::string name, Element* parent);
  /// Called by the container that removes the element. Ignored if `parent` is not the element's parent.
  virtual void removed(Element* parent);

  /// The name under which the container holds the element; empty while it is detached.
  virtual std::string getName();
  /// The container that holds the element, or null while it is detached.
  virtual Element* getParent();

  /// A detached copy, owned by the caller; classes that cannot be copied return the element itself.
  virtual Element* clone();
  /// Makes `target` the detached copy of this element and returns it.
  virtual Element* clone(Element* target);
  /// A detached and fully evaluated copy, owned by the caller.
  virtual Element* externalize(Element* context) = 0;

  /// Calls the visitor's operation for the concrete class, if it has one.
  virtual void accept(ElementVisitor* visitor);
  /// Whether typeName is the #_type of this class or of one of its bases.
  virtual bool instanceOf(std::string typeName);

  /// @{
  /// The child evaluated with this element as context. `args` may be null, as in the forms without it. Throws
  /// NoSuchElementException, and what the evaluation throws.
  Element* getChild(const std::string& name);
  Element* getChild(unsigned int index);
  Element* getChild(const std::string& name, ListElem* args);
  Element* getChild(unsigned int index, ListElem* args);
  /// @}

  /// iterator(true).
  ElementIterator* iterator();

  /// addChild(name, child).
  Element* addChild(Element* child, std::string name);
  /// addChild(index, child).
  Element* addChild(Element* child, unsigned int index);
  /// setChild(name, child).
  Element* setChild(Element* child, std::string name);
  /// setChild(index, child).
  Element* setChild(Element* child, unsigned int index);

  /// @{
  /// Whether getChildRaw() finds the child. False only for NoSuchElementException; any other exception of the
  /// look-up passes through.
  bool hasChild(unsigned int index);
  bool hasChild(const std::string& name);
  /// @}

  /// The names of all ancestors and of the element, joined by "."; for a detached element, its own name.
  std::string getFullName();
  /// Overwrites the name only: a container still holds the element under the old one.
  void changeName(std::string newName);

  /// @{
  /// Dumps the tree to standard output, at most 26 levels (or `levels` and one more), each indented by three
  /// blanks more. Ends with NotSupportedException at the first leaf above that limit, after the leaf's own
  /// line. The longer form dumps `element`, under `name`, instead of the element that it is called on.
  void print(std::string title);
  void print(std::string indent, std::string name, Element* element, int levels);
  /// @}

 protected:
  /// Detached, without a name.
  Element() = default;

 private:
  std::string name;
  Element* parent = nullptr;
};
