#include "Exceptions.h"

#include <utility>

Exception::Exception() : message("General Exception") {}

Exception::Exception(std::string text) : message(std::move(text)) {}

std::string ObjectStoreException::getMessage() const {
  return message;
}

ClassCastException::ClassCastException(int code) : ObjectStoreException(std::to_string(code)) {}

NoSuchElementException::NoSuchElementException(int code) : ObjectStoreException(std::to_string(code)) {}
