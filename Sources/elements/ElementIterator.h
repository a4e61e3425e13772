#pragma once

#include <concepts>
#include <cstddef>
#include <memory>
#include <new>
#include <string>

class Element;
class ListElem;

/// Walks the children of one element. Allocated with `new` by Element::iterator(); the caller of that
/// deletes it through this interface, best by holding it in a std::unique_ptr (a bare delete causes
/// -Wdelete-non-virtual-dtor, which ignores the operator below). Changing the container during the walk
/// is not supported. Every operation but hasNext() throws NoSuchElementException past the end. One thread
/// at a time.
///
/// There is no virtual destructor: the virtual table holds the five operations and nothing else. The
/// destroying operator delete makes deletion through the interface well defined nevertheless. It runs no
/// destructor, except that it releases what a chained iterator of this library owns: other implementations
/// must own nothing.
class ElementIterator {
 public:
  /// Whether another child remains. A chained walk continues into the enclosure here.
  virtual bool hasNext() = 0;
  /// Returns the next child as its container holds it, not evaluated, and advances.
  virtual Element* next() = 0;
  /// Returns the next child evaluated with these arguments, which may be null, and advances. Throws what
  /// the evaluation throws.
  virtual Element* next(ListElem* args) = 0;

  /// @{
  /// Name and position of the child that next() would return, without advancing.
  virtual std::string nextName() = 0;
  virtual unsigned int nextIndex() = 0;
  /// @}

  /// Uses the library's allocator, whichever unit creates the iterator.
  static void* operator new(std::size_t size);
  /// Deletes any iterator through this interface.
  static void operator delete(ElementIterator* iterator, std::destroying_delete_t);
  /// Used only if a constructor throws.
  static void operator delete(void* memory);

  ElementIterator(const ElementIterator&) = delete;
  ElementIterator& operator=(const ElementIterator&) = delete;

 protected:
  ElementIterator() = default;
};

/// @cond
// Releases without a delete-expression, so that no compiler warns at each use of
// std::unique_ptr<ElementIterator>.
template <>
struct std::default_delete<ElementIterator> {
  default_delete() = default;
  template <std::derived_from<ElementIterator> Iterator>
  default_delete(const std::default_delete<Iterator>& /*other*/) noexcept {}

  void operator()(ElementIterator* iterator) const {
    ElementIterator::operator delete(iterator, std::destroying_delete);
  }
};
/// @endcond
