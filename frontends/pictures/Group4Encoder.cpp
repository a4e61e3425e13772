#include "Group4Encoder.h"

#include <tiffio.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <new>
#include <stdexcept>

namespace frontend {

struct Group4Encoder::State {
  using Handle = std::unique_ptr<TIFF, decltype(&TIFFClose)>;

  std::string file;  // the TIFF
  std::size_t position = 0;
  bool outOfMemory = false;
  std::string failure;
  Handle tiff{nullptr, TIFFClose};
  std::uint32_t rows = 0;

  static State& of(void* handle) { return *static_cast<State*>(handle); }

  // The callbacks run inside a C library, which no exception may cross.
  static tmsize_t readBytes(thandle_t handle, void* bytes, tmsize_t count) noexcept {
    State& state = of(handle);
    const std::size_t start = std::min(state.position, state.file.size());
    const std::size_t taken = std::min(static_cast<std::size_t>(count), state.file.size() - start);
    std::memcpy(bytes, state.file.data() + start, taken);
    state.position = start + taken;
    return static_cast<tmsize_t>(taken);
  }
  static tmsize_t writeBytes(thandle_t handle, void* bytes, tmsize_t count) noexcept {
    State& state = of(handle);
    const std::size_t end = state.position + static_cast<std::size_t>(count);
    try {
      if (end > state.file.size()) state.file.resize(end);
    } catch (const std::exception&) {
      state.outOfMemory = true;
      return -1;
    }
    std::memcpy(state.file.data() + state.position, bytes, static_cast<std::size_t>(count));
    state.position = end;
    return count;
  }
  static toff_t seekTo(thandle_t handle, toff_t offset, int whence) noexcept {
    State& state = of(handle);
    if (whence == SEEK_CUR) offset += state.position;
    if (whence == SEEK_END) offset += state.file.size();
    state.position = static_cast<std::size_t>(offset);
    return offset;
  }
  static int closeNothing(thandle_t /*handle*/) noexcept { return 0; }
  static toff_t sizeOf(thandle_t handle) noexcept { return of(handle).file.size(); }

  static int noteError(TIFF* /*tiff*/, void* user, const char* /*module*/, const char* format,
                       va_list arguments) noexcept {
    char text[200];
    std::vsnprintf(text, sizeof text, format, arguments);
    try {
      of(user).failure = text;
    } catch (const std::exception&) {
      of(user).outOfMemory = true;
    }
    return 1;
  }
  static int dropWarning(TIFF* /*tiff*/, void* /*user*/, const char* /*module*/, const char* /*format*/,
                         va_list /*arguments*/) noexcept {
    return 1;
  }

  // After a failure the library's memory stays allocated: freeing what an allocation that failed has left
  // half-made may crash.
  void require(bool worked) {
    if (worked) return;
    static_cast<void>(tiff.release());
    if (outOfMemory) throw std::bad_alloc();
    throw std::runtime_error(failure.empty() ? "the TIFF library reported an error" : failure);
  }

  void open() {
    const std::unique_ptr<TIFFOpenOptions, decltype(&TIFFOpenOptionsFree)> options(TIFFOpenOptionsAlloc(),
                                                                                   TIFFOpenOptionsFree);
    if (!options) throw std::bad_alloc();
    TIFFOpenOptionsSetErrorHandlerExtR(options.get(), noteError, this);
    TIFFOpenOptionsSetWarningHandlerExtR(options.get(), dropWarning, this);
    tiff.reset(TIFFClientOpenExt("page", "w", this, readBytes, writeBytes, seekTo, closeNothing, sizeOf,
                                 nullptr, nullptr, options.get()));
    require(tiff != nullptr);
  }

  template <typename Value>
  void set(std::uint32_t tag, Value value) {
    require(TIFFSetField(tiff.get(), tag, value) == 1);
  }
};

Group4Encoder::Group4Encoder(const PictureLayout& layout) : state_(std::make_unique<State>()) {
  state_->open();
  state_->set(TIFFTAG_IMAGEWIDTH, layout.width);
  state_->set(TIFFTAG_IMAGELENGTH, layout.height);
  state_->set(TIFFTAG_BITSPERSAMPLE, 1);
  state_->set(TIFFTAG_SAMPLESPERPIXEL, 1);
  state_->set(TIFFTAG_COMPRESSION, COMPRESSION_CCITTFAX4);
  state_->set(TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISWHITE);
  // One strip: the bits of several could not be joined.
  state_->set(TIFFTAG_ROWSPERSTRIP, layout.height);
}

Group4Encoder::~Group4Encoder() = default;

void Group4Encoder::writeRow(const std::uint8_t* row) {
  // The library changes rows only to reorder bytes or to apply a predictor, neither of which Group 4 takes.
  state_->require(TIFFWriteScanline(state_->tiff.get(), const_cast<std::uint8_t*>(row), state_->rows++, 0) ==
                  1);
}

std::string Group4Encoder::finish() {
  State& state = *state_;
  state.require(TIFFFlushData(state.tiff.get()) == 1);
  const auto start = static_cast<std::size_t>(TIFFGetStrileOffset(state.tiff.get(), 0));
  const auto count = static_cast<std::size_t>(TIFFGetStrileByteCount(state.tiff.get(), 0));
  state.require(start + count <= state.file.size());
  state.file.erase(start + count);
  state.file.erase(0, start);
  // Closing would write the directory behind bits that are no longer there.
  std::string bits = std::move(state.file);
  state.file.clear();
  return bits;
}

}  // namespace frontend
