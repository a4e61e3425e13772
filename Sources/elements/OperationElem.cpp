#include "OperationElem.h"

#include "Exceptions.h"

OperationElem::OperationElem(ListElem* /*args*/) {}

OperationElem::OperationElem(Function native) : function(native) {}

Element* OperationElem::eval(Element* context, ListElem* args) {
  if (function == nullptr) throw ObjectStoreException("Null function Pointer");
  return function(context, args);
}

std::string OperationElem::stringValue() {
  throw NotSupportedException("stringValue() not supported!");
}

int OperationElem::intValue() {
  throw NotSupportedException("intValue() not supported!");
}

bool OperationElem::booleanValue() {
  throw NotSupportedException("booleanValue() not supported!");
}

Element* OperationElem::externalize(Element* /*context*/) {
  throw NotSupportedException("externalize not supported!");
}
