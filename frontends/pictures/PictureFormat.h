#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

// The file formats of pictures, their names and the extensions of their files. Opens no file and throws
// nothing but std::bad_alloc.
namespace frontend {

// What one pixel of a picture is: red, green and blue; gray; black or white.
enum class PictureMode : std::uint8_t { color, gray, lineart };

enum class PictureFormat : std::uint8_t { tiff, png, jpeg, pnm, pdf };

// The names of the formats, in the order of the enumeration.
inline constexpr std::array<std::string_view, 5> pictureFormatNames = {"tiff", "png", "jpeg", "pnm", "pdf"};

// The format of this name, or of "jpg". Nothing for any other text, upper case included.
std::optional<PictureFormat> formatNamed(std::string_view name);

// What the extension of a file name says about its content.
struct FileType {
  PictureFormat format;
  std::optional<PictureMode> mode;  // the only one that such a file may hold; nothing where it may hold any

  friend bool operator==(const FileType&, const FileType&) = default;
};

// .tiff .tif .png .jpeg .jpg .pdf .pnm .ppm (color only) .pgm (gray only) .pbm (lineart only), in any case.
// Nothing for any other extension, and for none.
std::optional<FileType> fileTypeOf(const std::string& path);

// The extension of a PNM file that holds this mode alone: "ppm", "pgm" or "pbm".
std::string_view pnmExtensionFor(PictureMode mode);

// Whether one file of the format holds several pages.
bool holdsPages(PictureFormat format);

}  // namespace frontend
