#pragma once

#include <string>

#include "ElementVisitor.h"

class ElementIterator;

/// Writes one message (a remote call, a reply or a fault) as XML text: the constructor writes the head, one
/// element that accepts the visitor its body, createMemoryDump the end. Serves one message only. Frames and
/// sends nothing. One thread at a time.
///
/// Escapes nothing: a value or name that holds markup, or bytes that are not UTF-8, gives a message that no
/// reader accepts. Reports no failure but what an element throws when it is asked for its value, and the
/// standard allocation exceptions.
class XMLVisitor : public ElementVisitor {
 public:
  /// A call of the device. The codes, the method written and its arguments:
  ///
  ///      3  getAttribute    objName, attribName             8  removeObserver  objName, event, observer
  ///      4  setAttribute    objName, attribName, value*     9  instantiate     className, objName, params*
  ///      5  callMethod      objName, method, params*       10  event           observer, objName, event,
  ///      data* 6  callRule        ruleName, params*              11  callVoidMethod  objName, method,
  ///      params* 7  addObserver     objName, event, observer
  ///
  /// The argument marked * stays open for the visited element; those before it are written from arg1 to arg3
  /// (for callRule arg2 stands as text in the open argument). An event carries no request id. Any other code
  /// writes an unnamed method with two unnamed arguments.
  XMLVisitor(int type, int requestID, std::string arg1, std::string arg2, std::string arg3);
  /// A reply: code 1 a response, code 2 an exception; any other code writes no head but the prologue.
  XMLVisitor(int type, int requestID);
  /// The prologue and the opening tag of a root of that name. The root is never closed: createMemoryDump ends
  /// such a text like a method.
  explicit XMLVisitor(std::string rootName);

  /// Writes nothing.
  /// Writes nothing.
  void visitorAtPersistentElem(PersistentElem* element) override;
  /// The full name of the enclosure and the own entries whose names do not begin with "_". What follows
  /// stands one level deeper.
  void visitorAtCompositeElem(CompositeElem* element) override;
  /// The entries whose names do not begin with "_".
  void visitorAtMapElem(MapElem* element) override;
  void visitorAtListElem(ListElem* element) override;
  void visitorAtIntegerElem(IntegerElem* element) override;
  void visitorAtBooleanElem(BooleanElem* element) override;
  /// In full precision, with six digits after the point.
  void visitorAtDoubleElem(DoubleElem* element) override;
  void visitorAtStringElem(StringElem* element) override;
  /// As Base64 (RFC 4648, section 4). More than 2147483647 bytes are refused with std::length_error.
  void visitorAtBinaryElem(BinaryElem* element) override;
  void visitorAtNullElem(NullElem* element) override;
  void visitorAtObjectStoreException(ObjectStoreException* exception) override;
  /// Deletes nothing but the text.
  /// Blocks that createMemoryDump() handed out stay.
  virtual ~XMLVisitor();

  /// Appends a tag, before it with `newLine` a line break and two blanks for each level of depth.
  void writeElementTag(const char* tag, bool newLine);
  /// Appends text as it is.
  /// Appends text as it is.
  void writeElementText(const char* text);
  /// Closes the message and stores a copy of its bytes, without a NUL, in a block of malloc that the caller
  /// frees, and their number. Returns 0. The text stays: a second dump has a second set of closing tags. A
  /// message of 4 GiB or more is std::length_error.
  int createMemoryDump(char** out, unsigned int* length);

 private:
  void writeTag(const std::string& tag, bool newLine);
  void writeScalar(const std::string& name, const std::string& value);
  void writeNamedChildren(ElementIterator& children);

  std::string text;
  int messageType = 0;
  int depth = 0;
};
