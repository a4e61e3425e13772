#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string_view>

#include "PictureLayout.h"
#include "ScanOutcome.h"
#include "WorkerMessages.h"

namespace frontend {

// The front end's half of the protocol of WorkerMessages.h: how one scan proceeds with what its worker sends
// and with what happens to it. Does no I/O and reads no clock; whoever owns the connections reports the
// events. One thread. Nothing throws but std::bad_alloc.
//
//   event            awaitingLayout         streaming                  explaining
//   layout()         streaming [1]          ended: software mismatch   explaining [1], [2]
//   outcome()        ended [3]              streaming                  ended [3]
//   garbage()        ended: mismatch        ended: mismatch            ended: mismatch
//   controlClosed()  explaining             streaming                  explaining
//   bytes()          ended: mismatch        streaming [4]              -
//   imageClosed()    explaining [5]         explaining [5]             -
//   end()            ended                  ended                      ended
//
//   [1] ended if it is not the expected layout: the scanner sent a different picture.
//   [2] ended with a mismatch if the layout is known already.
//   [3] The reported outcome, but a good one only with a layout and all bytes of its picture.
//   [4] ended with an unreadable picture if there are more bytes than the layout announced.
//   [5] ended [3] if the outcome has been reported already.
//
// In `explaining` no more bytes can be read, and the worker has a moment left to report its outcome. After
// `ended` nothing changes any more.
class WorkerProtocol {
 public:
  enum class State : std::uint8_t { awaitingLayout, streaming, explaining, ended };

  // `atEnd` is called once, inside the event that ends the scan, with outcome().
  WorkerProtocol(const PictureLayout& expected, std::function<void(const ScanOutcome&)> atEnd);

  // Events. The first three are messages on the control connection.
  void layout(const PictureLayout& layout);
  void outcome(const ScanOutcome& outcome);
  void garbage();
  void controlClosed();
  void bytes(std::size_t count);
  void imageClosed();
  // The front end ends the scan: it was cancelled, or the worker has exited.
  void end(ScanOutcome outcome);

  State state() const { return state_; }
  // Whether the worker can still send messages that matter.
  bool expectsMessages() const { return controlOpen_ && state_ != State::ended; }
  const std::optional<PictureLayout>& layout() const { return layout_; }
  // Bytes of the picture that are still missing; 0 without a layout.
  std::uint64_t missingBytes() const { return layout_ ? layout_->bytes() - delivered_ : 0; }
  // Cancelled until the end is known.
  const ScanOutcome& outcome() const { return outcome_; }

 private:
  void endAsReported();

  const PictureLayout expected_;
  const std::function<void(const ScanOutcome&)> atEnd_;
  State state_ = State::awaitingLayout;
  std::optional<PictureLayout> layout_;
  std::optional<ScanOutcome> reported_;  // by the worker
  bool controlOpen_ = true;              // an outcome is the last message
  std::uint64_t delivered_ = 0;
  ScanOutcome outcome_ = outcome::cancelled();
};

}  // namespace frontend
