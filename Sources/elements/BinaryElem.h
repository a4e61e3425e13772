#pragma once

#include <string>

#include "DataElem.h"

/// Bytes in a block allocated by malloc, which the element owns and frees. It does not override clone(),
/// which returns the element itself, so a container that is its parent cannot be cloned.
class BinaryElem : public DataElem {
 public:
  /// "BinaryElem", for instanceOf().
  static const std::string _type;

  /// Copies the bytes. Null data, or a failed allocation, gives a null buffer of length 0.
  BinaryElem(const unsigned char* data, unsigned int length);
  /// Adopts a block allocated by malloc; null data gives length 0. The flag only selects this overload.
  BinaryElem(unsigned char* data, unsigned int length, bool adopt);
  /// Frees the block.
  ~BinaryElem() override;

  /// The element's own block; null when there are no bytes.
  unsigned char* binaryValue() override;
  /// In bytes.
  unsigned int binaryLength() override;
  /// "BinaryElem".
  std::string toString() override;
  /// A new element with its own copy of the bytes.
  Element* externalize(Element* context) override;

  /// @{
  /// Throws NotSupportedException.
  std::string stringValue() override;
  int intValue() override;
  bool booleanValue() override;
  /// @}

  /// Calls visitorAtBinaryElem().
  void accept(ElementVisitor* visitor) override;
  bool instanceOf(std::string typeName) override;

 private:
  unsigned char* data;
  unsigned int length;
};
