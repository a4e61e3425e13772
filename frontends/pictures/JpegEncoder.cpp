#include "JpegEncoder.h"

#include <jpeglib.h>

#include <csetjmp>
#include <cstdio>
#include <utility>
#include <vector>

namespace frontend {
namespace {

constexpr std::size_t bufferSize = 64 * 1024;

}  // namespace

// The library reports errors by a callback that must not return. It leaves by longjmp(), which skips
// destructors: the functions that call setjmp() therefore hold nothing that needs one, and every buffer
// belongs to the object.
struct JpegEncoder::State {
  jpeg_compress_struct jpeg{};
  jpeg_error_mgr errors{};
  jpeg_destination_mgr destination{};
  std::jmp_buf leave{};
  PictureLayout layout;
  Output output;
  std::vector<std::uint8_t> buffer = std::vector<std::uint8_t>(bufferSize);
  std::vector<std::uint8_t> gray;  // the current lineart row at 8 bits; empty for other layouts
  bool ended = false;
  std::string failure;

  static State& of(j_common_ptr jpeg) { return *static_cast<State*>(jpeg->client_data); }
  static State& of(j_compress_ptr jpeg) { return *static_cast<State*>(jpeg->client_data); }

  [[noreturn]] static void noteError(j_common_ptr jpeg) {
    State& state = of(jpeg);
    char message[JMSG_LENGTH_MAX];
    jpeg->err->format_message(jpeg, message);
    if (!state.ended) state.failure = message;
    state.ended = true;
    std::longjmp(state.leave, 1);
  }
  static void dropMessage(j_common_ptr /*jpeg*/) {}

  static void beginBuffer(j_compress_ptr jpeg) {
    State& state = of(jpeg);
    state.destination.next_output_byte = state.buffer.data();
    state.destination.free_in_buffer = state.buffer.size();
  }
  void put(std::size_t count) {
    if (output(buffer.data(), count)) return;
    ended = true;
    std::longjmp(leave, 1);
  }
  // Must write all of the buffer, whatever free_in_buffer says (libjpeg, "Compressed data handling").
  static boolean emptyBuffer(j_compress_ptr jpeg) {
    of(jpeg).put(bufferSize);
    beginBuffer(jpeg);
    return TRUE;
  }
  static void endBuffer(j_compress_ptr jpeg) {
    of(jpeg).put(bufferSize - of(jpeg).destination.free_in_buffer);
  }

  void begin(const JpegSettings& settings) {
    if (setjmp(leave) != 0) return;
    jpeg_create_compress(&jpeg);
    jpeg.dest = &destination;
    jpeg.image_width = layout.width;
    jpeg.image_height = layout.height;
    jpeg.input_components = static_cast<int>(layout.channels);
    jpeg.in_color_space = layout.channels == 3 ? JCS_RGB : JCS_GRAYSCALE;
    jpeg_set_defaults(&jpeg);
    jpeg_set_quality(&jpeg, settings.quality, TRUE);
    // The other channels are sampled once for each sample of the first, by default once for four of it.
    if (settings.quality >= fullColorQuality)
      jpeg.comp_info[0].h_samp_factor = jpeg.comp_info[0].v_samp_factor = 1;
    jpeg.density_unit = 1;  // dots per inch
    jpeg.X_density = jpeg.Y_density = static_cast<UINT16>(layout.resolution);
    jpeg_start_compress(&jpeg, TRUE);
    if (!settings.profile.empty()) {
      jpeg_write_icc_profile(&jpeg, reinterpret_cast<const JOCTET*>(settings.profile.data()),
                             static_cast<unsigned>(settings.profile.size()));
    }
    if (settings.comment.empty()) return;
    jpeg_write_marker(&jpeg, JPEG_COM, reinterpret_cast<const JOCTET*>(settings.comment.data()),
                      static_cast<unsigned>(settings.comment.size()));
  }
  void writeSamples(JSAMPROW samples) {
    if (ended || setjmp(leave) != 0) return;
    jpeg_write_scanlines(&jpeg, &samples, 1);
  }
  void flush() {
    if (ended || setjmp(leave) != 0) return;
    // Between two rows the library keeps nothing of the destination.
    put(bufferSize - destination.free_in_buffer);
    beginBuffer(&jpeg);
  }
  void finish() {
    if (ended || setjmp(leave) != 0) return;
    jpeg_finish_compress(&jpeg);
  }
};

JpegEncoder::JpegEncoder(const PictureLayout& layout, const JpegSettings& settings, Output output)
    : state_(std::make_unique<State>()) {
  State& state = *state_;
  state.layout = layout;
  state.output = std::move(output);
  if (layout.bitsPerChannel == 1) state.gray.resize(layout.width);
  state.jpeg.err = jpeg_std_error(&state.errors);
  state.jpeg.client_data = &state;
  state.errors.error_exit = State::noteError;
  state.errors.output_message = State::dropMessage;
  state.destination.init_destination = State::beginBuffer;
  state.destination.empty_output_buffer = State::emptyBuffer;
  state.destination.term_destination = State::endBuffer;
  state.begin(settings);
}

JpegEncoder::~JpegEncoder() {
  jpeg_destroy_compress(&state_->jpeg);
}

void JpegEncoder::writeRow(const std::uint8_t* row) {
  std::vector<std::uint8_t>& gray = state_->gray;
  for (std::size_t x = 0; x < gray.size(); ++x) gray[x] = (row[x / 8] >> (7 - x % 8) & 1) != 0 ? 0 : 255;
  state_->writeSamples(gray.empty() ? const_cast<JSAMPROW>(row) : gray.data());
}

void JpegEncoder::flush() {
  state_->flush();
}

void JpegEncoder::finish() {
  state_->finish();
}

const std::string& JpegEncoder::failure() const {
  return state_->failure;
}

}  // namespace frontend
