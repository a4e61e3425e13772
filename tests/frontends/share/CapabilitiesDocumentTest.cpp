#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "CapabilitiesDocument.h"
#include "Golden.h"
#include "TicketXml.h"
#include "Tickets.h"

namespace {

using namespace frontend::share;
using testing::Contains;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

const ShareIdentity identity = {"5f0c1a52-7a0e-5d5b-9d3c-0b6a6d1e7501", "usb:1-2.3", "Quenvar Q750 @ myhost"};

std::string capabilities() {
  return capabilitiesDocument(identity, "http://myhost.local:8750");
}

// The texts of all elements of this name, without those that occurred before.
std::vector<std::string> textsOf(const std::string& document, const std::string& name) {
  std::vector<std::string> texts;
  const std::string begin = "<" + name + ">";
  for (std::size_t at = document.find(begin); at != std::string::npos; at = document.find(begin, at)) {
    at += begin.size();
    const std::string text = document.substr(at, document.find('<', at) - at);
    if (std::find(texts.begin(), texts.end(), text) == texts.end()) texts.push_back(text);
  }
  return texts;
}

TEST(CapabilitiesDocument, IsTheGoldenOne) {
  expectGolden("capabilities.xml", capabilities());
}

TEST(CapabilitiesDocument, HasNoAddressesWhereNoneIsKnown) {
  const std::string document = capabilitiesDocument(identity, "");
  EXPECT_THAT(document, Not(HasSubstr("URI")));
  EXPECT_THAT(document, HasSubstr("<scan:UUID>5f0c1a52-7a0e-5d5b-9d3c-0b6a6d1e7501</scan:UUID>"));
}

TEST(CapabilitiesDocument, IsWellFormedWhateverTheNames) {
  const std::string odd = capabilitiesDocument({"a<b", "usb:\xFF&", ""}, "http://\"]]>'");
  const auto document = readTicketXml(ticketOf(odd.substr(odd.find("<scan:"))));
  ASSERT_TRUE(std::holds_alternative<TicketElement>(document)) << std::get<XmlComplaint>(document);
  const TicketElement& root = std::get<TicketElement>(document).children.at(0);
  EXPECT_EQ(root.child(TicketElement::Vocabulary::scan, "UUID")->text, "a<b");
  EXPECT_EQ(root.child(TicketElement::Vocabulary::pwg, "SerialNumber")->text, "usb:?&");
}

TEST(CapabilitiesDocument, AdvertisesOnlyWhatTicketsMayAskFor) {
  const std::string document = capabilities();
  std::vector<std::string> formats;
  for (const auto& format : textsOf(document, "pwg:DocumentFormat"))
    formats.push_back(element("pwg:DocumentFormat", format));
  for (const auto& format : textsOf(document, "scan:DocumentFormatExt"))
    formats.push_back(element("scan:DocumentFormatExt", format));
  int tickets = 0;
  for (const auto& mode : textsOf(document, "scan:ColorMode")) {
    for (const auto& resolution : textsOf(document, "scan:XResolution")) {
      for (const auto& format : formats) {
        const std::string ticket = ticketOf(modeAndResolution(mode, resolution) + format);
        EXPECT_THAT(summaryOf(ticket), Not(StartsWith("4"))) << mode << " " << resolution << " " << format;
        ++tickets;
      }
    }
  }
  EXPECT_EQ(tickets, 3 * 6 * 6);
}

TEST(CapabilitiesDocument, AdvertisesSizesIntentsAndThresholdsThatTicketsMayAskFor) {
  const std::string document = capabilities();
  const auto only = [&](const char* name) { return textsOf(document, name).at(0); };
  for (const auto& width : {only("scan:MinWidth"), only("scan:MaxWidth")}) {
    for (const auto& height : {only("scan:MinHeight"), only("scan:MaxHeight")}) {
      const auto region = regionElement("0", "0", width, height, " pwg:MustHonor=\"true\"");
      EXPECT_THAT(summaryOf(ticketOf(region)), HasSubstr(", jpeg, 3x8 " + width + "x" + height + " at 300"));
    }
  }
  const auto intents = textsOf(document, "scan:Intent");
  EXPECT_THAT(intents, Contains("Preview"));
  for (const auto& intent : intents)
    EXPECT_THAT(summaryOf(ticketOf(element("scan:Intent", intent))), HasSubstr(" at ")) << intent;
  for (const char* name : {"scan:Min", "scan:Max", "scan:Normal"}) {
    const auto lineart = element("scan:ColorMode", "BlackAndWhite1") + element("scan:Threshold", only(name));
    EXPECT_THAT(summaryOf(ticketOf(lineart)), HasSubstr("threshold " + only(name) + ","));
  }
}

TEST(CapabilitiesDocument, ListsTheResolutionsOfGrayLast) {
  const std::string document = capabilities();
  const std::string last = document.substr(document.rfind("<scan:SupportedResolutions>"));
  EXPECT_THAT(textsOf(last, "scan:ColorMode"), testing::ElementsAre("Grayscale8"));
  EXPECT_THAT(textsOf(last, "scan:YResolution"),
              testing::ElementsAre("75", "150", "200", "300", "400", "600"));
}

TEST(CapabilitiesDocument, LeavesOutWhatMisleadsClients) {
  for (const char* name : {"CompressionFactorSupport", "Adf", "DOCTYPE", "ResolutionRange", "Certification"})
    EXPECT_THAT(capabilities(), Not(HasSubstr(name))) << name;
}

}  // namespace
