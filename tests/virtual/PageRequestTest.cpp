#include <gtest/gtest.h>

#include <functional>
#include <limits>
#include <memory>
#include <string>

#include "DeviceHost.h"
#include "Exceptions.h"
#include "IntegerElem.h"
#include "MapElem.h"
#include "PageRequest.h"
#include "StringElem.h"

namespace virtualscanner {
namespace {

Element* at(Element& tree, std::initializer_list<const char*> path) {
  Element* element = &tree;
  for (const char* name : path) element = element->getChildRaw(std::string(name));
  return element;
}

void set(Element& container, const std::string& name, Element* value) {
  delete container.setChild(name, value);
}

// The device's complaint about a tree that was changed in one place; "none" if it accepts it.
std::string complaintAfter(const std::function<void(Element& scanParameters)>& change) {
  const auto tree = parameterTree({300, true, 0, 0, 100, 50});
  change(*at(*tree, {"scanParameters"}));
  try {
    decodePageRequest(*tree);
    return "none";
  } catch (const ObjectStoreException& failure) {
    return failure.getMessage();
  }
}

TEST(PageRequest, ReadsTheRequestFromTheTree) {
  for (const PageRequest& wanted :
       {PageRequest{75, true, 0, 0, 637, 876}, PageRequest{600, false, 0, 0, 5100, 7015},
        PageRequest{200, true, 17, 23, 1, 1}, PageRequest{400, false, -20, -30, 40, 50}}) {
    EXPECT_EQ(decodePageRequest(*parameterTree(wanted)), wanted);
  }
}

TEST(PageRequest, CountsItsBytes) {
  EXPECT_EQ((PageRequest{300, true, 0, 0, 10, 4}.imageBytes()), 120U);
  EXPECT_EQ((PageRequest{300, false, 0, 0, 10, 4}.imageBytes()), 40U);
  EXPECT_EQ((PageRequest{300, true, 0, 0, 10, 4}.bytesPerRow()), 30U);
}

TEST(PageRequest, NamesWhatIsMissing) {
  for (const std::string name : {"contentType", "bitdepth", "resolution", "scanWindow"}) {
    EXPECT_EQ(complaintAfter([&](Element& scan) { delete scan.removeChild(name); }),
              "the parameter " + name + " is missing");
  }
  EXPECT_EQ(complaintAfter(
                [](Element& scan) { delete at(scan, {"scanWindow"})->removeChild(std::string("topLeft")); }),
            "the parameter topLeft is missing");
  EXPECT_EQ(complaintAfter([](Element& scan) {
              delete at(scan, {"scanWindow", "bottomRight"})->removeChild(std::string("y"));
            }),
            "the parameter y is missing");
  EXPECT_EQ(complaintAfter([](Element& scan) { set(scan, "scanWindow", new IntegerElem(1)); }),
            "the parameter topLeft is missing");
}

TEST(PageRequest, RefusesATreeThatIsNone) {
  IntegerElem number(1);
  MapElem empty;
  EXPECT_THROW(decodePageRequest(number), ObjectStoreException);
  EXPECT_THROW(decodePageRequest(empty), ObjectStoreException);
}

TEST(PageRequest, NamesWhatIsNoNumber) {
  EXPECT_EQ(complaintAfter([](Element& scan) { set(scan, "resolution", new StringElem("fine")); }),
            "the parameter resolution is not a number");
  EXPECT_EQ(complaintAfter([](Element& scan) { set(scan, "bitdepth", new MapElem); }),
            "the parameter bitdepth is not a number");
}

TEST(PageRequest, TakesOnlyTheResolutionsOfTheDevice) {
  for (const int resolution : {75, 150, 200, 300, 400, 600}) {
    EXPECT_EQ(complaintAfter([=](Element& scan) { set(scan, "resolution", new IntegerElem(resolution)); }),
              "none");
  }
  for (const int resolution : {-300, 0, 1, 299, 1200, std::numeric_limits<int>::max()}) {
    EXPECT_EQ(complaintAfter([=](Element& scan) { set(scan, "resolution", new IntegerElem(resolution)); }),
              "the resolution is none of 75, 150, 200, 300, 400 and 600 dots per inch");
  }
}

TEST(PageRequest, TakesOnlyColorAndGrey) {
  const auto complaint = [](int contentType, int bitdepth) {
    return complaintAfter([=](Element& scan) {
      set(scan, "contentType", new IntegerElem(contentType));
      set(scan, "bitdepth", new IntegerElem(bitdepth));
    });
  };
  EXPECT_EQ(complaint(2, 24), "none");
  EXPECT_EQ(complaint(1, 8), "none");
  for (const auto& [contentType, bitdepth] : {std::pair{2, 8}, {1, 24}, {0, 8}, {0, 1}, {3, 24}, {1, 1}}) {
    EXPECT_EQ(complaint(contentType, bitdepth),
              "contentType and bitdepth are neither 2 and 24 (colour) nor 1 and 8 (grey)");
  }
}

std::string complaintAboutWindow(int left, int top, int right, int bottom) {
  return complaintAfter([=](Element& scan) {
    Element* topLeft = at(scan, {"scanWindow", "topLeft"});
    Element* bottomRight = at(scan, {"scanWindow", "bottomRight"});
    set(*topLeft, "x", new IntegerElem(left));
    set(*topLeft, "y", new IntegerElem(top));
    set(*bottomRight, "x", new IntegerElem(right));
    set(*bottomRight, "y", new IntegerElem(bottom));
  });
}

TEST(PageRequest, RefusesEmptyAndTurnedWindows) {
  EXPECT_EQ(complaintAboutWindow(5, 5, 6, 6), "none");
  for (const auto& [right, bottom] : {std::pair{5, 6}, {6, 5}, {4, 6}, {6, 4}}) {
    EXPECT_EQ(complaintAboutWindow(5, 5, right, bottom), "the scan window is empty");
  }
}

TEST(PageRequest, RefusesWindowsOfAbsurdSize) {
  constexpr int most = std::numeric_limits<int>::max(), least = std::numeric_limits<int>::min();
  constexpr int widest = 4 * 2550, highest = 4 * 3507;  // at 300 dots per inch
  EXPECT_EQ(complaintAboutWindow(0, 0, widest, highest), "none");
  EXPECT_EQ(complaintAboutWindow(most - 10, least, most, least + 10), "none") << "far off, but small";
  for (const auto& [right, bottom] : {std::pair{widest + 1, 1}, {1, highest + 1}, {most, most}}) {
    EXPECT_EQ(complaintAboutWindow(0, 0, right, bottom),
              "the scan window is larger than this device can scan");
  }
  EXPECT_EQ(complaintAboutWindow(least, least, most, most),
            "the scan window is larger than this device can scan");
}

}  // namespace
}  // namespace virtualscanner
