#include <gtest/gtest.h>

#include "XmlWriter.h"

namespace {

using namespace frontend::share;
using namespace std::string_literals;

TEST(XmlText, EscapesMarkup) {
  EXPECT_EQ(xmlText("a & b < c > d \" e ' f"), "a &amp; b &lt; c &gt; d &quot; e &apos; f");
  EXPECT_EQ(xmlText("]]>"), "]]&gt;");
}

TEST(XmlText, KeepsUtf8) {
  const std::string text =
      "\t\nB\xC3\xBCro \xE2\x82\xAC \xF0\x9F\x93\x84 \xED\x9F\xBF \xEF\xBF\xBD \xF4\x8F\xBF\xBF";
  EXPECT_EQ(xmlText(text), text);
}

TEST(XmlText, ReplacesWhatXmlCannotHold) {
  EXPECT_EQ(xmlText("a\0b\x1B[2J\x7F\r"s), "a?b?[2J\x7F&#13;");
  EXPECT_EQ(xmlText("\xFF \xC3 \x80"), "? ? ?");
  EXPECT_EQ(xmlText("\xC0\xAF"), "??") << "a longer form than needed";
  EXPECT_EQ(xmlText("\xE0\x80\xAF"), "???");
  EXPECT_EQ(xmlText("\xED\xA0\x80"), "???") << "half of a surrogate pair";
  EXPECT_EQ(xmlText("\xF4\x90\x80\x80"), "????") << "beyond the last code point";
  EXPECT_EQ(xmlText("\xEF\xBF\xBE"), "?") << "U+FFFE";
  EXPECT_EQ(xmlText("\xE2\x82"), "??") << "the end is missing";
}

TEST(XmlWriter, WritesElementsInElements) {
  XmlWriter xml("scan:A");
  xml.leaf("scan:B", "1 < 2");
  xml.open("pwg:C");
  xml.leaf("pwg:D", 3);
  EXPECT_EQ(xml.finish(),
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
            "<scan:A xmlns:pwg=\"http://www.pwg.org/schemas/2010/12/sm\" "
            "xmlns:scan=\"http://schemas.hp.com/imaging/escl/2011/05/03\">\n"
            "  <scan:B>1 &lt; 2</scan:B>\n"
            "  <pwg:C>\n"
            "    <pwg:D>3</pwg:D>\n"
            "  </pwg:C>\n"
            "</scan:A>\n");
}

}  // namespace
