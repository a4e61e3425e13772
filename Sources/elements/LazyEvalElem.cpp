#include "LazyEvalElem.h"

LazyEvalElem::LazyEvalElem(ListElem* args) : OperationElem(args) {}

Element* LazyEvalElem::externalize(Element* context) {
  return eval(context, nullptr)->externalize(context);
}
