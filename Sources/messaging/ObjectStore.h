#pragma once

#include <string>

class Element;
class ListElem;
class MapElem;

/// The process-wide tree of named objects, their classes and their methods, and the operations that address
/// it by dotted paths. There is one, the global instance of the same name:
/// `ObjectStore.getElement("sys.class")`. Independent of messages and devices.
///
/// The root is named "root" and holds "globals" (objects and rules), "sys.class" (the classes) and, under
/// "root", an alias of itself, so that a full name such as "root.globals.scanner" is a path from the root. An
/// object is a CompositeElem whose enclosure is its class, a class a CompositeElem below "sys.class" whose
/// enclosure is its superclass, a method a child of a class that is run by eval with the object as context.
///
/// A path is names joined by "."; it is split at every ".", so that an empty path is one empty name. Each
/// element on the way but the last is evaluated, with its container as context and no arguments, before the
/// walk continues from the result: aliases and operations may be in the middle. Objects and rules are named
/// by paths; names of classes, methods and attributes are one segment. An argument list may be null and is
/// still owned by the caller; other pointers are never null unless stated.
///
/// Ownership: a container owns its children. A result that is in the tree is still owned by the tree; the
/// function of an operation element determines who owns its result.
///
/// Failures are reported as the exceptions of Exceptions.h: those of the element operations,
/// NoSuchElementException for a missing name and any exception of a running method pass through unchanged
/// unless stated. An evaluation that returns null has no children and no attributes: looking one up there
/// throws NoSuchElementException too.
///
/// No locks: callers that use the store from several threads serialise the calls. It can be used from the
/// construction of the first static object to the destruction of the last one, and is never destroyed.
class ObjectStore {
 public:
  /// Initialises the members and builds the tree, unless this has been done already: every instance is the
  /// same store.
  ObjectStore();
  ObjectStore(const ObjectStore&) = delete;
  ObjectStore& operator=(const ObjectStore&) = delete;

  /// @name The tree
  /// The maps of the tree, each allocated once, in this order. They must stay in place: replacing or removing
  /// one leaves the operations with a dangling pointer. No operation uses `_rules`, which is not in the tree,
  /// nor the two paths.
  /// @{

  /// Named "root"; holds the next three, `_class` below `_sys`.
  static MapElem* _root;
  /// "sys" in the root; holds the classes.
  static MapElem* _sys;
  /// "class" in `_sys`; holds the classes by name.
  static MapElem* _class;
  /// "globals" in the root; holds objects and rules.
  static MapElem* _globals;
  /// Empty; not in a container.
  static MapElem* _rules;
  /// "sys.class".
  static std::string _classLocation;
  /// "globals".
  static std::string _globalsLocation;
  /// @}

  /// The root, owned by the store.
  static Element* getRoot();

  /// @name Looking up
  /// The last element of the path from `base`, or from the root, as its container holds it: not evaluated,
  /// not detached.
  /// @{

  /// From `base`.
  static Element* getElement(Element* base, const std::string& path);
  /// From the root.
  static Element* getElement(const std::string& path);
  /// @}

  /// The last element of the path from `base`, evaluated with its container as context and these arguments;
  /// null if its function returns null.
  static Element* evalElement(Element* base, const std::string& path, ListElem* args);

  /// The element of this path below "globals", evaluated without arguments.
  static Element* getObject(const std::string& path);

  /// Evaluates the element of this path below "globals" with these arguments: any element there can
  /// be a rule.
  static Element* callRule(const std::string& ruleName, ListElem* args);

  /// @name Calling methods
  /// The result of the method, which is looked up in the object and, for a CompositeElem, up its enclosures,
  /// and is run with the object as context.
  /// @{

  /// Of this object.
  static Element* callMethod(Element* object, const std::string& method, ListElem* args);
  /// Of the object that getObject() returns for the path.
  static Element* callMethod(const std::string& objectPath, const std::string& method, ListElem* args);
  /// Named by its full path below "globals", and run with its container as context.
  static Element* callMethod(const std::string& path, ListElem* args);
  /// @}

  /// @name Calling inherited methods
  /// The same with a method that the superclass of the class holding `currentMethod` has, by default the one
  /// of the same name. Throws NoSuchElementException if there is no such method: the current one is in no
  /// class, the class has no superclass, or the look-up there fails in any way. What the running method
  /// throws passes through unchanged.
  /// @{

