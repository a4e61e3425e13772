#include "ImageFile.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <memory>

#include "Paper.h"

namespace virtualscanner {
namespace {

struct CloseFile {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using FileHandle = std::unique_ptr<std::FILE, CloseFile>;

FileHandle openPicture(const std::string& path) {
  // Opening a pipe or a device might block for ever.
  std::error_code error;
  const std::filesystem::file_status status = std::filesystem::status(path, error);
  if (std::filesystem::exists(status) && !std::filesystem::is_regular_file(status)) {
    throw PaperError(path + ": is not a regular file");
  }
  FileHandle file(std::fopen(path.c_str(), "rb"));
  if (!file) throw PaperError(path + ": cannot be opened: " + std::strerror(errno));
  return file;
}

bool isPng(const std::array<unsigned char, 8>& head) {
  return std::memcmp(head.data(), "\x89PNG\r\n\x1a\n", head.size()) == 0;
}

bool isJpeg(const std::array<unsigned char, 8>& head) {
  return std::memcmp(head.data(), "\xFF\xD8\xFF", 3) == 0;
}

}  // namespace

void checkImageSize(std::uint64_t width, std::uint64_t height, const std::string& path) {
  if (width == 0 || height == 0) throw PaperError(path + ": the picture has no pixels");
  if (width > largestImageSide || height > largestImageSide || width * height > largestImagePixels) {
    throw PaperError(path + ": the picture is too large (" + std::to_string(width) + " x " +
                     std::to_string(height) + " pixels; at most " + std::to_string(largestImageSide) +
                     " on a side and " + std::to_string(largestImagePixels) + " in all)");
  }
}

Image readImageFile(const std::string& path) {
  const FileHandle file = openPicture(path);
  std::array<unsigned char, 8> head{};
  const std::size_t count = std::fread(head.data(), 1, head.size(), file.get());
  if (std::ferror(file.get()) != 0) throw PaperError(path + ": cannot be read");
  std::rewind(file.get());
  if (count == head.size() && isPng(head)) return readPng(file.get(), path);
  if (count >= 3 && isJpeg(head)) return readJpeg(file.get(), path);
  if (count >= 2 && head[0] == 'P' && head[1] >= '1' && head[1] <= '6') return readPnm(file.get(), path);
  throw PaperError(path + ": is not a PNG, JPEG or PNM picture");
}

}  // namespace virtualscanner
