#pragma once

#include <cstdint>

#include "PacketTranscript.h"
#include "Pieces.h"

// The library's parser over a stream, its packets recorded in a transcript. What the parser
// leaks stays allocated.
class ParserSession {
 public:
  explicit ParserSession(PacketTranscript& transcript) {
    const USBScanProtocolCallbacks callbacks = transcript.callbacks();
    parser_ = initUSBScanProtocol(&callbacks);
  }
  ~ParserSession() { releaseUSBScanProtocol(parser_); }
  ParserSession(const ParserSession&) = delete;
  ParserSession& operator=(const ParserSession&) = delete;

  void feed(Bytes piece) {
    receiveData(parser_, piece.data(), static_cast<std::int32_t>(piece.size()), /*convert*/ 0);
  }

 private:
  void* parser_;
};

// The first release sets up the file of dumpData() for the whole process: it must come before any LeakSweep.
inline const bool dumpFileIsSetUp = [] {
  void* const parser = initUSBScanProtocol(nullptr);
  releaseUSBScanProtocol(parser);
  delete static_cast<USBScanProtocol*>(parser);  // which no release does
  return true;
}();
