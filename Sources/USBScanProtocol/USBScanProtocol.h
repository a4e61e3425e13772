#pragma once

#include <cstdint>

#include "Data.h"

/// @file
/// The packets of the scanner's byte stream, the same in both directions:
///
///     offset  0       1           4                    8
///             | type  | reserved  | length, big-endian | payload ... |
///     bytes     1       3           4                    length

/// The functions that a parser calls for each packet, on the thread of receiveData(); any of them may be
/// null. `bytes` is the payload inside the parser's buffer, valid only during the call. `length` is the
/// packet's own 32-bit length interpreted as signed: if it is 0 or less, there is nothing to read. `info` is
/// passed on as it was given.
struct USBScanProtocolCallbacks {
  /// The caller's context, passed to every function.
  void* info;
  /// A job's image is about to begin: packet type 0xAA.
  void (*beginImageJob)(void* info);
  /// A page begins: 0xBB.
  void (*beginImagePage)(void* info);
  /// A message in XML: 0xCC.
  void (*controlData)(void* bytes, int length, void* info);
  /// The next bytes of the picture: 0xDD.
  void (*imageData)(void* bytes, int length, void* info);
  /// The page is complete: 0xEE.
  void (*endImagePage)(void* info);
  /// The job's image is complete: 0xFF.
  void (*endImageJob)(void* info);
};

/// Cuts the device's byte stream, delivered in chunks of any size, into packets and passes each to its
/// callback, in stream order; frames outgoing control data the same way. Does no I/O and is independent of
/// XML and images. It assumes that the first byte of the stream begins a packet, does not check the order of
/// packets and reports nothing: unknown types are dropped, incomplete packets kept.
///
/// One thread at a time; callbacks run inside receiveData() and should not feed the parser that calls them
/// (one that does may see a packet again, but never bytes outside the buffer). An exception that a callback
/// throws passes through receiveData() and leaves its packet at the front, to be dispatched again with the
/// next chunk.
///
/// A parser is created by initUSBScanProtocol() and released by releaseUSBScanProtocol(); its
/// memory stays allocated.
class USBScanProtocol {
 public:
  /// Drops every chunk until initWithCallbacks().
  USBScanProtocol() = default;
  USBScanProtocol(const USBScanProtocol&) = delete;
  USBScanProtocol& operator=(const USBScanProtocol&) = delete;

  /// Thrown if the parser's own memory runs out. It is not std::bad_alloc, which a callback may throw and
  /// which must pass through.
  struct OutOfMemory {};

  /// A new buffer, owned by the caller, with the payload as one control packet. Throws std::bad_alloc.
  platform::Data* prepControlDataToSend(const platform::Data& payload);
  /// Replaces the buffer by the bytes after the packet at its front. Does nothing if `packet` is no longer
  /// there. Throws OutOfMemory, which leaves the buffer as it was.
  void removePacket(const void* packet);
  /// @{
  /// Calls this function of the record, if it is set.
  void doEndImageJobCallback();
  void doEndImagePageCallback();
  void doImageDataCallbackWithData(void* bytes, int length);
  void doControlDataCallbackWithData(void* bytes, int length);
  void doBeginImagePageCallback();
  void doBeginImageJobCallback();
  /// @}
  /// Dispatches and removes every complete packet. The flag has no effect.
  void parseFullPackets(std::int8_t convert);
  /// Throws OutOfMemory, which leaves the buffer as it was. Without a buffer the chunk is dropped.
  void appendToBuffer(const platform::Data& chunk);
  /// appendToBuffer(), then parseFullPackets().
  void receiveData(const platform::Data& chunk, std::int8_t convert);
  /// Releases the current buffer only. Later chunks are dropped.
  void dealloc();
  /// Returns this, or null if memory for a buffer runs out. Null callbacks are treated as a record of
  /// nulls.
  USBScanProtocol* initWithCallbacks(const USBScanProtocolCallbacks* callbacks);

 private:
  void dispatch(std::uint8_t type, void* payload, int length);

  // Bytes received and not yet consumed; begins with a packet. Between calls it holds at
  // most one, incomplete.
  platform::Data* _buffer = nullptr;
  USBScanProtocolCallbacks _callbacks = {};
};

/// @name USBScanProtocol as flat functions
/// A handle is the address of a USBScanProtocol; for a null handle they do nothing and return null. Counts
/// are in bytes; a negative one, or null for bytes, is taken as 0. They throw only what a callback throws.
/// @{
extern "C" {

/// A new parser with an empty buffer and a copy of the record. Null if there is no memory for it.
void* initUSBScanProtocol(const USBScanProtocolCallbacks* callbacks);
/// Appends a chunk, which may be empty, and dispatches every complete packet. A chunk that does not fit into
/// memory is dropped. `convert` has no effect.
void receiveData(void* handle, const void* bytes, std::int32_t count, std::int8_t convert);
/// A new buffer, owned by the caller, with the bytes as one control packet; null if there is no
/// memory for it.
platform::Data* prepControlDataToSend(void* handle, const void* bytes, std::int32_t count);
/// Ends the use of the parser, and of dumpData() for the buffer of its job. The handle is then invalid.
void releaseUSBScanProtocol(void* handle);
/// Makes the file "/tmp/vexo-data-dump" hold exactly the bytes of `data`, replacing it
/// atomically; a failure is not reported. Null does nothing. Keeps a reference to `data` until
/// the next buffer or releaseUSBScanProtocol().
void dumpData(platform::Data* data);

}  // extern "C"
/// @}
