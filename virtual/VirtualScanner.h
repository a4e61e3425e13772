#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "Descriptors.h"
#include "PageRequest.h"
#include "Paper.h"
#include "ScannerOptions.h"
#include "Transfer.h"

namespace virtualscanner {

// A Q750 without hardware: its descriptors, its three bulk endpoints and the protocol behind them, as bytes
// in and bytes out of each endpoint. It is no USB stack and has no notion of time, so that different fronts
// (VirtualUsbStack, WiredScanner) can serve the same device.
//
// It reads framed XML calls on endpoint 2 and replies on endpoint 11; once a job is started, the page that
// the job's parameters request streams from endpoint 8. Invalid calls get an exception reply. A call of
// enterHostUSBSendMode always resets the protocol, whatever state an earlier job left; only halted endpoints
// stay halted until the host clears them. A write that begins with a control packet while an earlier message
// is incomplete drops the earlier one, which its host has abandoned. Up to 64 replies wait to be read; while
// they do, further calls are carried out and their replies are lost. Memory use does not grow with the number
// of calls and jobs.
//
// One thread at a time. Throws only std::bad_alloc. How a front splits transfers makes no difference to the
// model, except that faults count transfers.
class VirtualScanner {
 public:
  explicit VirtualScanner(std::shared_ptr<const Paper> paper = Paper::testChart(),
                          ScannerOptions options = {});
  ~VirtualScanner();
  VirtualScanner(const VirtualScanner&) = delete;
  VirtualScanner& operator=(const VirtualScanner&) = delete;

  // Takes effect with the next job.
  void insertPaper(std::shared_ptr<const Paper> paper);
  // Replaces the faults and restarts the count of all positions.
  void setFaults(std::vector<Fault> faults);
  const ScannerOptions& options() const;

  // Plugging in again is a power-on: all state is lost; unused faults stay, and their positions count from 1.
  void plugIn();
  void unplug();
  bool pluggedIn() const;
  // The number of the current plugging-in, from 1. Objects opened during an earlier one no longer work.
  std::uint32_t connection() const;

  const std::vector<std::uint8_t>& deviceDescriptor() const;
  const std::vector<std::uint8_t>& configurationDescriptor() const;
  // The endpoints of an alternate setting in descriptor order; none for a setting that does not exist.
  std::span<const Endpoint> endpoints(std::uint8_t alternateSetting) const;
  bool hasAlternateSetting(std::uint8_t alternateSetting) const;

  // A standard request on endpoint 0 (USB 2.0, 9.4). `data` holds what the host sends, or receives the
  // data stage, at most `length` bytes. The status is halted for a request that the device does not support.
  Transfer control(const SetupPacket& setup, std::uint8_t* data);
  // Host to device. The address is that of an out endpoint of the current setting; others are silent.
  Transfer write(std::uint8_t address, const std::uint8_t* bytes, std::size_t count);
  // Device to host, into a buffer of `capacity` bytes. Done but not ended means that the buffer is full or
  // that the device has no more for now.
  Transfer read(std::uint8_t address, std::uint8_t* buffer, std::size_t capacity);

  // `observer` is called inside write() with each remote call that could be read, as object.method, once the
  // call is carried out or refused; it must not use the scanner. Null ends the observation. The scanner
  // itself keeps no history, however long it runs.
  using CallObserver = std::function<void(const std::string& call)>;
  void observeCalls(CallObserver observer);
  // The request of the last job that was started.
  const std::optional<PageRequest>& lastRequest() const;
  // Transfers since the positions of faults were last reset.
  std::uint32_t transfers() const;

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace virtualscanner
