#include "BinaryElem.h"

#include <cstdlib>
#include <cstring>
#include <utility>

#include "ElementVisitor.h"
#include "Exceptions.h"

const std::string BinaryElem::_type = "BinaryElem";

BinaryElem::BinaryElem(const unsigned char* bytes, unsigned int count) : data(nullptr), length(0) {
  if (bytes == nullptr) return;
  // malloc, because an adopted block is allocated by malloc and both are freed the same way.
  data = static_cast<unsigned char*>(std::malloc(count));
  if (data == nullptr) return;
  std::memcpy(data, bytes, count);
  length = count;
}

BinaryElem::BinaryElem(unsigned char* bytes, unsigned int count, bool /*adopt*/)
    : data(bytes), length(bytes == nullptr ? 0 : count) {}

BinaryElem::~BinaryElem() {
  std::free(data);
}

unsigned char* BinaryElem::binaryValue() {
  return data;
}

unsigned int BinaryElem::binaryLength() {
  return length;
}

std::string BinaryElem::toString() {
  return "BinaryElem";
}

Element* BinaryElem::externalize(Element* /*context*/) {
  return new BinaryElem(data, length);
}

std::string BinaryElem::stringValue() {
  throw NotSupportedException();
}

int BinaryElem::intValue() {
  throw NotSupportedException();
}

bool BinaryElem::booleanValue() {
  throw NotSupportedException();
}

void BinaryElem::accept(ElementVisitor* visitor) {
  visitor->visitorAtBinaryElem(this);
}

bool BinaryElem::instanceOf(std::string typeName) {
  return typeName == _type || DataElem::instanceOf(std::move(typeName));
}
