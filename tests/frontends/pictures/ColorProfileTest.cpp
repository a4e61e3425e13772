#include <gtest/gtest.h>
#include <lcms2.h>

#include <cstdlib>
#include <memory>
#include <numeric>
#include <vector>

#include "ColorProfile.h"

namespace {

using namespace frontend;

const PictureLayout colorLayout{1, 1, 3, 8, 300};
const PictureLayout grayLayout{1, 1, 1, 8, 300};
const PictureLayout lineartLayout{1, 1, 1, 1, 300};

using Profile = std::unique_ptr<void, decltype(&cmsCloseProfile)>;

Profile opened(const std::string& bytes) {
  return {cmsOpenProfileFromMem(bytes.data(), static_cast<cmsUInt32Number>(bytes.size())), cmsCloseProfile};
}

// The samples 0 to 255 of every channel, converted from one profile to the other.
std::vector<std::uint8_t> converted(const Profile& from, cmsUInt32Number fromType, const Profile& to,
                                    std::size_t channels) {
  std::vector<std::uint8_t> samples(256 * channels), result(256 * 3);
  for (std::size_t i = 0; i < samples.size(); ++i)
    samples[i] = static_cast<std::uint8_t>(i / channels + i % channels * 85);
  const auto transform = cmsCreateTransform(from.get(), fromType, to.get(), TYPE_RGB_8, INTENT_PERCEPTUAL,
                                            cmsFLAGS_NOOPTIMIZE | cmsFLAGS_NOCACHE);
  cmsDoTransform(transform, samples.data(), result.data(), 256);
  cmsDeleteTransform(transform);
  return result;
}

TEST(TheColorProfile, OfColorIsSrgb) {
  const Profile ours = opened(colorProfileOf(colorLayout));
  const Profile srgb(cmsCreate_sRGBProfile(), cmsCloseProfile);
  ASSERT_NE(ours, nullptr);
  EXPECT_EQ(converted(ours, TYPE_RGB_8, srgb, 3), converted(srgb, TYPE_RGB_8, srgb, 3));
}

TEST(TheColorProfile, OfGrayHasTheGammaOfItsName) {
  const Profile ours = opened(colorProfileOf(grayLayout));
  ASSERT_NE(ours, nullptr);
  EXPECT_EQ(cmsGetColorSpace(ours.get()), cmsSigGrayData);
  const auto* curve = static_cast<const cmsToneCurve*>(cmsReadTag(ours.get(), cmsSigGrayTRCTag));
  EXPECT_NEAR(cmsEstimateGamma(curve, 0.01), 2.2, 0.01);
}

TEST(TheColorProfile, OfLineartIsNone) {
  EXPECT_EQ(colorProfileOf(lineartLayout), "");
}

TEST(TheColorProfile, IsOfVersionTwoAndSmall) {
  EXPECT_NEAR(cmsGetProfileVersion(opened(colorProfileOf(colorLayout)).get()), 2.1, 0.01);
  EXPECT_NEAR(cmsGetProfileVersion(opened(colorProfileOf(grayLayout)).get()), 2.1, 0.01);
  EXPECT_LT(colorProfileOf(colorLayout).size(), 3000U);
  EXPECT_LT(colorProfileOf(grayLayout).size(), 600U);
}

// FNV-1a, to compare the bytes with those of every other machine and day.
std::uint64_t hashOf(const std::string& bytes) {
  return std::accumulate(bytes.begin(), bytes.end(), 0xCBF29CE484222325U, [](std::uint64_t hash, char byte) {
    return (hash ^ static_cast<unsigned char>(byte)) * 0x100000001B3U;
  });
}

TEST(TheColorProfile, HasTheSameBytesEverywhere) {
  EXPECT_EQ(colorProfileOf(colorLayout).substr(24, 12), std::string("\x07\xEA\0\1\0\1\0\0\0\0\0\0", 12));
  EXPECT_EQ(hashOf(colorProfileOf(colorLayout)), 5248755551682449976U);
  EXPECT_EQ(hashOf(colorProfileOf(grayLayout)), 7891844290004210694U);
}

}  // namespace
