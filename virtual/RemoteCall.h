#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

#include "Element.h"

namespace virtualscanner {

// One remote call as the host sent it. Owns the parsed message; references to its parameters live as long as
// the call, until the next read(). Does not check whether there is such an object or method. One thread.
class RemoteCall {
 public:
  // Reads a message. Throws ObjectStoreException, with a text fit for an exception reply, unless it is the
  // call of a method with a list of parameters; requestId() is then still that of the message, if it has one.
  void read(std::string_view message);

  int requestId() const { return requestId_; }
  const std::string& object() const { return object_; }
  const std::string& method() const { return method_; }
  // Throws ObjectStoreException if there are fewer.
  Element& parameter(unsigned int index) const;
  unsigned int parameterCount() const;

 private:
  std::string text(const char* key) const;

  std::unique_ptr<Element> message_;
  int requestId_ = 0;
  std::string object_;
  std::string method_;
};

// The text of a reply. The result remains the caller's.
std::string writeResponse(int requestId, Element& result);
std::string writeException(int requestId, const std::string& reason);

}  // namespace virtualscanner
