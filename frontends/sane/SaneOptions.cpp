#include "SaneOptions.h"

#include <sane/saneopts.h>
#include <strings.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>

#include "Bed.h"
#include "ScanLimits.h"

namespace frontend {
namespace {

constexpr SANE_String_Const modeNames[] = {SANE_VALUE_SCAN_MODE_COLOR, SANE_VALUE_SCAN_MODE_GRAY,
                                           SANE_VALUE_SCAN_MODE_LINEART, nullptr};
constexpr char flatbed[] = "Flatbed";
constexpr SANE_String_Const sourceNames[] = {flatbed, nullptr};

// A list of words begins with their number.
constexpr SANE_Word eightBits[] = {1, 8};
constexpr SANE_Word oneBit[] = {1, 1};

constexpr auto resolutionsUpTo(std::uint32_t highest) {
  std::array<SANE_Word, 1 + bedResolutions.size()> list{};
  for (const std::uint32_t resolution : bedResolutions) {
    if (resolution <= highest) list[static_cast<std::size_t>(++list[0])] = static_cast<SANE_Word>(resolution);
  }
  return list;
}
constexpr auto colorResolutions = resolutionsUpTo(highestColorResolution);
constexpr auto allResolutions = resolutionsUpTo(bedResolutions.back());

constexpr SANE_Range thresholds = {0, limits::highestThreshold, 1};
constexpr SANE_Range tonePercents = {limits::lowestTonePercent, limits::highestTonePercent, 1};

// Gammas count in hundredths, which SANE's fixed-point numbers can only approximate: any number in the range
// is accepted, and the scan is made with the nearest hundredth. Rounded down like SANE_FIX(), with which
// front ends convert what a user types, so that the range includes its limits.
constexpr SANE_Word fixedHundredths(std::uint32_t hundredths) {
  return static_cast<SANE_Word>((std::int64_t{hundredths} << SANE_FIXED_SCALE_SHIFT) / 100);
}
constexpr SANE_Range gammas = {fixedHundredths(limits::lowestGammaHundredths),
                               fixedHundredths(limits::highestGammaHundredths), 0};
std::uint32_t hundredthsOf(SANE_Word gamma) {
  return static_cast<std::uint32_t>((std::int64_t{gamma} * 100 + SANE_FIX(0.5)) >> SANE_FIXED_SCALE_SHIFT);
}

// The nearest value of a list; the lower of two equally near.
SANE_Word nearest(const SANE_Word* list, SANE_Word value) {
  const SANE_Word* end = list + 1 + list[0];
  const auto distance = [value](SANE_Word legal) { return std::abs(std::int64_t{legal} - value); };
  return *std::min_element(list + 1, end,
                           [&](SANE_Word a, SANE_Word b) { return distance(a) < distance(b); });
}

// The index in a list of names, ignoring case; -1 if the text is none of them. Reads no byte past `size`.
int indexOf(const char* text, SANE_Int size, const SANE_String_Const* names) {
  const std::size_t length = strnlen(text, static_cast<std::size_t>(size));
  for (int i = 0; names[i] != nullptr; ++i) {
    if (std::strlen(names[i]) == length && strncasecmp(names[i], text, length) == 0) return i;
  }
  return -1;
}

struct Wording {
  SANE_String_Const name, title, text;
};

// A settable integer without limits; callers change what is different.
SANE_Option_Descriptor word(const Wording& wording) {
  SANE_Option_Descriptor descriptor{};
  descriptor.name = wording.name;
  descriptor.title = wording.title;
  descriptor.desc = wording.text;
  descriptor.type = SANE_TYPE_INT;
  descriptor.size = sizeof(SANE_Word);
  descriptor.cap = SANE_CAP_SOFT_SELECT | SANE_CAP_SOFT_DETECT;
  return descriptor;
}

SANE_Option_Descriptor group(const Wording& wording) {
  SANE_Option_Descriptor descriptor = word(wording);
  descriptor.type = SANE_TYPE_GROUP;
  descriptor.size = 0;
  descriptor.cap = 0;
  return descriptor;
}

SANE_Option_Descriptor choice(const Wording& wording, const SANE_String_Const* list) {
  SANE_Option_Descriptor descriptor = word(wording);
  descriptor.type = SANE_TYPE_STRING;
  descriptor.size = 0;
  for (const SANE_String_Const* name = list; *name != nullptr; ++name) {
    descriptor.size = std::max(descriptor.size, static_cast<SANE_Int>(std::strlen(*name) + 1));
  }
  descriptor.constraint_type = SANE_CONSTRAINT_STRING_LIST;
  descriptor.constraint.string_list = list;
  return descriptor;
}

// The range outlives the descriptor.
SANE_Option_Descriptor ranged(const Wording& wording, SANE_Value_Type type, SANE_Unit unit,
                              const SANE_Range& range) {
  SANE_Option_Descriptor descriptor = word(wording);
  descriptor.type = type;
  descriptor.unit = unit;
  descriptor.constraint_type = SANE_CONSTRAINT_RANGE;
  descriptor.constraint.range = &range;
  return descriptor;
}

}  // namespace

SaneOptions::SaneOptions() {
  describeStandardOptions();
  describeGeometry();
  describeEnhancements();
  words_[count] = numberOfOptions;
  words_[right] = descriptors_[right].constraint.range->max;
  words_[bottom] = descriptors_[bottom].constraint.range->max;
  words_[threshold] = limits::defaultThreshold;
  words_[brightness] = Tone().brightness;
  words_[contrast] = Tone().contrast;
  words_[gamma] = fixedHundredths(Tone().gammaHundredths);
  followMode();
}

void SaneOptions::describeStandardOptions() {
  descriptors_[count] = word({SANE_NAME_NUM_OPTIONS, SANE_TITLE_NUM_OPTIONS, SANE_DESC_NUM_OPTIONS});
  descriptors_[count].cap = SANE_CAP_SOFT_DETECT;
  descriptors_[standardGroup] = group({SANE_NAME_STANDARD, SANE_TITLE_STANDARD, SANE_DESC_STANDARD});
  descriptors_[mode] = choice({SANE_NAME_SCAN_MODE, SANE_TITLE_SCAN_MODE, SANE_DESC_SCAN_MODE}, modeNames);
  descriptors_[depth] = word({SANE_NAME_BIT_DEPTH, SANE_TITLE_BIT_DEPTH, SANE_DESC_BIT_DEPTH});
  descriptors_[depth].unit = SANE_UNIT_BIT;
  descriptors_[resolution] =
      word({SANE_NAME_SCAN_RESOLUTION, SANE_TITLE_SCAN_RESOLUTION, SANE_DESC_SCAN_RESOLUTION});
  descriptors_[resolution].unit = SANE_UNIT_DPI;
  for (const Index listed : {depth, resolution})
    descriptors_[listed].constraint_type = SANE_CONSTRAINT_WORD_LIST;
  descriptors_[source] =
      choice({SANE_NAME_SCAN_SOURCE, SANE_TITLE_SCAN_SOURCE, SANE_DESC_SCAN_SOURCE}, sourceNames);
  descriptors_[preview] = word({SANE_NAME_PREVIEW, SANE_TITLE_PREVIEW, SANE_DESC_PREVIEW});
  descriptors_[preview].type = SANE_TYPE_BOOL;
}

void SaneOptions::describeGeometry() {
  static const SANE_Range horizontal = {0, bedWidthFixed(), 0};
  static const SANE_Range vertical = {0, bedHeightFixed(), 0};
  const auto edge = [](const Wording& wording, const SANE_Range& range) {
    return ranged(wording, SANE_TYPE_FIXED, SANE_UNIT_MM, range);
  };
  descriptors_[geometryGroup] = group({SANE_NAME_GEOMETRY, SANE_TITLE_GEOMETRY, SANE_DESC_GEOMETRY});
  descriptors_[left] = edge({SANE_NAME_SCAN_TL_X, SANE_TITLE_SCAN_TL_X, SANE_DESC_SCAN_TL_X}, horizontal);
  descriptors_[top] = edge({SANE_NAME_SCAN_TL_Y, SANE_TITLE_SCAN_TL_Y, SANE_DESC_SCAN_TL_Y}, vertical);
  descriptors_[right] = edge({SANE_NAME_SCAN_BR_X, SANE_TITLE_SCAN_BR_X, SANE_DESC_SCAN_BR_X}, horizontal);
  descriptors_[bottom] = edge({SANE_NAME_SCAN_BR_Y, SANE_TITLE_SCAN_BR_Y, SANE_DESC_SCAN_BR_Y}, vertical);
}

void SaneOptions::describeEnhancements() {
  descriptors_[enhancementGroup] =
      group({SANE_NAME_ENHANCEMENT, SANE_TITLE_ENHANCEMENT, SANE_DESC_ENHANCEMENT});
  descriptors_[threshold] = ranged({SANE_NAME_THRESHOLD, SANE_TITLE_THRESHOLD, SANE_DESC_THRESHOLD},
                                   SANE_TYPE_INT, SANE_UNIT_NONE, thresholds);
  descriptors_[brightness] = ranged({SANE_NAME_BRIGHTNESS, SANE_TITLE_BRIGHTNESS, SANE_DESC_BRIGHTNESS},
                                    SANE_TYPE_INT, SANE_UNIT_PERCENT, tonePercents);
  descriptors_[contrast] = ranged({SANE_NAME_CONTRAST, SANE_TITLE_CONTRAST, SANE_DESC_CONTRAST},
                                  SANE_TYPE_INT, SANE_UNIT_PERCENT, tonePercents);
  descriptors_[gamma] = ranged({SANE_NAME_ANALOG_GAMMA, SANE_TITLE_ANALOG_GAMMA, SANE_DESC_ANALOG_GAMMA},
                               SANE_TYPE_FIXED, SANE_UNIT_NONE, gammas);
  // The scanner has none of them.
  for (const Index one : {threshold, brightness, contrast, gamma}) descriptors_[one].cap |= SANE_CAP_EMULATED;
}

void SaneOptions::followMode() {
  const bool lineart = mode_ == Mode::lineart;
  descriptors_[resolution].constraint.word_list =
      mode_ == Mode::color ? colorResolutions.data() : allResolutions.data();
  words_[resolution] = nearest(descriptors_[resolution].constraint.word_list, requestedResolution_);
  descriptors_[depth].constraint.word_list = lineart ? oneBit : eightBits;
  words_[depth] = lineart ? 1 : 8;
}

const SANE_Option_Descriptor* SaneOptions::descriptor(SANE_Int index) const {
  if (index < 0 || index >= numberOfOptions) return nullptr;
  return &descriptors_[index];
}

SANE_Status SaneOptions::get(SANE_Int index, void* value) const {
  const SANE_Option_Descriptor* about = descriptor(index);
  if (about == nullptr || value == nullptr || about->type == SANE_TYPE_GROUP) return SANE_STATUS_INVAL;
  if (index == mode) {
    std::strcpy(static_cast<char*>(value), modeNames[static_cast<int>(mode_)]);
  } else if (index == source) {
    std::strcpy(static_cast<char*>(value), flatbed);
  } else {
    std::memcpy(value, &words_[index], sizeof(SANE_Word));
  }
  return SANE_STATUS_GOOD;
}

SANE_Status SaneOptions::set(SANE_Int index, void* value, SANE_Int* info) {
  const SANE_Option_Descriptor* about = descriptor(index);
  if (about == nullptr || value == nullptr) return SANE_STATUS_INVAL;
  if (!SANE_OPTION_IS_SETTABLE(about->cap)) return SANE_STATUS_INVAL;
  SANE_Int changes = 0;
  SANE_Status status = SANE_STATUS_GOOD;
  if (index == mode) {
    status = setMode(static_cast<const char*>(value), &changes);
  } else if (index == source) {
    const bool known = indexOf(static_cast<const char*>(value), about->size, sourceNames) >= 0;
    status = known ? SANE_STATUS_GOOD : SANE_STATUS_INVAL;
  } else {
    status = setWord(static_cast<Index>(index), *static_cast<SANE_Word*>(value), &changes);
  }
  if (info != nullptr) *info = changes;
  return status;
}

SANE_Status SaneOptions::setMode(const char* text, SANE_Int* info) {
  const int found = indexOf(text, descriptors_[mode].size, modeNames);
  if (found < 0) return SANE_STATUS_INVAL;
  const Mode wanted = static_cast<Mode>(found);
  if (wanted == mode_) return SANE_STATUS_GOOD;
  mode_ = wanted;
  followMode();
  *info = SANE_INFO_RELOAD_OPTIONS | SANE_INFO_RELOAD_PARAMS;
  return SANE_STATUS_GOOD;
}

SANE_Status SaneOptions::setWord(Index index, SANE_Word& value, SANE_Int* info) {
  const SANE_Option_Descriptor& about = descriptors_[index];
  SANE_Word legal = value;
  if (about.type == SANE_TYPE_BOOL && value != SANE_FALSE && value != SANE_TRUE) return SANE_STATUS_INVAL;
  if (index == resolution) requestedResolution_ = value;
  if (about.constraint_type == SANE_CONSTRAINT_WORD_LIST) {
    legal = nearest(about.constraint.word_list, value);
  } else if (about.constraint_type == SANE_CONSTRAINT_RANGE) {
    legal = std::clamp(value, about.constraint.range->min, about.constraint.range->max);
  }
  // A legal value is not written back: it may be in read-only memory.
  if (legal != value) {
    *info |= SANE_INFO_INEXACT;
    value = legal;
  }
  if (legal == words_[index]) return SANE_STATUS_GOOD;
  words_[index] = legal;
  if (index == resolution || about.unit == SANE_UNIT_MM) *info |= SANE_INFO_RELOAD_PARAMS;
  return SANE_STATUS_GOOD;
}

Tone SaneOptions::tone() const {
  return {words_[brightness], words_[contrast], hundredthsOf(words_[gamma])};
}

ScanRequest SaneOptions::requestFor(const PixelArea& area) const {
  ScanRequest request;
  request.settings.resolution = static_cast<std::uint32_t>(words_[resolution]);
  request.settings.mode = mode_ == Mode::color ? ColorMode::color : ColorMode::gray;
  request.settings.area = area;
  if (mode_ == Mode::lineart) {
    request.threshold = static_cast<std::uint8_t>(words_[threshold]);
  } else {
    request.tone = tone();
  }
  return request;
}

std::optional<ScanRequest> SaneOptions::request() const {
  const FixedArea corners{words_[left], words_[top], words_[right], words_[bottom]};
  const auto area = pixelsOf(corners, static_cast<std::uint32_t>(words_[resolution]));
  if (!area) return std::nullopt;
  return requestFor(*area);
}

PictureLayout SaneOptions::expectedPicture() const {
  return expectedLayout(request().value_or(requestFor({0, 0, 1, 1})));
}

}  // namespace frontend
