#include "ElementVisitor.h"

#include "Exceptions.h"

void ObjectStoreException::accept(ElementVisitor* visitor) {
  visitor->visitorAtObjectStoreException(this);
}
