#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "ShareIdentity.h"

namespace {

using namespace frontend::share;
using testing::Contains;
using testing::ElementsAre;
using testing::Not;
using testing::StartsWith;

// The name space that RFC 4122 has for names of DNS, as a machine ID.
constexpr char machineId[] = "6ba7b8109dad11d180b400c04fd430c8\n";

std::string uuidOf(const std::string& id, const std::string& host, const std::string& scanner) {
  return identityOf({id, host}, scanner, "").uuid;
}

TEST(ShareIdentity, HasAUuidOfVersionFive) {
  // As Python prints it: uuid.uuid5(uuid.NAMESPACE_DNS, "quenvar-q750 usb:1-2.3")
  EXPECT_EQ(uuidOf(machineId, "myhost", "usb:1-2.3"), "aa58bef4-a367-5912-a35d-cc2b2bb95640");
}

TEST(ShareIdentity, IsTheSameUnderAnotherHostName) {
  EXPECT_EQ(uuidOf(machineId, "myhost", "usb:1-2.3"), uuidOf(machineId, "yours", "usb:1-2.3"));
  EXPECT_EQ(uuidOf(machineId, "myhost", "usb:1-2.3"), uuidOf(std::string(machineId, 32), "", "usb:1-2.3"));
}

TEST(ShareIdentity, DiffersBetweenScannersAndMachines) {
  const std::string uuid = uuidOf(machineId, "myhost", "usb:1-2.3");
  EXPECT_NE(uuid, uuidOf(machineId, "myhost", "usb:1-2.4"));
  EXPECT_NE(uuid, uuidOf("0123456789abcdef0123456789abcdef", "myhost", "usb:1-2.3"));
}

TEST(ShareIdentity, TakesTheHostNameWhereThereIsNoMachineId) {
  for (const char* id : {"", "uninitialized\n", "0123", "0123456789abcdef0123456789abcdeg"}) {
    EXPECT_EQ(uuidOf(id, "myhost", "usb:1"), uuidOf("", "myhost", "usb:1")) << id;
    EXPECT_NE(uuidOf(id, "myhost", "usb:1"), uuidOf(id, "yours", "usb:1")) << id;
  }
}

TEST(ShareIdentity, IsNamedAfterTheHostOrByTheAdministrator) {
  EXPECT_EQ(identityOf({machineId, "myhost"}, "usb:1", "").name, "Quenvar Q750 @ myhost");
  EXPECT_EQ(identityOf({machineId, "myhost"}, "usb:1", "Reception").name, "Reception");
  EXPECT_EQ(identityOf({machineId, "myhost"}, "usb:1", "").serialNumber, "usb:1");
}

TEST(ShareIdentity, LeavesOutAHostWhoseNameIsNoText) {
  for (const char* host : {"", "B\xFCro", "my\nhost"}) {
    EXPECT_EQ(identityOf({machineId, host}, "usb:1", "").name, "Quenvar Q750");
  }
}

TEST(ShareName, IsUtf8WithoutControlCharacters) {
  for (const char* name : {"x", "Scanner @ B\xC3\xBCro", "\xF0\x9F\x93\x84", " "})
    EXPECT_TRUE(isShareName(name)) << name;
  for (const char* name :
       {"", "B\xFCro", "a\tb", "a\x7F", "\xC2\x9B", "\xC0\x80", "\xED\xA0\x80", "\xE2\x82"})
    EXPECT_FALSE(isShareName(name)) << name;
}

TEST(ShareIdentity, CutsANameBetweenTwoCharacters) {
  const std::string ascii(62, 'x');
  EXPECT_EQ(identityOf({}, "usb:1", ascii + "yz").name, ascii + "y");
  EXPECT_EQ(identityOf({}, "usb:1", ascii + "\xC3\xBC").name, ascii);
  EXPECT_EQ(identityOf({}, "usb:1", ascii + "\xF0\x9F\x93\x84").name, ascii);
  EXPECT_EQ(identityOf({}, "usb:1", std::string(64, '\x80')).name, "");
}

const ShareIdentity known = {"5f0c1a52-7a0e-5d5b-9d3c-0b6a6d1e7501", "usb:1-2.3", "Quenvar Q750 @ myhost"};

TEST(AnnouncedText, HasThePairsThatClientsRead) {
  EXPECT_THAT(
      announcedText(known, "http://myhost.local:8750", "Reception"),
      ElementsAre("txtvers=1", "vers=2.63", "rs=eSCL", "ty=Quenvar Q750",
                  "uuid=5f0c1a52-7a0e-5d5b-9d3c-0b6a6d1e7501", "pdl=application/pdf,image/jpeg,image/png",
                  "cs=color,grayscale,binary", "is=platen", "duplex=F", "adminurl=http://myhost.local:8750/",
                  "representation=http://myhost.local:8750/eSCL/icon.png", "note=Reception"));
}

TEST(AnnouncedText, HasNoAddressesWhereNoneIsKnown) {
  EXPECT_THAT(announcedText(known, "", "x"), Not(Contains(testing::HasSubstr("://"))));
}

TEST(AnnouncedText, HasNoPairOfMoreThan255Bytes) {
  const auto pairs = announcedText(known, "", std::string(300, 'x'));
  EXPECT_EQ(pairs.back(), "note=" + std::string(250, 'x'));
}

}  // namespace
