#include "PPM2TIFFWrapper.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <string_view>

#include "Bitmap.h"
#include "BufferLine.h"
#include "ConversionEnvironment.h"
#include "IntegerScanner.h"
#include "Log.h"
#include "SystemVersion.h"

namespace {

constexpr int memFullErr = -108;
// The last version of the systems before 10.3, on which the grey spaces are swapped.
constexpr std::int32_t lastVersionWithSwappedGrey = 0x102F;

bool isOneBit(int format) {
  return format == 1 || format == 4;
}

std::string_view textOf(const platform::Data* data) {
  if (data == nullptr || data->length() == 0) return {};
  return {reinterpret_cast<const char*>(data->bytes()), data->length()};
}

// One line of a text and the position of its line feed: the end of the text if it has none.
struct Line {
  std::string_view text;  // including the line feed
  std::size_t lineFeed;
  std::size_t next;
};

Line lineFrom(std::string_view text, std::size_t start) {
  const std::size_t lineFeed = std::min(text.find('\n', start), text.size());
  const std::size_t next = std::min(lineFeed + 1, text.size());
  return {text.substr(start, next - start), lineFeed, next};
}

void scanInto(IntegerScanner& scanner, std::uint32_t* target) {
  if (const std::optional<std::int32_t> value = scanner.scanInt())
    *target = static_cast<std::uint32_t>(*value);
}

// The log prints every number as a signed 32-bit one.
int shown(std::size_t value) {
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(value));
}

// "line 3: " and the line, which may be as long as the data.
class HeaderLine final : public platform::LogLine {
 public:
  explicit HeaderLine(std::string_view text) : text_(text) {}
  void read(const PieceReader& reader) const override {
    if (reader("line 3: ")) reader(text_);
  }

 private:
  std::string_view text_;
};

// 32-bit arithmetic that wraps, whatever the platform.
std::uint32_t bytesPerRowOf(std::uint32_t width, int format) {
  return width * static_cast<std::uint32_t>(sppFromFormat(format));
}

void writeScanFile(std::uint32_t width, std::uint32_t height, RasterView raster, int format) {
  const char* colorSpaceName = colorSpaceNameFromFormat(format);
  if (colorSpaceName == nullptr) return;
  const platform::Bitmap bitmap{.pixels = raster.data(),
                                .pixelBytes = raster.size(),
                                .width = width,
                                .height = height,
                                .bitsPerSample = static_cast<std::uint32_t>(bpsFromFormat(format)),
                                .samplesPerPixel = static_cast<std::uint32_t>(sppFromFormat(format)),
                                .bytesPerRow = bytesPerRowOf(width, format),
                                .colorSpaceName = colorSpaceName};
  // A failure is not reported: the host gets the raster; the file is only for diagnosis.
  static_cast<void>(platform::writeTIFF(bitmap, conversionEnvironment().tiffPath));
}

}  // namespace

int sppFromFormat(int format) {
  if (format < 1 || format > 6) return 0;
  return format == 3 || format == 6 ? 3 : 1;
}

int bpsFromFormat(int format) {
  if (format < 1 || format > 6) return 0;
  return isOneBit(format) ? 1 : 8;
}

const char* colorSpaceNameFromFormat(int format) {
  const std::optional<std::int32_t> version = platform::systemVersion();
  if (!version || sppFromFormat(format) == 0) return nullptr;
  if (sppFromFormat(format) == 3) return platform::kNSDeviceRGBColorSpace;
  const bool swapped = *version <= lastVersionWithSwappedGrey;
  return isOneBit(format) != swapped ? platform::kNSDeviceBlackColorSpace
                                     : platform::kNSDeviceWhiteColorSpace;
}

void parsePPM(platform::Data* data, std::uint32_t* width, std::uint32_t* height, RasterView* raster,
              int* format, int* maxValue) {
  const std::string_view text = textOf(data);
  const Line line1 = lineFrom(text, 0);
  // The second line is the device's comment. It is never read, but must be present: without it, the sizes are
  // skipped instead.
  const Line line2 = lineFrom(text, line1.next);
  const Line line3 = lineFrom(text, line2.next);

  IntegerScanner sizes(line3.text);
  scanInto(sizes, width);
  scanInto(sizes, height);

  *format = (text.size() > 1 ? static_cast<unsigned char>(text[1]) : 0) - '0';
  std::size_t rasterStart = line3.next;
  if (isOneBit(*format)) {
    *maxValue = 1;
  } else {
    const Line line4 = lineFrom(text, line3.next);
    *maxValue = IntegerScanner(line4.text).scanInt().value_or(*maxValue);
    rasterStart = line4.next;
  }
  *raster = data == nullptr ? RasterView() : RasterView(data->bytes(), data->length()).subspan(rasterStart);

  platform::log(BufferLine(data));
  platform::logFormat("offset 1: %d", shown(line1.lineFeed));
  platform::logFormat("offset 2: %d", shown(line2.lineFeed));
  platform::logFormat("offset 3: %d", shown(line3.lineFeed));
  platform::log(HeaderLine(line3.text));
  platform::logFormat("width: %d height: %d maxValue: %d", shown(*width), shown(*height), *maxValue);
}

int createTIFF(std::uint32_t width, std::uint32_t height, RasterView raster, int format, int /*maxValue*/,
               unsigned char** rasterCopy, std::uint32_t* rasterLength) {
  writeScanFile(width, height, raster, format);

  // The earlier block is freed first, so that there are never two rasters in memory.
  std::free(*rasterCopy);
  *rasterCopy = nullptr;
  // 1-bit rasters also get one byte per pixel here, eight times what they need: hosts rely on this length.
  const std::uint32_t length = bytesPerRowOf(width, format) * height;
  // An empty raster gets a block too: a null pointer would look like a failure.
  void* block = conversionEnvironment().allocateZeroed(std::max<std::size_t>(length, 1), 1);
  if (block == nullptr) return memFullErr;
  *rasterCopy = static_cast<unsigned char*>(block);
  const std::size_t copied = std::min<std::size_t>(length, raster.size());
  if (copied > 0) std::memcpy(*rasterCopy, raster.data(), copied);
  *rasterLength = length;
  return 0;
}

std::int32_t ConvertPPMToTIFF(platform::Data* data, unsigned char** rasterCopy, std::uint32_t* rasterLength,
                              std::uint32_t /*xResolution*/, std::uint32_t /*yResolution*/,
                              std::uint32_t* width, std::uint32_t* height, std::uint32_t* samplesPerPixel) {
  if (rasterCopy == nullptr || rasterLength == nullptr || width == nullptr || height == nullptr ||
      samplesPerPixel == nullptr) {
    return 1;
  }
  int format = 0;
  int maxValue = 0;
  RasterView raster;
  parsePPM(data, width, height, &raster, &format, &maxValue);
  *samplesPerPixel = static_cast<std::uint32_t>(sppFromFormat(format));
  platform::log("ConvertPPMToTIFF()");
  const int result = createTIFF(*width, *height, raster, format, maxValue, rasterCopy, rasterLength);
  // Only the lower 16 bits count, as in the platform's error codes: any multiple of 65536 is success.
  return static_cast<std::uint16_t>(result) != 0 ? 1 : 0;
}
