#pragma once

#include <cstdint>

#include "Pieces.h"
#include "UsbipConnection.h"

// Whether the commands after an import announce a transfer of more than this many bytes.
inline bool announcesTransferOver(std::size_t bytes, Bytes stream) {
  using namespace virtualscanner::usbip;
  if (stream.size() < importRequestSize) return false;
  stream = stream.subspan(importRequestSize);
  while (stream.size() >= commandHeaderSize) {
    const CommandHeader header = parseCommand(stream.data());
    const SubmitCommand command = parseSubmit(stream.data());
    stream = stream.subspan(commandHeaderSize);
    if (header.command != commandSubmit) continue;
    if (command.length > bytes) return command.length <= virtualscanner::UsbipConnection::largestTransfer;
    if (header.direction == directionOut)
      stream = stream.subspan(std::min<std::size_t>(command.length, stream.size()));
  }
  return false;
}

// What a client that sends this stream receives, and how the connection ends: with a text, if the client
// violated the protocol. Cut into pieces, as TCP may, or at once.
inline std::string usbipSession(Bytes stream, bool cut, virtualscanner::UsbipPort& port) {
  virtualscanner::UsbipConnection connection(port);
  std::string answers;
  const auto feed = [&](Bytes piece) {
    connection.receive(piece);
    for (; !connection.output().empty(); connection.sent(connection.output().size()))
      answers += textOf(connection.output());
  };
  cut ? inPieces(stream, feed) : feed(stream);
  return answers + connection.complaint();
}
