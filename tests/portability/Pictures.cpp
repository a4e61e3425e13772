#include <fcntl.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "BitmapExport.h"
#include "ByteSink.h"
#include "ConversionEnvironment.h"
#include "OutputFolder.h"
#include "PPM2TIFFWrapper.h"
#include "PictureWriter.h"
#include "RecordingLogSink.h"
#include "StringUtils.h"

namespace {

std::vector<std::uint8_t> pattern(std::size_t count) {
  std::vector<std::uint8_t> bytes(count);
  for (std::size_t i = 0; i < count; ++i) bytes[i] = static_cast<std::uint8_t>(i * 31 + i / 251);
  return bytes;
}

void exportBitmaps(const OutputFolder& folder) {
  struct Space {
    const char* name;
    std::uint32_t code;
  };
  for (const Space& space : {Space{"rgb", bitmapSpaceRGB24}, Space{"grey", bitmapSpaceGrey8},
                             Space{"one-bit", bitmapSpaceOneBit}}) {
    for (const std::uint32_t resolution : {0U, 75U, 299U, 32767U, 70000U}) {
      const std::vector<std::uint8_t> pixels = pattern(std::size_t{131} * 47 * 3);
      const CMBitmap bitmap{nullptr, 131, 47, 19, space.code};
      unsigned char* tiff = nullptr;
      std::uint32_t length = 0;
      if (ConvertCMBitmapToTIFF(pixels.data(), &bitmap, &tiff, &length, nullptr, resolution,
                                resolution / 2) == 0) {
        folder.write(std::string("export-") + space.name + "-" + ulToString(resolution) + ".tiff", tiff,
                     length);
      }
      std::free(tiff);
    }
  }
}

// A picture of each kind, with its raster whole, cut short, and with an odd width.
void convertPixmaps(const OutputFolder& folder) {
  const std::string designed = conversionEnvironment().tiffPath;
  for (char format = '1'; format <= '6'; ++format) {
    const std::vector<std::uint8_t> raster = pattern(std::size_t{61} * 33 * (format % 2 == 0 ? 3 : 1));
    std::string text = std::string("P") + format + "\n# comment\n61 33\n";
    if (format != '1' && format != '4') text += "255\n";
    text.append(raster.begin(), raster.end());
    const platform::DataRef data{platform::Data::create()};
    data->append(text.data(), text.size());
    const std::string name = std::string("pixmap-") + format;
    conversionEnvironment().tiffPath = folder / name + ".tiff";
    unsigned char* copy = nullptr;
    std::uint32_t length = 0, width = 0, height = 0, samples = 0;
    const int result = ConvertPPMToTIFF(data.get(), &copy, &length, 300, 300, &width, &height, &samples);
    folder.write(name + "-raster.bin", copy, length);
    folder.write(name + ".txt", iToString(result) + " " + ulToString(width) + " " + ulToString(height) + " " +
                                    ulToString(samples) + "\n");
    std::free(copy);
  }
  conversionEnvironment().tiffPath = designed;
}

void writeFiles(const OutputFolder& folder) {
  using namespace frontend;
  struct Kind {
    const char* name;
    PictureLayout layout;
  };
  struct Format {
    PictureFormat format;
    const char* suffix;
  };
  for (const Kind& kind : {Kind{"lineart", {301, 203, 1, 1, 300}}, Kind{"grey", {301, 203, 1, 8, 300}},
                           Kind{"color", {301, 203, 3, 8, 300}}}) {
    const std::vector<std::uint8_t> pixels = pattern(static_cast<std::size_t>(kind.layout.bytes()));
    for (const Format& format : {Format{PictureFormat::tiff, ".tiff"}, Format{PictureFormat::png, ".png"},
                                 Format{PictureFormat::jpeg, ".jpg"}, Format{PictureFormat::pnm, ".pnm"},
                                 Format{PictureFormat::pdf, ".pdf"}}) {
      const std::string path = folder / "picture-" + kind.name + format.suffix;
      const int descriptor = open(path.c_str(), O_RDWR | O_CREAT | O_TRUNC, 0600);
      ByteSink sink(descriptor);
      const auto writer = makePictureWriter(format.format, sink, {.software = "q750"});
      writer->beginPage(kind.layout);
      for (std::size_t row = 0; row < kind.layout.height; ++row)
        writer->writeRow(&pixels[row * kind.layout.rowBytes()]);
      writer->endPage();
      writer->finish();
      close(descriptor);
    }
  }
}

}  // namespace

void writePictures(const OutputFolder& folder) {
  const RecordingLogSink log;
  exportBitmaps(folder);
  convertPixmaps(folder);
  writeFiles(folder);
  std::string told;
  for (const std::string& line : log.lines) told += line + "\n";
  folder.write("pictures-told.txt", told);
}
