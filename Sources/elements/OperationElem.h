#pragma once

#include <string>

#include "TerminalElem.h"

/// A native function that runs when the element is evaluated: a method of an object. Has no value of its own
/// and cannot be externalized (NotSupportedException). It has no class name either: instanceOf answers for
/// TerminalElem.
class OperationElem : public TerminalElem {
 public:
  /// Gets the context and the arguments (which may be null) of eval, not the operation.
  using Function = Element* (*)(Element* context, ListElem* args);

  /// @{
  /// Without a function: evaluation throws ObjectStoreException("Null function Pointer"). The list is
  /// ignored.
  OperationElem() = default;
  explicit OperationElem(ListElem* args);
  /// @}
  /// Null is no function.
  explicit OperationElem(Function function);

  /// What the function returns. Whose that is the function and its caller settle.
  Element* eval(Element* context, ListElem* args) override;
  /// @{
  /// Throws NotSupportedException.
  std::string stringValue() override;
  int intValue() override;
  bool booleanValue() override;
  Element* externalize(Element* context) override;
  /// @}

 protected:
  /// What eval() runs; null until it is given.
  Function function = nullptr;
};
