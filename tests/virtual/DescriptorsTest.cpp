#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>
#include <string>

#include "Descriptors.h"
#include "DeviceIdentity.h"
#include "StandardRequests.h"

namespace virtualscanner {
namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;

using Bytes = std::vector<std::uint8_t>;

Bytes slice(const Bytes& bytes, std::size_t offset, std::size_t count) {
  const auto begin = bytes.begin() + static_cast<std::ptrdiff_t>(offset);
  return {begin, begin + static_cast<std::ptrdiff_t>(count)};
}

TEST(Descriptors, NameTheModelsIdentity) {
  const Bytes device = makeDeviceDescriptor();
  ASSERT_EQ(device.size(), 18U);
  EXPECT_THAT(slice(device, 0, 4), ElementsAre(18, 1, 0x00, 0x02));
  EXPECT_EQ(device[8] | device[9] << 8, platform::deviceVendorId);
  EXPECT_EQ(device[10] | device[11] << 8, platform::deviceProductId);
  EXPECT_EQ(device[17], 1) << "configurations";
}

TEST(Descriptors, GiveThePlainDeviceThreeBulkEndpoints) {
  EXPECT_THAT(makeConfigurationDescriptor(false), ElementsAreArray({9, 2, 39,   0, 1,    1,    0, 0xC0, 1,  //
                                                                    9, 4, 0,    0, 3,    0xFF, 0, 0,    0,  //
                                                                    7, 5, 0x02, 2, 0x00, 0x02, 0,           //
                                                                    7, 5, 0x8B, 2, 0x00, 0x02, 0,           //
                                                                    7, 5, 0x88, 2, 0x00, 0x02, 0}));
}

TEST(Descriptors, GiveTheVariantNoEndpointsInSetting0And13InSetting1) {
  const Bytes bytes = makeConfigurationDescriptor(true);
  ASSERT_EQ(bytes.size(), 9U + 9 + 9 + 13 * 7);
  EXPECT_EQ(bytes[2] | bytes[3] << 8, static_cast<int>(bytes.size()));
  EXPECT_THAT(slice(bytes, 9, 9), ElementsAre(9, 4, 0, 0, 0, 0xFF, 0, 0, 0));
  EXPECT_THAT(slice(bytes, 18, 9), ElementsAre(9, 4, 0, 1, 13, 0xFF, 0, 0, 0));
  EXPECT_EQ(bytes[27 + 1], 5) << "an endpoint descriptor follows";
}

TEST(Descriptors, ListEveryAddressOnce) {
  std::set<std::uint8_t> addresses;
  for (const Endpoint& endpoint : multifunctionEndpoints()) addresses.insert(endpoint.address);
  EXPECT_EQ(addresses.size(), 13U);
  for (const std::uint8_t address : {requestEndpoint, replyEndpoint, dataEndpoint}) {
    EXPECT_TRUE(addresses.contains(address));
  }
}

TEST(Descriptors, HaveStrings) {
  EXPECT_THAT(makeStringDescriptor(0), ElementsAre(4, 3, 9, 4));
  EXPECT_THAT(makeStringDescriptor(1),
              ElementsAre(16, 3, 'Q', 0, 'u', 0, 'e', 0, 'n', 0, 'v', 0, 'a', 0, 'r', 0));
  EXPECT_EQ(makeStringDescriptor(2).size(), 2 + 2 * std::string("Quenvar Q750").size());
  EXPECT_TRUE(makeStringDescriptor(4).empty());
  EXPECT_TRUE(makeStringDescriptor(255).empty());
}

class Requests : public testing::Test {
 protected:
  std::optional<Bytes> perform(std::uint8_t type, std::uint8_t request, std::uint16_t value = 0,
                               std::uint16_t index = 0) {
    return device_.perform({type, request, value, index, 0});
  }
  bool isHaltedByStatus(std::uint8_t address) { return perform(0x82, 0, 0, address).value().at(0) == 1; }

