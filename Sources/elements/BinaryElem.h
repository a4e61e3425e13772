#pragma once

#include <string>

#include "DataElem.h"

/// A run of bytes in a block of malloc, which the element owns and frees. Has no scalar value
/// (NotSupportedException) and no clone() of its own: a container that holds one cannot be cloned.
class BinaryElem : public DataElem {
 public:
  /// "BinaryElem", for instanceOf().
  static const std::string _type;

  /// Copies. Null data, or a failed allocation, gives a null buffer of length 0.
  BinaryElem(const unsigned char* data, unsigned int length);
  /// Adopts a block of malloc; null data gives length 0. The last argument only tells the two forms apart.
  BinaryElem(unsigned char* data, unsigned int length, bool adopt);
  /// Frees the block.
  ~BinaryElem() override;

  /// @{
  /// Throws NotSupportedException.
  std::string stringValue() override;
  int intValue() override;
  bool booleanValue() override;
  /// @}

  /// Stays the element's; null when there are no bytes.
  unsigned char* binaryValue() override;
  /// In bytes.
  unsigned int binaryLength() override;
  /// "BinaryElem".
  std::string toString() override;
  /// A new element with its own copy of the bytes.
  Element* externalize(Element* context) override;
  void accept(ElementVisitor* visitor) override;
  bool instanceOf(std::string typeName) override;

 private:
  unsigned char* data;
  unsigned int length;
};
