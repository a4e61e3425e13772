// Reads: a document parsed by libxml2, with the library's DOM decoder.
// Checks: decoding changes neither document nor object store: twice gives the same.
#include "Check.h"
#include "Nodes.h"
#include "Target.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  const Document document = parseDocument({bytes, size});
  xmlNode* const root = document ? xmlDocGetRootElement(document.get()) : nullptr;
  xmlNode* const first = root ? root->children : nullptr;
  const auto decode = [root, first] {
    const char* const text = XMLEncoding::parseStringArg(first, "objName");
    return outcomeOf([&] { return XMLEncoding::deSerializeElement(root); }) +
           outcomeOf([&] { return XMLEncoding::parseListElem(root); }) +
           outcomeOf([&] { return XMLEncoding::parseMapElem(root); }) +
           outcomeOf([&] { return XMLEncoding::parseCompositeElem(root); }) +
           outcomeOf([&] { return XMLEncoding::parseElemArg(first, "value"); }) +
           outcomeOf([&] { return XMLEncoding::parseListElemArg(first, "params"); }) + (text ? text : "");
  };
  check(decode() == decode());
  return 0;
}
