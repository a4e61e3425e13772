#include <gtest/gtest.h>

#include "TicketXml.h"
#include "Tickets.h"

namespace {

using namespace frontend::share;
using Vocabulary = TicketElement::Vocabulary;

std::string complaintAbout(const std::string& body) {
  const auto result = readTicketXml(body);
  const auto* complaint = std::get_if<XmlComplaint>(&result);
  return complaint == nullptr ? "accepted" : *complaint;
}

TEST(TicketXml, IsReadByNamespaceWhateverThePrefixes) {
  const auto result = readTicketXml(
      "<ScanSettings xmlns='http://schemas.hp.com/imaging/escl/2011/05/03'>"
      "<a:InputSource xmlns:a='http://www.pwg.org/schemas/2010/12/sm'> Pla&#116;en </a:InputSource>"
      "<a:InputSource xmlns:a='urn:other'>Feeder</a:InputSource></ScanSettings>");
  const auto& root = std::get<TicketElement>(result);
  ASSERT_EQ(root.children.size(), 2U);
  EXPECT_TRUE(root.children[0].is(Vocabulary::pwg, "InputSource"));
  EXPECT_TRUE(root.children[1].is(Vocabulary::other, "InputSource"));
  EXPECT_EQ(root.child(Vocabulary::pwg, "InputSource")->text, "Platen");
  EXPECT_EQ(root.child(Vocabulary::scan, "InputSource"), nullptr);
}

TEST(TicketXml, TakesTheTextOfAnElementWithoutThatOfItsChildren) {
  const auto result =
      readTicketXml(ticketOf("<scan:A> one<scan:B>two</scan:B><![CDATA[ & ]]>three<!-- 4 --></scan:A>"));
  const auto& root = std::get<TicketElement>(result);
  EXPECT_EQ(root.children.at(0).text, "one & three");
  EXPECT_EQ(root.children.at(0).children.at(0).text, "two");
}

TEST(TicketXml, TakesTheEncodingsOfXml) {
  const std::string latin =
      "<?xml version='1.0' encoding='ISO-8859-1'?>"
      "<ScanSettings xmlns='http://schemas.hp.com/imaging/escl/2011/05/03'>\xE4</ScanSettings>";
  EXPECT_EQ(std::get<TicketElement>(readTicketXml(latin)).text, "\xC3\xA4");
  std::string wide;
  for (const char c : ticketOf("").substr(38))
    wide += std::string{'\0', c};  // without the declaration: UTF-16
  EXPECT_EQ(complaintAbout("\xFE\xFF" + wide), "accepted");
  EXPECT_EQ(complaintAbout("\xEF\xBB\xBF" + ticketOf("")), "accepted");  // a byte order mark
}

TEST(TicketXml, IsRefusedWhereItIsNotWellFormed) {
  EXPECT_EQ(complaintAbout("nonsense"), "The body is not well-formed XML: line 1: syntax error.");
  EXPECT_EQ(complaintAbout("<a>\n</b>"), "The root element is not ScanSettings of eSCL.");
  EXPECT_EQ(complaintAbout(ticketOf("\n<a></b>")),
            "The body is not well-formed XML: line 2: mismatched tag.");
  EXPECT_EQ(complaintAbout(ticketOf("<x:y/>")), "The body is not well-formed XML: line 1: unbound prefix.");
  EXPECT_EQ(complaintAbout(ticketOf("") + "<a/>"),
            "The body is not well-formed XML: line 1: junk after document element.");
  EXPECT_EQ(complaintAbout(ticketOf("\xC3(")),
            "The body is not well-formed XML: line 1: not well-formed (invalid token).");
  EXPECT_EQ(complaintAbout(ticketOf(std::string(1, '\0'))),
            "The body is not well-formed XML: line 1: not well-formed (invalid token).");
}

TEST(TicketXml, IsRefusedAtEveryPrefix) {
  const std::string whole = ticketOf(modeAndResolution("RGB24", "300"));
  for (std::size_t length = 0; length < whole.size(); ++length)
    EXPECT_NE(complaintAbout(whole.substr(0, length)), "accepted") << length;
}

TEST(TicketXml, NeedsTheRootOfItsNamespace) {
  constexpr char wrongRoot[] = "The root element is not ScanSettings of eSCL.";
  EXPECT_EQ(complaintAbout("<ScanSettings/>"), wrongRoot);
  EXPECT_EQ(complaintAbout("<s:ScanSettings xmlns:s='http://www.pwg.org/schemas/2010/12/sm'/>"), wrongRoot);
  EXPECT_EQ(complaintAbout("<s:ScannerStatus xmlns:s='http://schemas.hp.com/imaging/escl/2011/05/03'/>"),
            wrongRoot);
}

TEST(TicketXml, TakesSixteenLevelsAndNoMore) {
  const auto nested = [](int levels) {
    std::string text;
    for (int i = 1; i < levels; ++i) text += "<a>";
    for (int i = 1; i < levels; ++i) text += "</a>";
    return ticketOf(text);
  };
  EXPECT_EQ(complaintAbout(nested(16)), "accepted");
  EXPECT_EQ(complaintAbout(nested(17)), "Elements are nested too deeply.");
}

TEST(TicketXml, TakesNoDocumentType) {
  constexpr char refused[] = "A document type is not allowed.";
  EXPECT_EQ(complaintAbout("<!DOCTYPE a [<!ENTITY b 'c'>]><a>&b;</a>"), refused);
  EXPECT_EQ(complaintAbout("<!DOCTYPE a SYSTEM 'http://127.0.0.1/'><a/>"), refused);
  EXPECT_EQ(complaintAbout(ticketOf("&b;")), "The body is not well-formed XML: line 1: undefined entity.");
}

TEST(TicketXml, OfManyElementsIsATree) {
  std::string text;
  for (int i = 0; i < 10000; ++i) text += "<b/>";
  EXPECT_EQ(std::get<TicketElement>(readTicketXml(ticketOf(text))).children.size(), 10000U);
}

}  // namespace