  StandardRequests device_{true};
};

TEST_F(Requests, AnswerDescriptors) {
  EXPECT_EQ(perform(0x80, 6, 0x0100), makeDeviceDescriptor());
  EXPECT_EQ(perform(0x80, 6, 0x0200), makeConfigurationDescriptor(true));
  EXPECT_EQ(perform(0x80, 6, 0x0302, 0x0409), makeStringDescriptor(2));
  for (const std::uint16_t unknown : std::initializer_list<std::uint16_t>{0x0201, 0x0304, 0x0600, 0x0000}) {
    EXPECT_EQ(perform(0x80, 6, unknown), std::nullopt) << unknown;
  }
}

TEST_F(Requests, SwitchTheAlternateSettingAndClearItsHalts) {
  EXPECT_FALSE(device_.has(dataEndpoint));
  EXPECT_EQ(perform(0x01, 11, 1), Bytes{});
  EXPECT_EQ(perform(0x81, 10), Bytes{1});
  EXPECT_TRUE(device_.has(dataEndpoint));
  device_.halt(dataEndpoint);
  EXPECT_EQ(perform(0x01, 11, 1), Bytes{});
  EXPECT_FALSE(device_.isHalted(dataEndpoint));
  EXPECT_EQ(perform(0x01, 11, 2), std::nullopt);
  EXPECT_EQ(perform(0x01, 11, 0x101), std::nullopt);
  EXPECT_EQ(perform(0x01, 11, 1, 1), std::nullopt) << "another interface";
  EXPECT_EQ(perform(0x81, 10), Bytes{1});
}

TEST_F(Requests, SetAndClearTheHaltOfAnEndpointOfTheCurrentSetting) {
  EXPECT_EQ(perform(0x02, 3, 0, dataEndpoint), std::nullopt) << "setting 0 has none";
  perform(0x01, 11, 1);
  EXPECT_EQ(perform(0x02, 3, 0, dataEndpoint), Bytes{});
  EXPECT_TRUE(isHaltedByStatus(dataEndpoint));
  EXPECT_FALSE(isHaltedByStatus(replyEndpoint));
  EXPECT_EQ(perform(0x02, 1, 0, dataEndpoint), Bytes{});
  EXPECT_FALSE(isHaltedByStatus(dataEndpoint));
  EXPECT_EQ(perform(0x02, 1, 1, dataEndpoint), std::nullopt) << "no such feature";
  EXPECT_EQ(perform(0x02, 1, 0, 0x100 | dataEndpoint), std::nullopt);
}

TEST_F(Requests, KnowTheirConfiguration) {
  EXPECT_EQ(perform(0x80, 8), Bytes{1});
  EXPECT_EQ(perform(0x00, 9, 0), Bytes{});
  EXPECT_EQ(perform(0x80, 8), Bytes{0});
  EXPECT_EQ(perform(0x00, 9, 2), std::nullopt);
  device_.reset();
  EXPECT_EQ(perform(0x80, 8), Bytes{1});
}

TEST_F(Requests, LeaveEverythingElseUnanswered) {
  for (const std::uint8_t type : std::initializer_list<std::uint8_t>{0x00, 0x01, 0x02, 0x80, 0x81, 0x82, 0x40,
                                                                     0xC0, 0x21, 0xA1, 0x03}) {
    EXPECT_EQ(perform(type, 0x77), std::nullopt) << int{type};
  }
}

TEST(StandardRequests, GiveThePlainDeviceOneSetting) {
  StandardRequests device(false);
  EXPECT_TRUE(device.hasSetting(0));
  EXPECT_FALSE(device.hasSetting(1));
  EXPECT_EQ(device.endpoints(0).size(), 3U);
  EXPECT_EQ(device.endpoints(1).size(), 0U);
  EXPECT_EQ(device.perform({0x01, 11, 1, 0, 0}), std::nullopt);
}

}  // namespace
}  // namespace virtualscanner
