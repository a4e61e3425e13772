#pragma once

#include <deque>
#include <exception>
#include <map>
#include <string>

/// @file
/// The reader of XML messages, and its handlers for expat.

class Element;
struct ElementData;
struct XML_ParserStruct;

/// Reads one XML message into a MapElem that describes it. Each entry is a string, except "result" and the
/// arguments, which are the elements of the message:
///
/// - method: the arguments under their names, "messageType" = "method", "systemRule" = its name, "requestID"
/// - response: "result" = the element inside, "messageType" = "response", "requestID"
/// - exception: "messageType" = "exception", "requestID"; the text of the fault is dropped
///
/// Tags are identified by their first two characters; unknown ones are reported on standard output and
/// dropped with their contents, as are composites and values in places where none belongs. Not a validating
/// reader, and not for documents that arrive in pieces. One parser for one message, one thread at a time.
///
/// Entity expansion is bounded by expat's own protection, and by nothing else.
class XMLSAXParser {
 public:
  /// Has no result yet.
  XMLSAXParser();
  XMLSAXParser(const XMLSAXParser&) = delete;
  XMLSAXParser& operator=(const XMLSAXParser&) = delete;
  /// Deletes the elements of tags that never ended. The result is kept: the caller owns it.
  ~XMLSAXParser();

  /// Reads exactly `length` bytes, which are not changed. Returns 0 also for a message that is cut short,
  /// which leaves no result unless a message root ended before the cut. Returns -1 for malformed XML, for
  /// tags nested deeper than any message (1000) and for a negative length, after one line on standard error.
  /// Text that StringToi refuses in an "IntegerElem" ends the parse with its ValueConversionException, an
  /// allocation that fails with the standard exception.
  int parseMessage(char* text, int length);
  /// The map of the last message root that ended, or null. The caller deletes it, once.
  Element* getResult();

  /// The type code of a tag name, 0 for an unknown one. Compares the first two
  /// characters only, case-sensitive.
  static int getElementType(const char* name);
  /// Copies name and value pairs, ended by a null, into the map; the last of equal names wins. Returns 0.
  static int addAttributes(std::map<std::string, std::string>& attributes, const char** pairs);

 private:
  friend void SAXstartElement(void* parser, const char* name, const char** attributes);
  friend void SAXendElement(void* parser, const char* name);
  friend void SAXcharData(void* parser, const char* text, int length);

  void openTag(const char* name, const char** attributes);
  void closeTag(const char* name);
  void appendText(const char* text, int length);
  void stop();
  template <typename Step>
  void guarded(Step step);

  Element* result = nullptr;
  std::deque<ElementData*> stack;
  // Set while expat runs.
  XML_ParserStruct* expat = nullptr;
  bool stopped = false;
  // Thrown by parseMessage() once expat has returned.
  std::exception_ptr failure;
};

/// @{
/// The handlers that expat calls; `parser` is the XMLSAXParser. Nothing is thrown through expat: a failure
/// stops the parse and is thrown by parseMessage(). Called outside parseMessage() they throw.
void SAXstartElement(void* parser, const char* name, const char** attributes);
void SAXendElement(void* parser, const char* name);
void SAXcharData(void* parser, const char* text, int length);
/// @}
