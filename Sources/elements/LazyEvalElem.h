#pragma once

#include "OperationElem.h"

/// An operation whose value is computed when the tree is externalized. A derived class sets `function`.
class LazyEvalElem : public OperationElem {
 public:
  /// @{
  /// Without a function, which a derived class sets. The list is ignored.
  LazyEvalElem() = default;
  explicit LazyEvalElem(ListElem* args);
  /// @}

  /// The result of the function for `context`, externalized in the same context.
  Element* externalize(Element* context) override;
};
