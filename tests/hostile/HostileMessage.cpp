#include "HostileMessage.h"

namespace hostile {
namespace {

constexpr char declaration[] = "<?xml version=\"1.0\"?>\r\n";

std::string repeated(const std::string& text, std::size_t times) {
  std::string result;
  result.reserve(text.size() * times);
  while (times-- > 0) result += text;
  return result;
}

std::string exception(const std::string& reason) {
  return declaration + ("<exception requestID=\"3\"><message>" + reason + "</message></exception>");
}

std::string response(const std::string& result) {
  return declaration + ("<response requestID=\"3\">" + result + "</response>");
}

std::string deep(Dice& dice) {
  const std::size_t depth = dice.oneOf(std::initializer_list<std::size_t>{99, 1000, 1001, 50000});
  return response(repeated("<ListElem>", depth) + repeated("</ListElem>", dice.oneIn(2) ? depth : 0));
}

// A billion laughs: each entity is ten of the one before.
std::string exploding(Dice& dice) {
  std::string text = std::string(declaration) + "<!DOCTYPE r [<!ENTITY e0 \"laugh\">";
  const int levels = static_cast<int>(dice.below(12)) + 1;
  for (int level = 1; level <= levels; ++level) {
    const std::string before = "&e" + std::to_string(level - 1) + ";";
    text += "<!ENTITY e" + std::to_string(level) + " \"" + repeated(before, 10) + "\">";
  }
  return text + "]><response><StringElem>&e" + std::to_string(levels) + ";</StringElem></response>";
}

std::string fromOutside(Dice& /*dice*/) {
  return std::string(declaration) +
         "<!DOCTYPE r [<!ENTITY f SYSTEM \"file:///etc/passwd\">]><response>&f;</response>";
}

std::string escapes(Dice& dice) {
  // XML allows only the last ones, which it does not take for control characters.
  static constexpr const char* texts[] = {"\x1b[2J\x1b[H",
                                          "\x1b]0;title\x07",
                                          "\x9b"
                                          "31m",
                                          "\x1b]52;c;cHduZWQ=\x07",
                                          "%s%n%s%n",
                                          "\r\n\r\nforged",
                                          "\xe2\x80\xae"
                                          "drowssap",
                                          "\xc2\x9b"
                                          "31m",
                                          "&#155;2J",
                                          "\x7f&#133;&#127;"};
  const std::string text = dice.oneOf(texts);
  return dice.oneIn(3) ? response("<StringElem>" + text + "</StringElem>") : exception(text);
}

std::string withNul(Dice& dice) {
  std::string text = exception("no paper");
  text.insert(dice.below(text.size()), 1, '\0');
  return text;
}

std::string large(Dice& dice) {
  const std::size_t size = dice.oneOf(std::initializer_list<std::size_t>{
      65535, 900'000, 1024 * 1024, 1024 * 1024 + 1, 4 * 1024 * 1024 - 200});
  const std::string text(size, static_cast<char>('a' + dice.below(26)));
  return dice.oneIn(2) ? exception(text) : response("<StringElem>" + text + "</StringElem>");
}

std::string wrongResult(Dice& dice) {
  static constexpr const char* results[] = {
      "",
      "<NullElem/>",
      "<IntegerElem>99999999999999999999</IntegerElem>",
      "<IntegerElem>-</IntegerElem>",
      "<DoubleElem>1e999</DoubleElem>",
      "<DoubleElem>nan</DoubleElem>",
      "<BooleanElem>maybe</BooleanElem>",
      "<BinaryElem>====</BinaryElem>",
      "<BinaryElem>A</BinaryElem>",
      "<StringElem encoding=\"hex\">0g1</StringElem>",
      "<StringElem></StringElem>",
      "<StringElem>a.b.c&lt;/arg&gt;</StringElem>",
      "<MapElem><child><IntegerElem>1</IntegerElem></child></MapElem>",
      "<CompositeElem enclosure=\"_\"><child name=\"\"/></CompositeElem>",
      "<response><StringElem>job</StringElem></response>",
      "<exception><message>inside</message></exception>",
  };
  return response(dice.oneOf(results));
}

std::string wrongKind(Dice& dice) {
  static constexpr const char* texts[] = {
      "",
      " ",
      "<",
      "<a",
      "<a/>",
      "<exception/>",
      "<response/>",
      "<response requestID=\"-1\"/>",
      "text",
      "<method name=\"callMethod\"><arg name=\"objName\">system</arg></method>",
      "<exception><message/></exception><exception/>",
      "<?xml version=\"1.0\" encoding=\"UTF-16\"?><response/>",
      "<?xml version=\"1.0\" encoding=\"EBCDIC\"?><response/>",
      "<?xml version=\"9.9\"?><response/>",
      "\xef\xbb\xbf<response/>",
      "\xff\xfe<\0r",
      "<response>\xc3(</response>",
      "<response><![CDATA[ ]]></response>",
      "<response><!-- -- --></response>",
      "<response a=\"1\" a=\"2\"/>"};
  return dice.oneOf(texts);
}

std::string manyAttributes(Dice& dice) {
  std::string text = "<response";
  const std::size_t count = dice.below(20000);
  for (std::size_t i = 0; i < count; ++i) text += " a" + std::to_string(i) + "=\"\"";
  return text + "/>";
}

std::string noise(Dice& dice) {
  std::string text(dice.below(3000), '\0');
  for (char& character : text) character = static_cast<char>(dice.byte());
  return text;
}

}  // namespace

std::string hostileMessage(Dice& dice) {
  // Some more often than others: of all messages, only a refusal gets as far as a terminal.
  constexpr std::string (*kinds[])(Dice&) = {
      deep,    exploding, exploding, fromOutside, escapes,     escapes,   escapes,        escapes,
      withNul, large,     large,     wrongResult, wrongResult, wrongKind, manyAttributes, noise};
  std::string message = dice.oneOf(kinds)(dice);
  if (dice.oneIn(8)) message.resize(dice.below(message.size() + 1));
  return message;
}

}  // namespace hostile
