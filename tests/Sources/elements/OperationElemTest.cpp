#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "IntegerElem.h"
#include "LazyEvalElem.h"
#include "ListElem.h"
#include "MapElem.h"
#include "OperationElem.h"
#include "Thrown.h"

namespace {

struct Seen {
  static inline Element* context;
  static inline ListElem* args;
  static inline Element* result;

  static Element* function(Element* givenContext, ListElem* givenArgs) {
    context = givenContext;
    args = givenArgs;
    return result;
  }
};

// Assigns the function as a class of the store would.
struct ComputedElem : LazyEvalElem {
  explicit ComputedElem(Function computed) { function = computed; }
};

TEST(OperationElem, RunsItsFunctionWithContextAndArguments) {
  OperationElem operation(&Seen::function);
  IntegerElem result(7);
  MapElem context;
  ListElem args;
  Seen::result = &result;
  EXPECT_EQ(operation.eval(&context, &args), &result);
  EXPECT_EQ(Seen::context, &context);
  EXPECT_EQ(Seen::args, &args);
  EXPECT_EQ(operation.eval(nullptr, nullptr), &result);
  EXPECT_EQ(Seen::context, nullptr);
  EXPECT_EQ(Seen::args, nullptr);
}

TEST(OperationElem, CannotBeEvaluatedWithoutAFunction) {
  const std::string refusal = "ObjectStoreException: Null function Pointer";
  ListElem args;
  MapElem context;
  EXPECT_EQ(thrown([&] { OperationElem().eval(&context, nullptr); }), refusal);
  EXPECT_EQ(thrown([&] { OperationElem(&args).eval(&context, &args); }), refusal);
  EXPECT_EQ(thrown([&] { LazyEvalElem().eval(&context, nullptr); }), refusal);
  EXPECT_EQ(thrown([&] { LazyEvalElem(&args).externalize(&context); }), refusal);
}

TEST(OperationElem, HasNoValue) {
  OperationElem operation(&Seen::function);
  EXPECT_EQ(thrown([&] { operation.stringValue(); }), "NotSupportedException: stringValue() not supported!");
  EXPECT_EQ(thrown([&] { operation.intValue(); }), "NotSupportedException: intValue() not supported!");
  EXPECT_EQ(thrown([&] { operation.booleanValue(); }),
            "NotSupportedException: booleanValue() not supported!");
  EXPECT_EQ(thrown([&] { operation.externalize(nullptr); }),
            "NotSupportedException: externalize not supported!");
  EXPECT_EQ(operation.toString(), "");
}

TEST(LazyEvalElem, ExternalizesWhatItsFunctionGives) {
  ComputedElem lazy(&Seen::function);
  IntegerElem result(7);
  MapElem context;
  Seen::result = &result;
  const std::unique_ptr<Element> external(lazy.externalize(&context));
  EXPECT_EQ(Seen::context, &context);
  EXPECT_EQ(Seen::args, nullptr);
  EXPECT_NE(external.get(), &result);
  EXPECT_EQ(external->intValue(), 7);
}

TEST(LazyEvalElem, PassesItsContextOnToTheResult) {
  static Element* seen;
  struct ContextElem : IntegerElem {
    using IntegerElem::IntegerElem;
    Element* externalize(Element* context) override {
      seen = context;
      return IntegerElem::externalize(context);
    }
  };
  ComputedElem lazy(&Seen::function);
  ContextElem result(1);
  MapElem context;
  Seen::result = &result;
  const std::unique_ptr<Element> external(lazy.externalize(&context));
  EXPECT_EQ(seen, &context);
}

TEST(LazyEvalElem, IsComputedWhenTheTreeIsExternalized) {
  MapElem map;
  IntegerElem result(7);
  Seen::result = &result;
  map.addChild("now", new ComputedElem(&Seen::function));
  const std::unique_ptr<Element> external(map.externalize(nullptr));
  EXPECT_EQ(Seen::context, &map);
  EXPECT_EQ(external->getChild("now")->intValue(), 7);
}

TEST(LazyEvalElem, HasNoValueUntilThen) {
  ComputedElem lazy(&Seen::function);
  EXPECT_EQ(thrown([&] { lazy.intValue(); }), "NotSupportedException: intValue() not supported!");
  EXPECT_EQ(thrown([&] { lazy.stringValue(); }), "NotSupportedException: stringValue() not supported!");
}

}  // namespace
