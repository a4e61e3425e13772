#pragma once

class CompositeElem;
class Element;
class ListElem;
class MapElem;
struct _xmlNode;

/// Creates elements from message tags that libxml2 has parsed already, and looks up the arguments of a call.
/// Does not parse text: the caller owns the document and passes its nodes, which are only read. Stateless;
/// any number of threads, one per document, except when reading composites, whose enclosures are in
/// ObjectStore.
///
/// The document has to be parsed without blank text nodes (XML_PARSE_NOBLANKS): in a map, a composite or an
/// argument the first node inside is the value, and a blank text is none.
///
/// Tags are identified by their exact names, attributes by their position: the first one is the key, the
/// enclosure or the argument's name, whatever it is called. The text of a tag is the content of its first
/// node; a missing attribute, node or text is empty. Only nodes of type XML_ELEMENT_NODE count as tags.
///
/// The result is new and owned by the caller. The first column is for the tag passed to
/// deSerializeElement(), the second for tags inside lists, maps and composites, the third for the tag inside
/// an argument passed to parseElemArg():
///
///     tag              alone                inside a container     as an argument
///     "ListElem"       ListElem             ListElem               ListElem
///     "MapElem"        MapElem              MapElem                MapElem
///     "CompositeElem"  CompositeElem        CompositeElem          null
///     "StringElem"     the text             the text               the text
///     "IntegerElem"    StringToi(text)      atoi(text)             atoi(text)
///     "BooleanElem"    whether it is        "true" or "false",     "true" or "false",
///                      "true"               any other: skipped     any other: null
///     "DoubleElem"     atof(text)           atof(text)             atof(text)
///     "NullElem"       NullElem             NullElem               NullElem
///     any other        null                 skipped                null
///
/// "BinaryElem" is such an "other" tag, and the encoding of a string is not read: XMLSAXParser reads binary
/// data. Integers saturate at 32 bits; doubles have a decimal point in every locale.
///
/// A failure deletes the incomplete tree. The exceptions: ValueConversionException for an integer that
/// StringToi() refuses; what ObjectStore throws for an enclosure; what a setter of an enclosure throws;
/// NotSupportedException for containers nested deeper than 1000 levels, which libxml2 accepts only on demand
/// (XML_PARSE_HUGE); the standard exception for a failed allocation. A null node counts as missing.
class XMLEncoding {
 public:
  /// The element of the tag, or null.
  static Element* deSerializeElement(_xmlNode* node);

  /// One entry for each supported tag inside, in their order, appended with ListElem::add. The node's own
  /// name is ignored; never null.
  static ListElem* parseListElem(_xmlNode* node);
  /// One entry for each "child" wrapper inside, added with addChild, so that the last of equal keys stays.
  /// The names of the node and of the wrappers are ignored; never null.
  static MapElem* parseMapElem(_xmlNode* node);
  /// The same as a composite. Its enclosure, which the store owns, is what ObjectStore.getElement() finds
  /// under the node's first attribute; that look-up evaluates the elements on the path. A setter that the
  /// enclosure has for an entry runs, and decides, before the composite is complete, and must not put it into
  /// a container. A value that was passed to a setter is not deleted if it is not stored.
  static CompositeElem* parseCompositeElem(_xmlNode* node);

  /// @name Arguments
  /// Each searches `firstArgument` and its siblings for the argument `name`, up to the first node without
  /// attributes, such as a text. An argument that is not found has no value.
  /// @{

  /// The text, in UTF-8, owned by the document and valid for as long as the document. Null if there is none.
  static const char* parseStringArg(_xmlNode* firstArgument, const char* name);
  /// The value, or null.
  static Element* parseElemArg(_xmlNode* firstArgument, const char* name);
  /// The list, whatever the name of the inner tag: parseListElem() of the argument's first node. Empty if
  /// there is none, never null.
  static ListElem* parseListElemArg(_xmlNode* firstArgument, const char* name);
  /// @}
};
