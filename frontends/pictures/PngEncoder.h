#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "PictureLayout.h"
#include "StreamEncoder.h"

namespace frontend {

// Encodes one PNG picture, for the writers of PNG and PDF. Owns the library's state and a copy of the
// previous row.
class PngEncoder final : public StreamEncoder {
 public:
  // `software` is the program that the file names as its origin.
  PngEncoder(const PictureLayout& layout, const std::string& software, Output output);
  ~PngEncoder() override;
  PngEncoder(const PngEncoder&) = delete;
  PngEncoder& operator=(const PngEncoder&) = delete;

  void writeRow(const std::uint8_t* row) override;
  void finish() override;
  const std::string& failure() const override;

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace frontend
