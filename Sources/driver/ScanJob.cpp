#include "ScanJob.h"

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <new>
#include <utility>
#include <vector>

#include "CScannerDriver.h"
#include "Data.h"
#include "JobParameters.h"
#include "ListElem.h"
#include "MapElem.h"
#include "StringElem.h"
#include "XMLSAXParser.h"
#include "XMLVisitor.h"

extern "C" {
std::string glJobName{};
std::int32_t endJobPage = 0;
}

namespace {

using platform::IOReturn;
using platform::kIOReturnNoDevice;
using platform::kIOReturnSuccess;

constexpr unsigned long replySize = 512;         // bytes per read of the reply pipe
constexpr unsigned long imageReadSize = 102400;  // bytes per read of the data pipe
constexpr unsigned int convertedImageReads = 2;  // reads with the convert flag, which no parser uses
constexpr int requestIdCount = 10000;
constexpr int callMethod = 5;  // message type of a remote call

constexpr const char* systemObject = "system";
constexpr const char* enterMethod = "enterHostUSBSendMode";
constexpr const char* exitMethod = "exitHostUSBSendMode";
constexpr const char* factoryObject = "jobFactory";
constexpr const char* createMethod = "create";
constexpr const char* jobKind = "HostSendJob";
constexpr const char* startMethod = "start";
constexpr const char* scanJobSuffix = ".scanJob";
constexpr const char* doneMethod = "done";

struct FreeBlock {
  void operator()(char* block) const { std::free(block); }
};

// Deletes the result of a parser, which the caller owns, even if reading it throws.
class ResultOwner {
 public:
  explicit ResultOwner(XMLSAXParser& parser) : parser_(parser) {}
  ~ResultOwner() { delete parser_.getResult(); }
  ResultOwner(const ResultOwner&) = delete;
  ResultOwner& operator=(const ResultOwner&) = delete;

 private:
  XMLSAXParser& parser_;
};

void takeControlMessage(char* bytes, int length) {
  XMLSAXParser parser;
  const ResultOwner owner(parser);
  if (parser.parseMessage(bytes, length) != 0) return;
  Element* message = parser.getResult();
  if (message == nullptr) return;
  // A fault changes nothing: the job continues as if no reply had arrived.
  if (message->getChild("messageType")->stringValue() != "response") return;
  glJobName = message->getChild("result")->stringValue();
}

}  // namespace

void _MY_ControlData(void* bytes, int length, void* /*info*/) {
  try {
    takeControlMessage(static_cast<char*>(bytes), length);
  } catch (...) {
    // No such entry, no text or no memory: as if the message had not arrived.
    return;
  }
}

void _MY_ImageData(void* bytes, int length, void* info) {
  static_cast<CScannerDriver*>(info)->AddScanData(static_cast<const char*>(bytes), length);
}

void _MY_ImageBeginJob(void* /*info*/) {}
void _MY_ImageBeginJobPage(void* /*info*/) {}
void _MY_ImageEndJobPage(void* /*info*/) {}
void _MY_ImageEndJob(void* /*info*/) {}

ScanJob::ScanJob(CScannerDriver& driver) : driver_(driver), requestId_(std::rand() % requestIdCount) {
  USBScanProtocolCallbacks callbacks{};
  callbacks.info = &driver_;
  callbacks.beginImageJob = _MY_ImageBeginJob;
  callbacks.beginImagePage = _MY_ImageBeginJobPage;
  callbacks.controlData = _MY_ControlData;
  callbacks.imageData = _MY_ImageData;
  callbacks.endImagePage = _MY_ImageEndJobPage;
  callbacks.endImageJob = _MY_ImageEndJob;
  protocol_ = initUSBScanProtocol(&callbacks);
  if (protocol_ == nullptr) throw std::bad_alloc();
}

ScanJob::~ScanJob() {
  releaseUSBScanProtocol(protocol_);
}

IOReturn ScanJob::run() {
  announceAndStart();
  if (const IOReturn status = receiveImage(); status != kIOReturnSuccess) return status;
  ListElem none;
  call(jobName_ + scanJobSuffix, doneMethod, none);
  call(systemObject, exitMethod, none);
  return kIOReturnSuccess;
}

void ScanJob::announceAndStart() {
  ListElem parameters;
  auto tree = jobParameterTree(jobParametersFor(driver_.scanArea_));
  parameters.addChild(0U, tree.get());
  static_cast<void>(tree.release());
  call(systemObject, enterMethod, parameters);

  // A list interprets a name as a position, and this one as 0: the kind of job is inserted before the tree.
  auto kind = std::make_unique<StringElem>(jobKind);
  parameters.addChild(jobKind, kind.get());
  static_cast<void>(kind.release());
  call(factoryObject, createMethod, parameters);

  jobName_ = glJobName;
  ListElem none;
  call(jobName_, startMethod, none);
}

IOReturn ScanJob::receiveImage() {
  endJobPage = 0;
  // The replies so far may have created one: only image bytes received from now on count.
  driver_.imageAccumulator_.reset();
  std::vector<char> buffer;
  bool convert = true;
  unsigned int reads = 0;
  do {
    // Cleared for each read: bytes that a stack reports but does not write read as zero.
    buffer.assign(imageReadSize, 0);
    unsigned long length = imageReadSize;
    const IOReturn status = driver_.ReadDataPipeToBuffer(buffer.data(), &length);
    if (reads >= convertedImageReads) convert = false;
    if (status == kIOReturnSuccess) {
      feed(buffer.data(), length, convert);
      dumpData(driver_.imageAccumulator_.get());
    } else if (status == kIOReturnNoDevice) {
      driver_.deviceOpen_ = 0;
      return status;
    } else if (driver_.imageAccumulator_) {
      // The silence after the data is the only sign that the image is complete.
      endJobPage = 1;
    }
    // Waits for the first image byte without limit.
    ++reads;
  } while (endJobPage == 0);
  return kIOReturnSuccess;
}

void ScanJob::call(const std::string& object, const char* method, ListElem& parameters) {
  send(object, method, parameters);
  takeReply();
}

void ScanJob::send(const std::string& object, const char* method, ListElem& parameters) {
  XMLVisitor writer(callMethod, requestId_, object, method, "");
  parameters.accept(&writer);
  char* text = nullptr;
  unsigned int length = 0;
  writer.createMemoryDump(&text, &length);
  const std::unique_ptr<char, FreeBlock> message(text);
  const platform::DataRef framed(
      prepControlDataToSend(protocol_, message.get(), static_cast<std::int32_t>(length)));
  if (!framed) throw std::bad_alloc();
  // The status is ignored: only a reply proves that the device took the message.
  driver_.WritePipeWithBuffer(reinterpret_cast<const char*>(framed->bytes()),
                              static_cast<unsigned long>(framed->length()));
}

// One read: a longer reply stays in the parser until later bytes complete it.
void ScanJob::takeReply() {
  char buffer[replySize] = {};
  unsigned long length = replySize;
  if (driver_.ReadControlPipeToBuffer(buffer, &length) == kIOReturnSuccess) feed(buffer, length, true);
}

void ScanJob::feed(char* bytes, unsigned long length, bool convert) {
  receiveData(protocol_, bytes, static_cast<std::int32_t>(length), convert ? 1 : 0);
  // The callback could only record the loss, since it must not throw.
  if (driver_.imageDataLost_) throw std::bad_alloc();
}
