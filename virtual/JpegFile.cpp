#include <cstdio>
// The library's header needs the one above.
#include <jerror.h>
#include <jpeglib.h>

#include <csetjmp>

#include "ImageFile.h"
#include "Paper.h"

namespace virtualscanner {
namespace {

// Decodes one JPEG picture. The library reports errors by a callback that must not return. It leaves by
// longjmp(), which skips destructors: the functions that call setjmp() therefore hold nothing that needs one.
class JpegDecoder {
 public:
  explicit JpegDecoder(std::FILE* file) : file_(file) {
    jpeg_.err = jpeg_std_error(&errors_);
    jpeg_.client_data = this;
    errors_.error_exit = leave;
    errors_.emit_message = judge;
  }
  ~JpegDecoder() { jpeg_destroy_decompress(&jpeg_); }
  JpegDecoder(const JpegDecoder&) = delete;
  JpegDecoder& operator=(const JpegDecoder&) = delete;

  // Each returns whether it succeeded, or else leaves why in failure().
  bool readHeader() {
    if (setjmp(leave_) != 0) return false;
    jpeg_create_decompress(&jpeg_);
    jpeg_stdio_src(&jpeg_, file_);
    jpeg_read_header(&jpeg_, TRUE);
    jpeg_.out_color_space = JCS_RGB;
    return true;
  }
  bool readPixels(std::uint8_t* rgb) {
    if (setjmp(leave_) != 0) return false;
    jpeg_start_decompress(&jpeg_);
    while (jpeg_.output_scanline < jpeg_.output_height) {
      JSAMPROW row = rgb + std::size_t{jpeg_.output_scanline} * jpeg_.output_width * 3;
      jpeg_read_scanlines(&jpeg_, &row, 1);
    }
    return true;
  }

  std::uint32_t width() const { return jpeg_.image_width; }
  std::uint32_t height() const { return jpeg_.image_height; }
  const char* failure() const { return failure_; }

 private:
  [[noreturn]] static void leave(j_common_ptr jpeg) {
    auto& self = *static_cast<JpegDecoder*>(jpeg->client_data);
    jpeg->err->format_message(jpeg, self.failure_);
    std::longjmp(self.leave_, 1);
  }
  // Of the library's warnings, those about missing data are errors here: it would fill up with gray. Cameras
  // cause the others.
  static void judge(j_common_ptr jpeg, int level) {
    const int code = jpeg->err->msg_code;
    if (level < 0 && (code == JWRN_JPEG_EOF || code == JWRN_HIT_MARKER)) leave(jpeg);
  }

  std::FILE* file_;
  jpeg_decompress_struct jpeg_{};
  jpeg_error_mgr errors_{};
  std::jmp_buf leave_{};
  char failure_[JMSG_LENGTH_MAX] = "";
};

}  // namespace

Image readJpeg(std::FILE* file, const std::string& path) {
  JpegDecoder jpeg(file);
  if (!jpeg.readHeader()) throw PaperError(path + ": " + jpeg.failure());
  checkImageSize(jpeg.width(), jpeg.height(), path);
  Image image{jpeg.width(), jpeg.height(),
              std::vector<std::uint8_t>(std::size_t{jpeg.width()} * jpeg.height() * 3)};
  if (!jpeg.readPixels(image.rgb.data())) throw PaperError(path + ": " + jpeg.failure());
  return image;
}

}  // namespace virtualscanner
