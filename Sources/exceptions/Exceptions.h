#pragma once

#include <string>

class ElementVisitor;

// What the element model, the object store and the string helpers throw, by value. An exception is exactly
// its message: no virtual function, no other field. Not related to std::exception, so `catch
// (std::exception&)` does not see it. Without an argument the message is "General Exception".
class Exception {
 public:
  Exception();
  explicit Exception(std::string message);

 protected:
  std::string message;
};

// The base of every failure of the element model; also the form in which a failed remote call travels in a
// reply.
class ObjectStoreException : public Exception {
 public:
  using Exception::Exception;
  std::string getMessage() const;
  // Calls visitorAtObjectStoreException with this object. Not virtual: an exception is no element. Defined in
  // the elements room, beside the visitor that it calls.
  void accept(ElementVisitor* visitor);
};

class ClassCastException : public ObjectStoreException {
 public:
  using ObjectStoreException::ObjectStoreException;
  // The message is the code in decimal.
  explicit ClassCastException(int code);
};

class NoSuchElementException : public ObjectStoreException {
 public:
  using ObjectStoreException::ObjectStoreException;
  // The message is the code in decimal.
  explicit NoSuchElementException(int code);
};

class NotSupportedException : public ObjectStoreException {
 public:
  using ObjectStoreException::ObjectStoreException;
};

class NumberFormatException : public ObjectStoreException {
 public:
  using ObjectStoreException::ObjectStoreException;
};

class ValueConversionException : public ObjectStoreException {
 public:
  using ObjectStoreException::ObjectStoreException;
};

class IndexOutOfBoundsException : public ObjectStoreException {
 public:
  using ObjectStoreException::ObjectStoreException;
};
