#pragma once

#include <string>

class ElementVisitor;

/// What the element model, the object store and the string helpers throw, by value. An exception is exactly
/// its message: no virtual function, no other field. Not related to std::exception, so `catch
/// (std::exception&)` does not see it. The default message is "General Exception".
class Exception {
 public:
  /// The message is "General Exception".
  Exception();
  /// Any text; stored unchanged.
  explicit Exception(std::string message);

 protected:
  /// What went wrong. The texts are part of the contract of each operation.
  std::string message;
};

/// The base of every exception of the element model; also how a reply reports a failed remote call.
class ObjectStoreException : public Exception {
 public:
  using Exception::Exception;
  /// A copy of the message.
  std::string getMessage() const;
  /// Calls visitorAtObjectStoreException with this object. Not virtual: an exception is not an element.
  /// Defined in the elements room, beside the visitor that it calls.
  void accept(ElementVisitor* visitor);
};

/// An object or element is not of the class that an operation of the object store requires.
class ClassCastException : public ObjectStoreException {
 public:
  using ObjectStoreException::ObjectStoreException;
  /// The message is the code in decimal.
  explicit ClassCastException(int code);
};

/// A name or position that a container does not hold, or a step past the end of a walk.
class NoSuchElementException : public ObjectStoreException {
 public:
  using ObjectStoreException::ObjectStoreException;
  /// The message is the code in decimal.
  explicit NoSuchElementException(int code);
};

/// An operation that a class of elements refuses: children of a leaf, the value of a container.
class NotSupportedException : public ObjectStoreException {
 public:
  using ObjectStoreException::ObjectStoreException;
};

/// Reserved for text that is not a number: nothing in the library throws it (see ValueConversionException).
class NumberFormatException : public ObjectStoreException {
 public:
  using ObjectStoreException::ObjectStoreException;
};

/// A value that cannot be converted to the requested type, such as text to an integer.
class ValueConversionException : public ObjectStoreException {
 public:
  using ObjectStoreException::ObjectStoreException;
};

/// A position past the end of a list, on insertion.
class IndexOutOfBoundsException : public ObjectStoreException {
 public:
  using ObjectStoreException::ObjectStoreException;
};
