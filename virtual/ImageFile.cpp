#include "ImageFile.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <memory>
#include <utility>

#include "Paper.h"
#include "RegularFile.h"

namespace virtualscanner {
namespace {

struct CloseFile {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using FileHandle = std::unique_ptr<std::FILE, CloseFile>;

FileHandle streamOf(platform::OwnedDescriptor descriptor, const std::string& path) {
  FileHandle file(fdopen(descriptor.get(), "rb"));
  if (!file) throw PaperError(path + ": cannot be opened: " + std::strerror(errno));
  descriptor.release();
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

platform::OwnedDescriptor openImageFile(const std::string& path) {
  platform::OpenedFile file = platform::openRegularFile(path);
  if (file.descriptor.get() < 0) throw PaperError(path + ": " + file.problem());
  return std::move(file.descriptor);
}

Image readImageFile(const std::string& path) {
  return readImageFile(openImageFile(path), path);
}

Image readImageFile(platform::OwnedDescriptor descriptor, const std::string& path) {
  const FileHandle file = streamOf(std::move(descriptor), path);
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
