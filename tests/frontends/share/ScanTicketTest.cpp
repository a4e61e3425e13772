#include <gtest/gtest.h>

#include <ostream>

#include "Tickets.h"

namespace {

struct TicketRow {
  const char* what;
  std::string elements;
  const char* summary;
};

void PrintTo(const TicketRow& row, std::ostream* out) {
  *out << row.what;
}

class ScanTicketTable : public testing::TestWithParam<TicketRow> {};

TEST_P(ScanTicketTable, IsReadAsInTheTable) {
  EXPECT_EQ(summaryOf(ticketOf(GetParam().elements)), GetParam().summary) << GetParam().what;
}

constexpr char wholeBedInColor[] = "color 300: 2550x3507+0+0, jpeg, 3x8 2550x3507 at 300";
constexpr char wholeBedAsPdf[] = "color 300: 2550x3507+0+0, pdf, 3x8 2550x3507 at 300";

const TicketRow defaults[] = {
    {"nothing", "", wholeBedInColor},
    {"a version alone", element("pwg:Version", "2.63"), wholeBedInColor},
    {"any version", element("pwg:Version", "many"), wholeBedInColor},
    {"unknown elements", "<scan:Novel><x xmlns=\"urn:y\"/></scan:Novel>", wholeBedInColor},
    {"elements of no effect",
     "<scan:Duplex>true</scan:Duplex><scan:CompressionFactor>25</scan:CompressionFactor>"
     "<scan:Brightness>9</scan:Brightness><scan:Gamma>2</scan:Gamma><pwg:ContentType>Photo</pwg:ContentType>",
     wholeBedInColor},
    {"no regions in the list", "<pwg:ScanRegions/>", wholeBedInColor},
};
INSTANTIATE_TEST_SUITE_P(Defaults, ScanTicketTable, testing::ValuesIn(defaults));

const TicketRow intents[] = {
    {"Document", element("scan:Intent", "Document"), "gray 300: 2550x3507+0+0, pdf, 1x8 2550x3507 at 300"},
    {"TextAndGraphic", element("scan:Intent", "TextAndGraphic"), wholeBedAsPdf},
    {"Photo", element("scan:Intent", "Photo"), wholeBedInColor},
    {"Preview", element("scan:Intent", "Preview"), "color 75: 637x876+0+0, jpeg, 3x8 637x876 at 75"},
    {"Object", element("scan:Intent", "Object"), wholeBedInColor},
    {"BusinessCard", element("scan:Intent", "BusinessCard"), wholeBedInColor},
    {"an unknown one", element("scan:Intent", "Poster"), wholeBedInColor},
    {"the mode of the ticket first", element("scan:Intent", "Document") + element("scan:ColorMode", "RGB24"),
     wholeBedAsPdf},
    {"its resolution first", element("scan:Intent", "Preview") + element("scan:XResolution", "300"),
     wholeBedInColor},
    {"its format first", element("scan:Intent", "Photo") + element("pwg:DocumentFormat", "application/pdf"),
     wholeBedAsPdf},
};
INSTANTIATE_TEST_SUITE_P(Intents, ScanTicketTable, testing::ValuesIn(intents));

const TicketRow sources[] = {
    {"the bed", element("pwg:InputSource", "Platen"), wholeBedInColor},
    {"the bed in the other vocabulary", element("scan:InputSource", " Platen\n"), wholeBedInColor},
    {"a feeder", element("pwg:InputSource", "Feeder"),
     "409 InputSource \"Feeder\" is not possible: expected Platen."},
    {"a camera", element("scan:InputSource", "Camera"),
     "409 InputSource \"Camera\" is not possible: expected Platen."},
};
INSTANTIATE_TEST_SUITE_P(Sources, ScanTicketTable, testing::ValuesIn(sources));

const TicketRow modes[] = {
    {"color", modeAndResolution("RGB24", "75"), "color 75: 637x876+0+0, jpeg, 3x8 637x876 at 75"},
    {"gray", modeAndResolution("Grayscale8", "600"), "gray 600: 5100x7014+0+0, jpeg, 1x8 5100x7014 at 600"},
    {"lineart", modeAndResolution("BlackAndWhite1", "150"),
     "gray 150: 1275x1753+0+0, threshold 128, jpeg, 1x1 1275x1753 at 150"},
    {"a threshold", element("scan:ColorMode", "BlackAndWhite1") + element("scan:Threshold", "255"),
     "gray 300: 2550x3507+0+0, threshold 255, jpeg, 1x1 2550x3507 at 300"},
    {"the lowest threshold", element("scan:ColorMode", "BlackAndWhite1") + element("scan:Threshold", " 0 "),
     "gray 300: 2550x3507+0+0, threshold 0, jpeg, 1x1 2550x3507 at 300"},
    {"a threshold of no effect", element("scan:Threshold", "1000"), wholeBedInColor},
    {"too high a threshold", element("scan:ColorMode", "BlackAndWhite1") + element("scan:Threshold", "256"),
     "409 Threshold \"256\" is not possible: expected 0 to 255."},
    {"16 bits", element("scan:ColorMode", "Grayscale16"),
     "409 ColorMode \"Grayscale16\" is not possible: expected BlackAndWhite1, Grayscale8 or RGB24."},
    {"a name in the wrong case", element("scan:ColorMode", "rgb24"),
     "409 ColorMode \"rgb24\" is not possible: expected BlackAndWhite1, Grayscale8 or RGB24."},
    {"an element of another vocabulary", element("pwg:ColorMode", "Grayscale8"), wholeBedInColor},
    {"the first of two", element("scan:ColorMode", "RGB24") + element("scan:ColorMode", "Grayscale8"),
     wholeBedInColor},
};
INSTANTIATE_TEST_SUITE_P(Modes, ScanTicketTable, testing::ValuesIn(modes));

const TicketRow resolutions[] = {
    {"200", modeAndResolution("RGB24", "200"), "color 200: 1700x2338+0+0, jpeg, 3x8 1700x2338 at 200"},
    {"color above the highest of color", modeAndResolution("RGB24", "400"),
     "color 300: 2550x3507+0+0, jpeg, 3x8 3400x4676 at 400"},
    {"color at twice the highest", modeAndResolution("RGB24", "600"),
     "color 300: 2550x3507+0+0, jpeg, 3x8 5100x7014 at 600"},
    {"one direction", element("scan:YResolution", "75"), "color 75: 637x876+0+0, jpeg, 3x8 637x876 at 75"},
    {"two that differ", element("scan:XResolution", "300") + element("scan:YResolution", "600"),
     "409 XResolution 300 and YResolution 600 differ, which is not possible."},
    {"one that is not advertised", element("scan:XResolution", "1200"),
     "409 XResolution \"1200\" is not possible: expected 75, 150, 200, 300, 400 or 600."},
    {"none", element("scan:XResolution", "0"),
     "409 XResolution \"0\" is not possible: expected 75, 150, 200, 300, 400 or 600."},
    {"text", element("scan:XResolution", "high"),
     "400 XResolution \"high\" is not a number from 0 to 4294967295."},
};
INSTANTIATE_TEST_SUITE_P(Resolutions, ScanTicketTable, testing::ValuesIn(resolutions));

const TicketRow formats[] = {
    {"PDF", element("pwg:DocumentFormat", "application/pdf"), wholeBedAsPdf},
    {"JPEG", element("pwg:DocumentFormat", "image/jpeg"), wholeBedInColor},
    {"PNG", element("pwg:DocumentFormat", "image/png"),
     "color 300: 2550x3507+0+0, png, 3x8 2550x3507 at 300"},
    {"the extended element alone", element("scan:DocumentFormatExt", "application/pdf"), wholeBedAsPdf},
    {"the extended element first",
     element("pwg:DocumentFormat", "image/jpeg") + element("scan:DocumentFormatExt", "application/pdf"),
     wholeBedAsPdf},
    {"one that is not advertised", element("pwg:DocumentFormat", "image/tiff"),
     "409 DocumentFormat \"image/tiff\" is not possible: expected application/pdf, image/jpeg or image/png."},
    {"an extended one that is not", element("scan:DocumentFormatExt", "application/octet-stream"),
     "409 DocumentFormatExt \"application/octet-stream\" is not possible: expected application/pdf, "
     "image/jpeg or image/png."},
};
INSTANTIATE_TEST_SUITE_P(Formats, ScanTicketTable, testing::ValuesIn(formats));

const TicketRow regions[] = {
    {"a part of the bed", regionElement("100", "200", "300", "400"),
     "color 300: 300x400+100+200, jpeg, 3x8 300x400 at 300"},
    {"all that is advertised: one white row", regionElement("0", "0", "2550", "3508"),
     "color 300: 2550x3507+0+0, jpeg, 3x8 2550x3508 at 300"},
    {"all of it at 75", modeAndResolution("RGB24", "75") + regionElement("0", "0", "2550", "3508"),
     "color 75: 637x876+0+0, jpeg, 3x8 637x877 at 75"},
    {"all of it in color at 600", modeAndResolution("RGB24", "600") + regionElement("0", "0", "2550", "3508"),
     "color 300: 2550x3507+0+0, jpeg, 3x8 5100x7016 at 600"},
    {"a part in color at 400", modeAndResolution("RGB24", "400") + regionElement("10", "20", "100", "101"),
     "color 300: 100x101+10+20, jpeg, 3x8 133x135 at 400"},
    {"any order, and height before width",
     "<pwg:ScanRegions><pwg:ScanRegion><pwg:Height>40</pwg:Height><pwg:Width>30</pwg:Width>"
     "<pwg:YOffset>20</pwg:YOffset><pwg:XOffset>10</pwg:XOffset></pwg:ScanRegion></pwg:ScanRegions>",
     "color 300: 30x40+10+20, jpeg, 3x8 30x40 at 300"},
    {"the other vocabulary",
     "<pwg:ScanRegions><scan:ScanRegion><scan:Height>40</scan:Height><pwg:Width>30</pwg:Width>"
     "</scan:ScanRegion></pwg:ScanRegions>",
     "color 300: 30x40+0+0, jpeg, 3x8 30x40 at 300"},
    {"no size: the rest of the bed",
     "<pwg:ScanRegions><pwg:ScanRegion><pwg:XOffset>50</pwg:XOffset><pwg:YOffset>3500</pwg:YOffset>"
     "</pwg:ScanRegion></pwg:ScanRegions>",
     "color 300: 2500x7+50+3500, jpeg, 3x8 2500x8 at 300"},
    {"units without a prefix",
     "<pwg:ScanRegions><pwg:ScanRegion>" + element("pwg:ContentRegionUnits", "ThreeHundredthsOfInches") +
         "</pwg:ScanRegion></pwg:ScanRegions>",
     "color 300: 2550x3507+0+0, jpeg, 3x8 2550x3508 at 300"},
    {"units with another prefix",
     "<pwg:ScanRegions><pwg:ScanRegion>" + element("pwg:ContentRegionUnits", "a:ThreeHundredthsOfInches") +
         "</pwg:ScanRegion></pwg:ScanRegions>",
     "color 300: 2550x3507+0+0, jpeg, 3x8 2550x3508 at 300"},
    {"other units",
     "<pwg:ScanRegions><pwg:ScanRegion>" + element("pwg:ContentRegionUnits", "escl:Millimeters") +
         "</pwg:ScanRegion></pwg:ScanRegions>",
     "409 ContentRegionUnits \"escl:Millimeters\" is not possible: expected escl:ThreeHundredthsOfInches."},
    {"two", regionElement("0", "0", "9", "9") + regionElement("0", "0", "9", "9"),
     "409 Only one scan region is possible."},
    {"no width", regionElement("0", "0", "0", "9"), "409 The scan region is empty."},
    {"no height", regionElement("0", "0", "9", "0"), "409 The scan region is empty."},
    {"one that extends beyond the bed", regionElement("2500", "3500", "100", "100"),
     "color 300: 50x7+2500+3500, jpeg, 3x8 50x8 at 300"},
    {"one of the largest numbers", regionElement("1", "1", "4294967295", "4294967295"),
     "color 300: 2549x3506+1+1, jpeg, 3x8 2549x3507 at 300"},
    {"one to the right of the bed", regionElement("2550", "0", "9", "9"),
     "409 The scan region lies outside the scan bed."},
    {"one below it", regionElement("0", "3507", "9", "9"), "409 The scan region lies outside the scan bed."},
};
INSTANTIATE_TEST_SUITE_P(Regions, ScanTicketTable, testing::ValuesIn(regions));

constexpr char must[] = " pwg:MustHonor=\"true\"";

const TicketRow mustHonor[] = {
    {"possible", regionElement("0", "0", "2550", "3508", must),
     "color 300: 2550x3507+0+0, jpeg, 3x8 2550x3508 at 300"},
    {"1/300 inch too wide", regionElement("1", "0", "2550", "9", must),
     "color 300: 2549x9+1+0, jpeg, 3x8 2549x9 at 300"},
    {"2/300 inch too wide", regionElement("2", "0", "2550", "9", must),
     "409 The scan region extends beyond the scan bed."},
    {"2/300 inch too high", regionElement("0", "0", "9", "3509", must),
     "409 The scan region extends beyond the scan bed."},
    {"as a digit", regionElement("2", "0", "2550", "9", " pwg:MustHonor=\"1\""),
     "409 The scan region extends beyond the scan bed."},
    {"without a prefix", regionElement("2", "0", "2550", "9", " MustHonor=\"true\""),
     "409 The scan region extends beyond the scan bed."},
    {"off", regionElement("2", "0", "2550", "9", " pwg:MustHonor=\"false\""),
     "color 300: 2548x9+2+0, jpeg, 3x8 2548x9 at 300"},
};
INSTANTIATE_TEST_SUITE_P(MustHonor, ScanTicketTable, testing::ValuesIn(mustHonor));

const TicketRow numbers[] = {
    {"blanks around it", regionElement(" 10", "\n20\t", "30 ", "40"),
     "color 300: 30x40+10+20, jpeg, 3x8 30x40 at 300"},
    {"zeros before it", regionElement("0010", "20", "30", "40"),
     "color 300: 30x40+10+20, jpeg, 3x8 30x40 at 300"},
    {"a sign", regionElement("+1", "0", "9", "9"),
     "400 XOffset \"+1\" is not a number from 0 to 4294967295."},
    {"less than zero", regionElement("0", "-1", "9", "9"),
     "400 YOffset \"-1\" is not a number from 0 to 4294967295."},
    {"a fraction", regionElement("0", "0", "9.5", "9"),
     "400 Width \"9.5\" is not a number from 0 to 4294967295."},
    {"nothing", regionElement("0", "0", "9", ""), "400 Height \"\" is not a number from 0 to 4294967295."},
    {"more than 32 bits", regionElement("0", "0", "4294967296", "9"),
     "400 Width \"4294967296\" is not a number from 0 to 4294967295."},
    {"another script", regionElement("0", "0", "\xD9\xA1", "9"),
     "400 Width \"??\" is not a number from 0 to 4294967295."},
    {"a long text", regionElement(std::string(50, 'x'), "0", "9", "9"),
     "400 XOffset \"xxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxx...\" is not a number from 0 to 4294967295."},
};
INSTANTIATE_TEST_SUITE_P(Numbers, ScanTicketTable, testing::ValuesIn(numbers));

TEST(ScanTicket, IsABadRequestUnlessTheBodyIsAScanSettingsDocument) {
  EXPECT_EQ(summaryOf(""), "400 The body is not well-formed XML: line 1: no element found.");
  EXPECT_EQ(summaryOf("<a/>"), "400 The root element is not ScanSettings of eSCL.");
}

}  // namespace
