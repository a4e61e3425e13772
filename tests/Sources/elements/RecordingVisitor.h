#pragma once

#include <string>
#include <vector>

#include "ElementVisitor.h"

// Records each operation that it is called with, as "class" and the address that it received:
//   RecordingVisitor visitor;  element.accept(&visitor);  EXPECT_EQ(visitor.calls, ...{{"MapElem", &map}});
struct RecordingVisitor final : ElementVisitor {
  struct Call {
    std::string operation;
    const void* visited;
    bool operator==(const Call&) const = default;
  };

  void visitorAtPersistentElem(PersistentElem* e) override { calls.push_back({"PersistentElem", e}); }
  void visitorAtCompositeElem(CompositeElem* e) override { calls.push_back({"CompositeElem", e}); }
  void visitorAtMapElem(MapElem* e) override { calls.push_back({"MapElem", e}); }
  void visitorAtListElem(ListElem* e) override { calls.push_back({"ListElem", e}); }
  void visitorAtIntegerElem(IntegerElem* e) override { calls.push_back({"IntegerElem", e}); }
  void visitorAtBooleanElem(BooleanElem* e) override { calls.push_back({"BooleanElem", e}); }
  void visitorAtDoubleElem(DoubleElem* e) override { calls.push_back({"DoubleElem", e}); }
  void visitorAtStringElem(StringElem* e) override { calls.push_back({"StringElem", e}); }
  void visitorAtBinaryElem(BinaryElem* e) override { calls.push_back({"BinaryElem", e}); }
  void visitorAtNullElem(NullElem* e) override { calls.push_back({"NullElem", e}); }
  void visitorAtObjectStoreException(ObjectStoreException* e) override {
    calls.push_back({"ObjectStoreException", e});
  }

  std::vector<Call> calls;
};
