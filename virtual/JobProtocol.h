#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "PageRequest.h"
#include "RemoteCall.h"

namespace virtualscanner {

// The consequence of a call for the rest of the device.
enum class CallEffect : std::uint8_t {
  none,
  entered,   // replies and streams of earlier jobs are to be dropped
  started,   // the page of request() is to be streamed
  finished,  // the rest of the stream is to be dropped
};

struct Answer {
  std::string message;  // the text of the reply
  CallEffect effect;
  std::string call;  // the call answered, as object.method; empty for a message that is none
};

// The remote objects of the device and the order in which they may be called:
//
//   idle     system.enterHostUSBSendMode(parameters)        -> ready    (allowed at any time)
//   ready    jobFactory.create("HostSendJob", parameters)   -> created  (the result is the job's name)
//   created  <job>.start()                                  -> running
//   running  <job>.scanJob.done()                           -> ready
//   ready    system.exitHostUSBSendMode()                   -> idle
//
// Any other call gets an exception reply and changes nothing. Handles texts, not packets or pipes. One thread
// at a time.
class JobProtocol {
 public:
  // Carries out the call in `message` and returns the reply. Invalid messages and calls get an exception
  // reply; throws only std::bad_alloc. With `refuse` the call is read and then refused.
  Answer answer(std::string_view message, bool refuse);

  // Valid after `started`.
  const PageRequest& request() const { return request_; }
  // As after power-on.
  void reset();

 private:
  enum class Phase : std::uint8_t { idle, ready, created, running };

  CallEffect perform(const RemoteCall& call);
  CallEffect enter(const RemoteCall& call);
  CallEffect create(const RemoteCall& call);
  CallEffect start();
  CallEffect finish();
  CallEffect exit();

  Phase phase_ = Phase::idle;
  std::uint32_t jobs_ = 0;
  std::string jobName_;  // empty while there is no job
  PageRequest request_;
  std::unique_ptr<Element> result_;
};

}  // namespace virtualscanner
