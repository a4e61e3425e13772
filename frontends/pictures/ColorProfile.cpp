#include "ColorProfile.h"

#include <lcms2.h>
#include <lcms2_plugin.h>

#include <algorithm>
#include <array>
#include <memory>
#include <new>

namespace frontend {
namespace {

using Profile = std::unique_ptr<void, decltype(&cmsCloseProfile)>;
using Curve = std::unique_ptr<cmsToneCurve, decltype(&cmsFreeToneCurve)>;

constexpr double profileVersion = 2.1;
constexpr std::size_t creationTimeAt = 24;  // in the header, ICC.1: year, month, day, hour, minute, second
constexpr std::array<unsigned char, 12> creationTime = {0x07, 0xEA, 0, 1, 0, 1, 0, 0, 0, 0, 0, 0};  // 2026

// Profiles of version 2 hold tables, not formulas. Left to itself the library samples 4096 points, which
// makes a small JPEG twice as large; with 1024 no 8-bit value is rendered differently.
Curve sampled(const cmsToneCurve* formula) {
  std::array<cmsUInt16Number, 1024> points;
  for (std::size_t i = 0; i < points.size(); ++i) {
    points[i] =
        cmsEvalToneCurve16(formula, static_cast<cmsUInt16Number>((i * 65535 + 511) / (points.size() - 1)));
  }
  return {cmsBuildTabulatedToneCurve16(nullptr, points.size(), points.data()), cmsFreeToneCurve};
}

// IEC 61966-2-1.
Profile makeSrgb() {
  constexpr cmsCIExyY white = {0.3127, 0.3290, 1.0};
  constexpr cmsCIExyYTRIPLE primaries = {{0.64, 0.33, 1.0}, {0.30, 0.60, 1.0}, {0.15, 0.06, 1.0}};
  constexpr int powerWithLinearStart = 4;
  constexpr double parameters[] = {2.4, 1 / 1.055, 0.055 / 1.055, 1 / 12.92, 0.04045};
  const Curve formula{cmsBuildParametricToneCurve(nullptr, powerWithLinearStart, parameters),
                      cmsFreeToneCurve};
  if (!formula) throw std::bad_alloc();
  const Curve curve = sampled(formula.get());
  if (!curve) throw std::bad_alloc();
  cmsToneCurve* const channels[] = {curve.get(), curve.get(), curve.get()};
  return {cmsCreateRGBProfile(&white, &primaries, channels), cmsCloseProfile};
}

Profile makeGray() {
  const Curve curve{cmsBuildGamma(nullptr, 2.2), cmsFreeToneCurve};
  if (!curve) throw std::bad_alloc();
  return {cmsCreateGrayProfile(cmsD50_xyY(), curve.get()), cmsCloseProfile};
}

// A profile is used by one thread. The library allocates its own mutexes and crashes if that fails.
void doWithoutMutexes() {
  static char mutex = 0;  // never read
  static cmsPluginMutex plugin{{cmsPluginMagicNumber, LCMS_VERSION, cmsPluginMutexSig, nullptr},
                               [](cmsContext) -> void* { return &mutex; },
                               [](cmsContext, void*) {},
                               [](cmsContext, void*) -> cmsBool { return TRUE; },
                               [](cmsContext, void*) {}};
  cmsPlugin(&plugin);
}

bool describe(const Profile& profile, const char* name) {
  const std::unique_ptr<cmsMLU, decltype(&cmsMLUfree)> text(cmsMLUalloc(nullptr, 1), cmsMLUfree);
  return text && cmsMLUsetASCII(text.get(), "en", "US", name) != 0 &&
         cmsWriteTag(profile.get(), cmsSigProfileDescriptionTag, text.get()) != 0;
}

std::string bytesOf(Profile (*make)(), const char* name) {
  doWithoutMutexes();
  const Profile profile = make();
  // The library fails only if it runs out of memory.
  if (!profile || !describe(profile, name)) throw std::bad_alloc();
  cmsSetProfileVersion(profile.get(), profileVersion);
  cmsUInt32Number size = 0;
  if (cmsSaveProfileToMem(profile.get(), nullptr, &size) == 0) throw std::bad_alloc();
  std::string bytes(size, '\0');
  if (cmsSaveProfileToMem(profile.get(), bytes.data(), &size) == 0) throw std::bad_alloc();
  // The library writes the time of this run and has no function that changes it.
  std::copy(creationTime.begin(), creationTime.end(), bytes.begin() + creationTimeAt);
  return bytes;
}

}  // namespace

const std::string& colorProfileOf(const PictureLayout& layout) {
  static const std::string color = bytesOf(makeSrgb, "sRGB");
  static const std::string gray = bytesOf(makeGray, "Gray, gamma 2.2");
  static const std::string none;
  if (layout.bitsPerChannel == 1) return none;
  return layout.channels == 3 ? color : gray;
}

}  // namespace frontend
