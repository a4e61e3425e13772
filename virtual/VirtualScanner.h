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

// A Q750 with no hardware: its descriptors, its three bulk endpoints and the protocol behind them. Bytes in
// and bytes out per endpoint; it knows no USB stack and no time, so that different faces (VirtualUsbStack)
// can stand before the same device.
//
// It reads what the host really sent: framed XML calls on endpoint 2, answered on endpoint 11; once a job is
// started, the page that the job's parameters ask for streams from endpoint 8. Wrong calls are answered with
// an exception message. A call of enterHostUSBSendMode always starts afresh, whatever an earlier job left
// behind; halted endpoints alone stay halted until the host clears them. A write that begins with a control
// packet while an earlier message is incomplete drops the earlier one, as its host gave it up. Up to 64
// replies wait to be read; while they do, further calls are carried out and their replies are lost. Memory
// use does not grow with the number of calls and jobs.
//
// One thread at a time. Nothing throws but std::bad_alloc. Two transfers that differ only in how a face cuts
// them are the same to the model, except that faults count transfers.
class VirtualScanner {
 public:
  explicit VirtualScanner(std::shared_ptr<const Paper> paper = Paper::testChart(),
                          ScannerOptions options = {});
  ~VirtualScanner();
  VirtualScanner(const VirtualScanner&) = delete;
  VirtualScanner& operator=(const VirtualScanner&) = delete;

  // From the next job on.
  void insertPaper(std::shared_ptr<const Paper> paper);
  // Replaces the faults; all positions count anew from here.
  void setFaults(std::vector<Fault> faults);
  const ScannerOptions& options() const;

  // Plugging in again is a power-on: every state is lost, faults not yet used stay and count anew.
  void plugIn();
  void unplug();
  bool pluggedIn() const;
  // Which plugging-in this is, from 1: what was opened during another one is dead.
  std::uint32_t connection() const;

  const std::vector<std::uint8_t>& deviceDescriptor() const;
  const std::vector<std::uint8_t>& configurationDescriptor() const;
  // The endpoints of an alternate setting in descriptor order; none for a setting that does not exist.
  std::span<const Endpoint> endpoints(std::uint8_t alternateSetting) const;
  bool hasAlternateSetting(std::uint8_t alternateSetting) const;

  // A standard request on endpoint 0 (USB 2.0, 9.4). `data` holds what the host sends, or receives what the
  // device answers, at most `length` bytes. Halted means: not understood.
  Transfer control(const SetupPacket& setup, std::uint8_t* data);
  // Host to device. The address is that of an out endpoint of the current setting; others are silent.
  Transfer write(std::uint8_t address, const std::uint8_t* bytes, std::size_t count);
  // Device to host, into room for `capacity` bytes. Done but not ended means that the room is full or that
  // the device has no more for now.
  Transfer read(std::uint8_t address, std::uint8_t* buffer, std::size_t capacity);

  // `observer` is called inside write() with each remote call that could be read, as object.method, once the
  // call is carried out or refused; it must not use the scanner. Null ends the observation. The scanner
  // itself keeps no history, however long it runs.
  using CallObserver = std::function<void(const std::string& call)>;
  void observeCalls(CallObserver observer);
  // What the last job that was started asked for.
  const std::optional<PageRequest>& lastRequest() const;
  // Transfers counted for the positions of faults, since they were last reset.
  std::uint32_t transfers() const;

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace virtualscanner
