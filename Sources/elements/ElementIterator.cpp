#include "ElementIterator.h"

#include "CompositeElem.h"

void* ElementIterator::operator new(std::size_t size) {
  return ::operator new(size);
}

void ElementIterator::operator delete(ElementIterator* iterator, std::destroying_delete_t) {
  // The only implementation here that owns something: the iterator that it drains.
  if (auto* const chained = dynamic_cast<CompositeElem::ElementIteratorImpl*>(iterator)) {
    chained->~ElementIteratorImpl();
  }
  ::operator delete(static_cast<void*>(iterator));
}

void ElementIterator::operator delete(void* memory) {
  ::operator delete(memory);
}