  /// Of any name.
  static Element* callSuperMethod(Element* currentMethod, Element* object, const std::string& method,
                                  ListElem* args);
  /// Of the name of the current method.
  static Element* callSuperMethod(Element* currentMethod, Element* object, ListElem* args);
  /// @}

  /// @name Making objects
  /// A new CompositeElem with the class as enclosure, after its method "instantiate" has run with these
  /// arguments. The caller owns it, unless that method has put it into a container. The result of the method
  /// is discarded, not deleted: it may be in the tree. If there is no such method or it throws, the new
  /// object is deleted, unless it is in a container by then.
  /// @{

  /// Of this class.
  static Element* instantiate(Element* cls, ListElem* args);
  /// Of the class of this name, which is one segment. Throws NoSuchElementException if there is none.
  static Element* instantiate(const std::string& className, ListElem* args);
  /// @}

  /// @name Classes of objects
  /// Whether a class is the object itself or one of its enclosures, their enclosures included. Compares
  /// identities. A circular chain is followed once.
  /// @{

  /// With this class.
  static bool instanceOf(Element* object, Element* cls);
  /// With the class of this name. Throws NoSuchElementException if there is none.
  static bool instanceOf(Element* object, const std::string& className);
  /// @}

  /// Moves the object to this class, which must be its present class or derived from it. Otherwise, for a
  /// missing class, a class or an object that is not a CompositeElem, an object without enclosure, or a class
  /// that would enclose itself, throws ClassCastException and changes nothing.
  static void changeClass(Element* object, std::string className);

  /// @name Reading attributes
  /// The child of the object, or of "globals", evaluated with the object as context and no arguments.
  /// @{

  /// Of this object.
  static Element* getAttribute(Element* object, const std::string& name);
  /// Of "globals".
  static Element* getAttribute(const std::string& name);
  /// Of the object that getObject() returns for the path.
  static Element* getAttribute(const std::string& objectPath, const std::string& name);
  /// @}

  /// @name Writing attributes
  /// Adds the value to the object, or to "globals", under this name; the object owns it from then on. The
  /// element that held the name before is deleted: callers must not keep a pointer to it. If a setter of the
  /// object refuses the value, it is not stored, nothing is deleted, and the caller keeps the value. A value
  /// that is in a container already, even under this very name, throws ObjectStoreException("Element already
  /// added"), and nothing changes.
  /// @{

  /// Of this object.
  static void setAttribute(Element* object, const std::string& name, Element* value);
  /// Of "globals".
  static void setAttribute(const std::string& name, Element* value);
  /// Of the object that getObject() returns for the path.
  static void setAttribute(const std::string& objectPath, const std::string& name, Element* value);
  /// @}

  /// The last element of the path from `base`, evaluated like those before it. Despite its name it creates
  /// nothing: a missing name throws NoSuchElementException.
  static Element* createElement(Element* base, const std::string& path);

  /// The path of the object below "globals". Throws NotSupportedException for any other element.
  static std::string getName(Element* element);

  /// @name Printing
  /// Dumps the tree below an element to standard output: for each element a line of the prefix, a blank, the
  /// name, " : ", toString() and CR LF, with the prefix of children longer by three blanks. Aliases are not
  /// descended into, and enclosures are not printed. Ends with NotSupportedException at the first leaf above
  /// the last level, after the leaf's own line.
  /// @{

  /// The whole tree, 25 levels below the root.
  static void print(std::string prefix);
  /// 25 levels below the element, which is printed under this name.
  static void print(std::string prefix, std::string name, Element* element);
  /// `depth` levels below the element; none for 0 and below.
  static void print(std::string prefix, std::string name, Element* element, int depth);
  /// @}

  /// Initialises the store for a unit that includes this header, before the static objects of that unit.
  class SetUp {
   public:
    /// Constructs the global instance, unless this has been done already.
    SetUp();
  };
};

/// The one object store of the process.
extern class ObjectStore ObjectStore;

/// Initialises the store before the static objects of the unit that includes this.
static const ObjectStore::SetUp objectStoreSetUp;
