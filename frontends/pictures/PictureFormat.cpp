#include "PictureFormat.h"

#include "FileName.h"
#include "PictureErrors.h"

namespace frontend {
namespace {

struct Netpbm {
  const char* extension;
  PictureMode mode;
  const char* holds;
  const char* option;
};

constexpr Netpbm netpbm[] = {
    {"ppm", PictureMode::color, "colour", "color"},
    {"pgm", PictureMode::gray, "grey", "gray"},
    {"pbm", PictureMode::lineart, "black and white", "lineart"},
};

// The end of a name that says more than the format: it must say the same as the mode.
void complainUnlessOf(const Netpbm& kind, const std::string& path, PictureMode mode) {
  if (kind.mode == mode) return;
  std::string right;
  for (const Netpbm& other : netpbm) {
    if (other.mode == mode) right = other.extension;
  }
  throw FormatError(path + ": a ." + kind.extension + " file holds " + kind.holds + ". Name it ." + right +
                    ", or scan with --mode " + kind.option + ".");
}

}  // namespace

PictureFormat formatNamed(const std::string& name) {
  if (name == "tiff") return PictureFormat::tiff;
  if (name == "png") return PictureFormat::png;
  if (name == "jpeg" || name == "jpg") return PictureFormat::jpeg;
  if (name == "pnm") return PictureFormat::pnm;
  if (name == "pdf") return PictureFormat::pdf;
  throw FormatError("--format " + name + ": there is no such format. Choose tiff, png, jpeg, pnm or pdf.");
}

PictureFormat formatOfFile(const std::string& path, PictureMode mode) {
  const std::string extension = extensionOf(path);
  if (extension == "tiff" || extension == "tif") return PictureFormat::tiff;
  if (extension == "png") return PictureFormat::png;
  if (extension == "jpeg" || extension == "jpg") return PictureFormat::jpeg;
  if (extension == "pdf") return PictureFormat::pdf;
  if (extension == "pnm") return PictureFormat::pnm;
  for (const Netpbm& kind : netpbm) {
    if (extension != kind.extension) continue;
    complainUnlessOf(kind, path, mode);
    return PictureFormat::pnm;
  }
  throw FormatError(path +
                    ": the name does not tell the picture's format. Let it end in .tiff, .png, .jpg, .pnm or "
                    ".pdf, or add --format tiff, png, jpeg, pnm or pdf.");
}

bool holdsPages(PictureFormat format) {
  return format == PictureFormat::tiff || format == PictureFormat::pdf;
}

}  // namespace frontend
