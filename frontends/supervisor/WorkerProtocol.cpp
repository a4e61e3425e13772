#include "WorkerProtocol.h"

#include <utility>

namespace frontend {

WorkerProtocol::WorkerProtocol(const PictureLayout& expected, std::function<void(const ScanOutcome&)> atEnd)
    : expected_(expected), atEnd_(std::move(atEnd)) {}

void WorkerProtocol::end(ScanOutcome outcome) {
  if (state_ == State::ended) return;
  state_ = State::ended;
  outcome_ = std::move(outcome);
  atEnd_(outcome_);
}

void WorkerProtocol::layout(const PictureLayout& layout) {
  if (state_ == State::ended) return;
  if (layout_) return end(outcome::workerGarbled());
  if (layout != expected_) return end(outcome::otherPicture(layout, expected_));
  layout_ = layout;
  if (state_ == State::awaitingLayout) state_ = State::streaming;
}

void WorkerProtocol::outcome(const ScanOutcome& outcome) {
  controlOpen_ = false;
  reported_ = outcome;
  // While rows are streaming, the last ones may still be in the pipe.
  if (state_ != State::streaming) endAsReported();
}

void WorkerProtocol::garbage() {
  end(outcome::workerGarbled());
}

void WorkerProtocol::controlClosed() {
  controlOpen_ = false;
  if (state_ == State::awaitingLayout) state_ = State::explaining;
}

void WorkerProtocol::bytes(std::size_t count) {
  if (state_ == State::awaitingLayout) return end(outcome::workerGarbled());
  if (count > missingBytes())
    return end(outcome::unreadablePicture("it has more rows than its header announced"));
  delivered_ += count;
}

void WorkerProtocol::imageClosed() {
  if (state_ == State::ended) return;
  state_ = State::explaining;
  if (reported_) endAsReported();
}

void WorkerProtocol::endAsReported() {
  if (!reported_->good()) return end(*reported_);
  if (!layout_) return end(outcome::noPicture());
  if (missingBytes() == 0) return end(*reported_);
  end(outcome::incompletePicture(delivered_ / layout_->rowBytes(), layout_->height));
}

}  // namespace frontend
