#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <regex>
#include <set>

#include "PageData.h"
#include "PageTexts.h"
#include "StartPage.h"
#include "Tickets.h"

namespace {

using namespace frontend::share;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;
using enum PageLanguage;

PageFacts facts() {
  return {"Quenvar Q750 @ myhost", ScannerState::idle, "http://myhost.local:8750", true};
}

// The first groups of all matches.
std::vector<std::string> matches(const std::string& text, const std::string& pattern) {
  const std::regex expression(pattern);
  std::vector<std::string> found;
  for (std::sregex_iterator match(text.begin(), text.end(), expression), end; match != end; ++match)
    found.push_back((*match)[1]);
  return found;
}

TEST(PageLanguage, IsTheOneThatTheReaderPrefers) {
  const std::pair<const char*, PageLanguage> rows[] = {
      {"de", german},
      {"de-DE,de;q=0.9,en;q=0.8", german},
      {"DE-at", german},
      {"fr, de;q=0.5", german},
      {"en;q=0.5,de;q=0.6", german},
      {"en;q=0 , de ; q=0.001", german},
      {"en-US,en;q=0.9,de;q=0.8", english},
      {"de;q=0.5,en;q=0.5", english},
      {"de;q=0", english},
      {"de;q=2", english},
      {"de;q=x", english},
      {"den", english},
      {"d", english},
      {"*", english},
      {"fr", english},
      {"", english},
      {",;,;q=", english},
  };
  for (const auto& [header, language] : rows) EXPECT_EQ(languageOf(header), language) << header;
  EXPECT_EQ(languageOf(std::nullopt), english);
}

TEST(StartPage, ReplacesEveryPlaceholder) {
  for (const PageLanguage language : {english, german}) {
    for (const ScannerState state : {ScannerState::idle, ScannerState::processing, ScannerState::down}) {
      EXPECT_THAT(startPage({"name", state, "http://a", false}, language), Not(HasSubstr("{{")));
      EXPECT_THAT(startPage({"name", state, "http://a", true}, language), Not(HasSubstr("{{")));
    }
  }
}

TEST(StartPage, HasEveryTextInBothLanguages) {
  const std::set<std::string> computed = {"lang", "name", "address", "state", "state-class", "reach"};
  const auto keys = matches(std::string(pagedata::html), "\\{\\{([a-z-]+)\\}\\}");
  EXPECT_GE(keys.size(), 40U);
  for (const std::string& key : keys) {
    EXPECT_EQ(pageText(key, english).empty(), computed.contains(key)) << key;
    EXPECT_EQ(pageText(key, german).empty(), computed.contains(key)) << key;
  }
}

TEST(StartPage, ReportsTheFactsInTheLanguage) {
  EXPECT_THAT(startPage(facts(), english), HasSubstr("class=\"idle\""));
  EXPECT_THAT(startPage(facts(), english), HasSubstr(">Ready to scan</p>"));
  EXPECT_THAT(startPage(facts(), german), HasSubstr("<html lang=\"de\">"));
  EXPECT_THAT(startPage(facts(), german), HasSubstr(">Bereit</p>"));
  EXPECT_THAT(startPage(facts(), english), HasSubstr("<code>http://myhost.local:8750/eSCL</code>"));
  PageFacts others = facts();
  others.state = ScannerState::down;
  others.servesNetwork = false;
  EXPECT_THAT(startPage(others, english), HasSubstr(">Not connected</p>"));
  EXPECT_THAT(startPage(others, english), HasSubstr("/etc/quenvar/share.conf"));
}

TEST(StartPage, PromisesNobodyToFindAScannerThatIsNotAnnounced) {
  PageFacts quiet = facts();
  EXPECT_THAT(startPage(quiet, english), HasSubstr("in this network find it automatically"));
  quiet.isAnnounced = false;
  EXPECT_THAT(startPage(quiet, english), HasSubstr("in this network can use it by its address"));
  EXPECT_THAT(startPage(quiet, german), HasSubstr("in diesem Netz können ihn über seine Adresse nutzen"));
}

TEST(StartPage, EscapesTheFacts) {
  const std::string page = startPage({"<script>{{lang}}", ScannerState::idle, "\"><b>", true}, english);
  EXPECT_THAT(page, HasSubstr("<h1>&lt;script&gt;{{lang}}</h1>"));
  EXPECT_THAT(page, HasSubstr("<code>&quot;&gt;&lt;b&gt;/eSCL</code>"));
}

TEST(StartPage, OffersOnlyWhatTicketsMayAskFor) {
  const std::string page = startPage(facts(), english);
  const auto formats = matches(page, "<option value=\"([a-z]+/[a-z]+)\"");
  const auto modes = matches(page, "<option value=\"([A-Z][A-Za-z0-9]+)\"");
  const auto resolutions = matches(page, "<option value=\"([0-9]+)\"");
  EXPECT_EQ(formats.size() * modes.size() * resolutions.size(), 3U * 3 * 6);
  for (const auto& format : formats) {
    for (const auto& mode : modes) {
      for (const auto& resolution : resolutions) {
        const auto ticket =
            ticketOf(modeAndResolution(mode, resolution) + element("scan:DocumentFormatExt", format));
        EXPECT_THAT(summaryOf(ticket), Not(StartsWith("4"))) << format << mode << resolution;
      }
    }
  }
}

TEST(StartPage, LabelsEveryField) {
  const std::string page = startPage(facts(), english);
  EXPECT_EQ(matches(page, "<select id=\"([a-z]+)\""), matches(page, "<label for=\"([a-z]+)\""));
}

TEST(StartPage, HasNothingThatItsPolicyForbids) {
  const std::string page = startPage(facts(), german);
  EXPECT_THAT(matches(page, "(<script(?! src=)|<style| style=| on[a-z]+=|javascript:)"), testing::IsEmpty());
  EXPECT_THAT(matches(page, "(?:src|href|action)=\"([^\"]*)\""),
              testing::Each(testing::AnyOf(StartsWith("/"), "#")));
}

TEST(StartPage, HasTheMessagesThatItsScriptShows) {
  const std::string page = startPage(facts(), english);
  const std::string script(pageResourceOf(RouteKind::pageScript).bytes);
  const auto shown = matches(script, "(?:showMessage|Refusal)\\(\"([a-z]+)\"");
  EXPECT_GE(shown.size(), 7U);
  for (const auto& kind : shown) EXPECT_THAT(page, HasSubstr(" data-" + kind + "=\"")) << kind;
  for (const auto& id : matches(script, "byId\\(\"([a-z]+)\"\\)"))
    EXPECT_THAT(page, HasSubstr("id=\"" + id + "\"")) << id;
}

TEST(StartPage, HasFilesOfTheirTypes) {
  EXPECT_EQ(pageResourceOf(RouteKind::pageStyle).contentType, "text/css; charset=utf-8");
  EXPECT_THAT(std::string(pageResourceOf(RouteKind::pageStyle).bytes), HasSubstr("prefers-color-scheme"));
  EXPECT_EQ(pageResourceOf(RouteKind::pageScript).contentType, "text/javascript; charset=utf-8");
  const auto [type, icon] = pageResourceOf(RouteKind::icon);
  EXPECT_EQ(type, "image/png");
  // Signature, then the header: 128 x 128 pixels of 8 bits, with an alpha channel (6).
  EXPECT_EQ(icon.substr(0, 8), "\x89PNG\r\n\x1A\n");
  EXPECT_EQ(icon.substr(16, 10), std::string_view("\0\0\0\x80\0\0\0\x80\x08\x06", 10));
}

}  // namespace
