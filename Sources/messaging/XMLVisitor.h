#pragma once

#include <string>

#include "ElementVisitor.h"

class ElementIterator;

/// Writes one message (a remote call, a reply or a fault) as XML text: the constructor writes the head, one
/// element that accepts the visitor the body, createMemoryDump() the end. One visitor writes one message.
/// Frames and sends nothing. One thread at a time.
///
/// Escapes nothing: a value or name that contains markup, or bytes that are not UTF-8, gives a message that
/// no reader accepts. Throws only what an element throws when its value is read, and the standard exceptions
/// for allocations and lengths.
class XMLVisitor : public ElementVisitor {
 public:
  /// A call of the device. The codes, the method written and its arguments:
  ///
  ///      3  getAttribute    objName, attribName
  ///      4  setAttribute    objName, attribName, value*
  ///      5  callMethod      objName, method, params*
  ///      6  callRule        ruleName, params*
  ///      7  addObserver     objName, event, observer
  ///      8  removeObserver  objName, event, observer
  ///      9  instantiate     className, objName, params*
  ///     10  event           observer, objName, event, data*
  ///     11  callVoidMethod  objName, method, params*
  ///
  /// The argument marked * stays open for the visited element; those before it are written from arg1 to arg3
  /// (for callRule arg2 is text in the open argument). An event has no request id. Any other code writes an
  /// unnamed method with two unnamed arguments.
  XMLVisitor(int type, int requestID, std::string arg1, std::string arg2, std::string arg3);
  /// A reply: code 1 is a response, code 2 an exception; any other code writes only the prologue as its head.
  XMLVisitor(int type, int requestID);
  /// The prologue and the opening tag of a root of that name. The root is never closed: createMemoryDump()
  /// ends such a text like a method.
  explicit XMLVisitor(std::string rootName);

  /// Writes nothing: no element calls this.
  void visitorAtPersistentElem(PersistentElem* element) override;
  /// Writes the full name of the enclosure and the composite's own entries whose names do not begin with "_".
  /// The rest of the message is indented one level deeper.
  void visitorAtCompositeElem(CompositeElem* element) override;
  /// Writes the entries whose names do not begin with "_".
  void visitorAtMapElem(MapElem* element) override;
  /// Writes the children in order. Null children are not allowed.
  void visitorAtListElem(ListElem* element) override;
  /// Writes the decimal text.
  void visitorAtIntegerElem(IntegerElem* element) override;
  /// Writes "true" or "false".
  void visitorAtBooleanElem(BooleanElem* element) override;
  /// Writes the value in full precision, with six digits after the point.
  void visitorAtDoubleElem(DoubleElem* element) override;
  /// Writes the text and, unless it is empty, the name of its encoding.
  void visitorAtStringElem(StringElem* element) override;
  /// Writes Base64 (RFC 4648, section 4). Throws std::length_error for more than 2147483647 bytes.
  void visitorAtBinaryElem(BinaryElem* element) override;
  /// Writes an empty tag.
  void visitorAtNullElem(NullElem* element) override;
  /// Writes the message of the exception in a tag "message".
  void visitorAtObjectStoreException(ObjectStoreException* exception) override;
  /// Deletes only the text: the caller owns the blocks from createMemoryDump().
  virtual ~XMLVisitor();

  /// Appends a tag, with `newLine` after a line break and two blanks for each level of depth.
  void writeElementTag(const char* tag, bool newLine);
  /// Appends text unchanged.
  void writeElementText(const char* text);
  /// Closes the message and stores a copy of its bytes, without a NUL, in a block allocated by malloc that
  /// the caller frees, and their number. Returns 0. The text is kept: a second dump has a second set of
  /// closing tags. Throws std::length_error for a message of 4 GiB or more.
  int createMemoryDump(char** out, unsigned int* length);

 private:
  void writeTag(const std::string& tag, bool newLine);
  void writeScalar(const std::string& name, const std::string& value);
  void writeNamedChildren(ElementIterator& children);

  std::string text;
  int messageType = 0;
  int depth = 0;
};
