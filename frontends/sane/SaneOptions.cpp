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

}  // namespace

SaneOptions::SaneOptions() {
  static const SANE_Range horizontal = {0, bedWidthFixed(), 0};
  static const SANE_Range vertical = {0, bedHeightFixed(), 0};

  describe(count, SANE_NAME_NUM_OPTIONS, SANE_TITLE_NUM_OPTIONS, SANE_DESC_NUM_OPTIONS);
  descriptors_[count].cap = SANE_CAP_SOFT_DETECT;
  describe(standardGroup, SANE_NAME_STANDARD, SANE_TITLE_STANDARD, SANE_DESC_STANDARD);
  describe(mode, SANE_NAME_SCAN_MODE, SANE_TITLE_SCAN_MODE, SANE_DESC_SCAN_MODE);
  describeStrings(mode, modeNames);
  describe(depth, SANE_NAME_BIT_DEPTH, SANE_TITLE_BIT_DEPTH, SANE_DESC_BIT_DEPTH);
  descriptors_[depth].unit = SANE_UNIT_BIT;
  descriptors_[depth].constraint_type = SANE_CONSTRAINT_WORD_LIST;
  describe(resolution, SANE_NAME_SCAN_RESOLUTION, SANE_TITLE_SCAN_RESOLUTION, SANE_DESC_SCAN_RESOLUTION);
  descriptors_[resolution].unit = SANE_UNIT_DPI;
  descriptors_[resolution].constraint_type = SANE_CONSTRAINT_WORD_LIST;
  describe(source, SANE_NAME_SCAN_SOURCE, SANE_TITLE_SCAN_SOURCE, SANE_DESC_SCAN_SOURCE);
  describeStrings(source, sourceNames);
  describe(preview, SANE_NAME_PREVIEW, SANE_TITLE_PREVIEW, SANE_DESC_PREVIEW);
  descriptors_[preview].type = SANE_TYPE_BOOL;
  describe(threshold, SANE_NAME_THRESHOLD, SANE_TITLE_THRESHOLD, SANE_DESC_THRESHOLD);
  descriptors_[threshold].cap |= SANE_CAP_EMULATED;
  descriptors_[threshold].constraint_type = SANE_CONSTRAINT_RANGE;
  descriptors_[threshold].constraint.range = &thresholds;
  describe(geometryGroup, SANE_NAME_GEOMETRY, SANE_TITLE_GEOMETRY, SANE_DESC_GEOMETRY);
  for (const Index group : {standardGroup, geometryGroup}) {
    descriptors_[group].type = SANE_TYPE_GROUP;
    descriptors_[group].size = 0;
    descriptors_[group].cap = 0;
  }
  describe(left, SANE_NAME_SCAN_TL_X, SANE_TITLE_SCAN_TL_X, SANE_DESC_SCAN_TL_X);
  describe(top, SANE_NAME_SCAN_TL_Y, SANE_TITLE_SCAN_TL_Y, SANE_DESC_SCAN_TL_Y);
  describe(right, SANE_NAME_SCAN_BR_X, SANE_TITLE_SCAN_BR_X, SANE_DESC_SCAN_BR_X);
  describe(bottom, SANE_NAME_SCAN_BR_Y, SANE_TITLE_SCAN_BR_Y, SANE_DESC_SCAN_BR_Y);
  for (const Index edge : {left, right}) describeEdge(edge, &horizontal);
  for (const Index edge : {top, bottom}) describeEdge(edge, &vertical);

  words_[count] = numberOfOptions;
  words_[threshold] = limits::defaultThreshold;
  words_[right] = horizontal.max;
  words_[bottom] = vertical.max;
  followMode();
}

// As a settable integer without limits; callers change what is different.
void SaneOptions::describe(Index index, const char* name, const char* title, const char* text) {
  SANE_Option_Descriptor& descriptor = descriptors_[index];
  descriptor.name = name;
  descriptor.title = title;
  descriptor.desc = text;
  descriptor.type = SANE_TYPE_INT;
  descriptor.size = sizeof(SANE_Word);
  descriptor.cap = SANE_CAP_SOFT_SELECT | SANE_CAP_SOFT_DETECT;
}

void SaneOptions::describeStrings(Index index, const SANE_String_Const* list) {
  SANE_Option_Descriptor& descriptor = descriptors_[index];
  descriptor.type = SANE_TYPE_STRING;
  descriptor.size = 0;
  for (const SANE_String_Const* name = list; *name != nullptr; ++name) {
    descriptor.size = std::max(descriptor.size, static_cast<SANE_Int>(std::strlen(*name) + 1));
  }
  descriptor.constraint_type = SANE_CONSTRAINT_STRING_LIST;
  descriptor.constraint.string_list = list;
}

void SaneOptions::describeEdge(Index index, const SANE_Range* range) {
  SANE_Option_Descriptor& descriptor = descriptors_[index];
  descriptor.type = SANE_TYPE_FIXED;
  descriptor.unit = SANE_UNIT_MM;
  descriptor.constraint_type = SANE_CONSTRAINT_RANGE;
  descriptor.constraint.range = range;
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

ScanRequest SaneOptions::requestFor(const PixelArea& area) const {
  ScanRequest request;
  request.settings.resolution = static_cast<std::uint32_t>(words_[resolution]);
  request.settings.mode = mode_ == Mode::color ? ColorMode::color : ColorMode::gray;
  request.settings.area = area;
  if (mode_ == Mode::lineart) request.threshold = static_cast<std::uint8_t>(words_[threshold]);
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
