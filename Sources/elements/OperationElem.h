#pragma once

#include <string>

#include "TerminalElem.h"

/// A native function that runs when the element is evaluated: a method of an object. Has no value itself and
/// cannot be externalized (NotSupportedException). It has no class name either: instanceOf() is inherited
/// from TerminalElem.
class OperationElem : public TerminalElem {
 public:
  /// Called with the context and the arguments (which may be null) of eval(), but not with the operation.
  using Function = Element* (*)(Element* context, ListElem* args);

  /// @{
  /// Without a function: evaluation throws ObjectStoreException("Null function Pointer"). The
  /// list is ignored.
  OperationElem() = default;
  explicit OperationElem(ListElem* args);
  /// @}
  /// Null means no function.
  explicit OperationElem(Function function);

  /// Runs the function and returns its result; who owns it is agreed between the function and the caller.
  Element* eval(Element* context, ListElem* args) override;
  /// @{
  /// Throws NotSupportedException.
  std::string stringValue() override;
  int intValue() override;
  bool booleanValue() override;
  Element* externalize(Element* context) override;
  /// @}

 protected:
  /// The function that eval() runs, or null.
  Function function = nullptr;
};
