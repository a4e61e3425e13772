#include "JobProtocol.h"

#include <utility>

#include "Exceptions.h"
#include "IntegerElem.h"
#include "StringElem.h"

namespace virtualscanner {

Answer JobProtocol::answer(std::string_view message, bool refuse) {
  RemoteCall call;
  std::string name;
  try {
    call.read(message);
    name = call.object() + "." + call.method();
    if (refuse) throw ObjectStoreException("refused by fault injection");
    result_ = std::make_unique<IntegerElem>(0);
    const CallEffect effect = perform(call);
    return {writeResponse(call.requestId(), *result_), effect, std::move(name)};
  } catch (const ObjectStoreException& failure) {
    return {writeException(call.requestId(), failure.getMessage()), CallEffect::none, std::move(name)};
  }
}

void JobProtocol::reset() {
  phase_ = Phase::idle;
  jobName_.clear();
}

// Names sent by the host are not repeated in the texts: messages are written without escaping.
CallEffect JobProtocol::perform(const RemoteCall& call) {
  if (call.object() == "system" && call.method() == "enterHostUSBSendMode") return enter(call);
  if (call.object() == "system" && call.method() == "exitHostUSBSendMode") return exit();
  if (call.object() == "jobFactory" && call.method() == "create") return create(call);
  if (!jobName_.empty() && call.object() == jobName_ && call.method() == "start") return start();
  if (!jobName_.empty() && call.object() == jobName_ + ".scanJob" && call.method() == "done") return finish();
  throw ObjectStoreException("there is no such object or method");
}

CallEffect JobProtocol::enter(const RemoteCall& call) {
  if (!call.parameter(0).instanceOf("MapElem")) throw ObjectStoreException("the parameters are not a map");
  reset();
  phase_ = Phase::ready;
  return CallEffect::entered;
}

CallEffect JobProtocol::create(const RemoteCall& call) {
  if (phase_ == Phase::idle) throw ObjectStoreException("the device is not in host USB send mode");
  if (phase_ != Phase::ready) throw ObjectStoreException("another job is not done yet");
  Element& kind = call.parameter(0);
  if (!kind.instanceOf("StringElem") || kind.stringValue() != "HostSendJob") {
    throw ObjectStoreException("the device has no such kind of job");
  }
  request_ = decodePageRequest(call.parameter(1));
  jobName_ = "HostSendJob" + std::to_string(++jobs_);
  result_ = std::make_unique<StringElem>(jobName_);
  phase_ = Phase::created;
  return CallEffect::none;
}

CallEffect JobProtocol::start() {
  if (phase_ != Phase::created) throw ObjectStoreException("the job is running");
  phase_ = Phase::running;
  return CallEffect::started;
}

CallEffect JobProtocol::finish() {
  if (phase_ != Phase::running) throw ObjectStoreException("the job is not running");
  jobName_.clear();
  phase_ = Phase::ready;
  return CallEffect::finished;
}

CallEffect JobProtocol::exit() {
  if (phase_ == Phase::idle) throw ObjectStoreException("the device is not in host USB send mode");
  if (phase_ != Phase::ready) throw ObjectStoreException("the job is not done yet");
  phase_ = Phase::idle;
  return CallEffect::none;
}

}  // namespace virtualscanner
