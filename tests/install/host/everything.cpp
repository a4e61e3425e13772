// A host that uses every class and every function that the installed headers offer. Prints on its last line
// whether all of it works; the details are tested elsewhere.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <iostream>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "AliasElem.h"
#include "BinaryElem.h"
#include "BitmapExport.h"
#include "BooleanElem.h"
#include "CompositeElem.h"
#include "Data.h"
#include "DataElem.h"
#include "DebugBridge.h"
#include "Dictionary.h"
#include "DoubleElem.h"
#include "DriverGlobals.h"
#include "Element.h"
#include "ElementIterator.h"
#include "ElementVisitor.h"
#include "Exceptions.h"
#include "IntegerElem.h"
#include "LazyEvalElem.h"
#include "ListElem.h"
#include "MapElem.h"
#include "NonterminalElem.h"
#include "NullElem.h"
#include "ObjectStore.h"
#include "OperationElem.h"
#include "PPM2TIFFWrapper.h"
#include "Runnable.h"
#include "ScannerInterface.h"
#include "Semaphore.h"
#include "StringElem.h"
#include "StringUtils.h"
#include "TerminalElem.h"
#include "USBScanProtocol.h"
#include "XMLEncoding.h"
#include "XMLSAXParser.h"
#include "XMLVisitor.h"

namespace {

int failures = 0;

void expect(bool holds, const char* what) {
  if (holds) return;
  std::cout << "does not hold: " << what << "\n";
  ++failures;
}
#define EXPECT(condition) expect(condition, #condition)

template <typename Thrown>
bool throws(const std::function<void()>& work) {
  try {
    work();
  } catch (const Thrown&) {
    return true;
  }
  return false;
}

// Classes of the host's own, derived from those of the library.

class CountingVisitor final : public ElementVisitor {
 public:
  virtual ~CountingVisitor() = default;
  void visitorAtPersistentElem(PersistentElem*) override { ++visits; }
  void visitorAtCompositeElem(CompositeElem*) override { ++visits; }
  void visitorAtMapElem(MapElem*) override { ++visits; }
  void visitorAtListElem(ListElem*) override { ++visits; }
  void visitorAtIntegerElem(IntegerElem*) override { ++visits; }
  void visitorAtBooleanElem(BooleanElem*) override { ++visits; }
  void visitorAtDoubleElem(DoubleElem*) override { ++visits; }
  void visitorAtStringElem(StringElem*) override { ++visits; }
  void visitorAtBinaryElem(BinaryElem*) override { ++visits; }
  void visitorAtNullElem(NullElem*) override { ++visits; }
  void visitorAtObjectStoreException(ObjectStoreException*) override { ++visits; }
  int visits = 0;
};

class NoChildren final : public ElementIterator {
 public:
  bool hasNext() override { return false; }
  Element* next() override { throw NoSuchElementException("none"); }
  Element* next(ListElem*) override { return next(); }
  std::string nextName() override { throw NoSuchElementException("none"); }
  unsigned int nextIndex() override { throw NoSuchElementException("none"); }
};

class LoudMap : public MapElem {
 public:
  std::string toString() override { return "LOUD"; }
  ElementIterator* iterator(bool) override { return new NoChildren; }
};

class Answer : public LazyEvalElem {
 public:
  Answer() {
    function = [](Element*, ListElem*) -> Element* {
      static IntegerElem answer(42);  // what is externalized is a copy
      return &answer;
    };
  }
};

class OwnLeaf : public TerminalElem {
 public:
  std::string stringValue() override { return "leaf"; }
  int intValue() override { return 1; }
  bool booleanValue() override { return true; }
  Element* externalize(Element*) override { return new OwnLeaf; }
};

class OwnValue : public DataElem {
 public:
  std::string stringValue() override { return "value"; }
  int intValue() override { return 2; }
  bool booleanValue() override { return true; }
};

class RememberingVisitor : public XMLVisitor {
 public:
  using XMLVisitor::XMLVisitor;
  void visitorAtNullElem(NullElem* element) override {
    ++nulls;
    XMLVisitor::visitorAtNullElem(element);
  }
  int nulls = 0;
};

// A picture that the host has in memory. Owns itself, as its references are counted.
class OwnBytes final : public platform::Data {
 public:
  explicit OwnBytes(std::string text) : text_(std::move(text)) {}
  ~OwnBytes() override = default;
  void retain() override { ++references_; }
  void release() override {
    if (--references_ == 0) delete this;
  }
  const std::uint8_t* bytes() const override { return reinterpret_cast<const std::uint8_t*>(text_.data()); }
  std::size_t length() const override { return text_.size(); }
  void append(const void* bytes, std::size_t count) override {
    text_.append(static_cast<const char*>(bytes), count);
  }

 private:
  std::string text_;
  int references_ = 1;
};

class Signalling : public Runnable {
 public:
  explicit Signalling(Semaphore& done) : done_(done) {}
  std::int32_t run() override {
    done_.getInstance()->signal();
    return 0;
  }

 private:
  Semaphore& done_;
};

// One of each, by value types first.
std::vector<std::unique_ptr<Element>> oneOfEach(Element* target) {
  const unsigned char bytes[] = {1, 2, 3};
  auto* const block = static_cast<unsigned char*>(std::calloc(1, 2));
  std::vector<std::unique_ptr<Element>> elements;
  const auto add = [&elements](Element* element) { elements.emplace_back(element); };
  add(new IntegerElem(7));
  add(new BooleanElem(true));
  add(new BooleanElem(std::string("yes")));
  add(new BooleanElem("no"));
  add(new DoubleElem(0.5));
  add(new StringElem("text"));
  add(new StringElem("text", "UTF-8"));
  add(new BinaryElem(bytes, 3));
  add(new BinaryElem(block, 2, true));
  add(new NullElem);
  add(new ListElem);
  add(new MapElem);
  add(new CompositeElem(target));
  add(new AliasElem(target));
  add(new OperationElem);
  add(new LazyEvalElem);
  add(new LoudMap);
  add(new Answer);
  add(new OwnLeaf);
  add(new OwnValue);
  return elements;
}

void useElements() {
  MapElem target;
  CountingVisitor visitor;
  for (const auto& element : oneOfEach(&target)) {
    element->accept(&visitor);
    EXPECT(element->instanceOf(Element::_type));
    MapElem holder;
    holder.addChild("held", element.get());
    EXPECT(holder.getChildRaw("held") == element.get());
    holder.removeChild("held");
  }
  EXPECT(visitor.visits == 14);

  LoudMap loud;
  EXPECT(dynamic_cast<NonterminalElem*>(static_cast<Element*>(&loud)) != nullptr);
  EXPECT(loud.instanceOf(MapElem::_type) && !loud.instanceOf(ListElem::_type));
  const std::unique_ptr<ElementIterator> none(static_cast<Element&>(loud).iterator());
  EXPECT(!none->hasNext());
  EXPECT(throws<NoSuchElementException>([&none] { none->next(); }));

  Answer answer;
  const std::unique_ptr<Element> fetched(answer.externalize(nullptr));
  EXPECT(fetched->intValue() == 42);
}

void useContainers() {
  ListElem list;
  char writable[] = "one";
  list.add(new IntegerElem(0))->add(std::string("zero"))->add(writable)->add("two")->add(3)->add(true);
  const std::unique_ptr<std::string> shown(list.childrenToString());
  EXPECT(list.getNumChildren() == 6 && shown->rfind("<List", 0) == 0);
  ListElem::ListIterator positions(&list);
  EXPECT(positions.hasNext() && positions.nextIndex() == 0);

  MapElem map;
  map.addChild("b", new IntegerElem(2));
  map.addChild(new IntegerElem(1), "a");
  MapElem::ElementIteratorImpl entries(&map);
  EXPECT(entries.nextName() == "a" && entries.next()->intValue() == 1);
  const std::unique_ptr<Element> copy(map.clone());
  EXPECT(copy->getNumChildren() == 2);
  EXPECT(throws<NotSupportedException>([&map] { map.intValue(); }));

  CompositeElem object(&map);
  CompositeElem::ElementIteratorImpl chain(&object);
  EXPECT(chain.hasNext() && chain.nextName() == "a");
  EXPECT(object.setEnclosure(nullptr) == &map && object.getEnclosure() == nullptr);
}

// Thrown on one side and caught on the other, by class and by base.
void useExceptions() {
  EXPECT(throws<ValueConversionException>([] { StringToi("x"); }));
  EXPECT(throws<ObjectStoreException>([] { StringToi("x"); }));
  EXPECT(throws<Exception>([] { StringToi("x"); }));
  EXPECT(throws<IndexOutOfBoundsException>([] { ListElem().addChild(5U, nullptr); }));
  CountingVisitor visitor;
  NoSuchElementException(3).accept(&visitor);
  EXPECT(visitor.visits == 1 && ClassCastException(4).getMessage() == "4");
  EXPECT(NumberFormatException().getMessage() == "General Exception");
  EXPECT(throws<Exception>([] { throw Exception("own"); }));
}

std::string dump(XMLVisitor& visitor) {
  char* bytes = nullptr;
  unsigned int length = 0;
  visitor.createMemoryDump(&bytes, &length);
  std::string text(bytes, length);
  std::free(bytes);
  return text;
}

void useMessages() {
  RememberingVisitor reply(1, 3);
  NullElem nothing;
  nothing.accept(&reply);
  std::string text = dump(reply);
  XMLSAXParser reader;
  EXPECT(reader.parseMessage(text.data(), static_cast<int>(text.size())) == 0);
  const std::unique_ptr<Element> message(reader.getResult());
  EXPECT(reply.nulls == 1 && message->getChild("requestID")->stringValue() == "3");
  EXPECT(XMLSAXParser::getElementType("ListElem") != XMLSAXParser::getElementType("MapElem"));

  XMLVisitor open("root");
  open.writeElementTag("<tag/>", true);
  open.writeElementText("text");
  EXPECT(dump(open).find("<tag/>text") != std::string::npos);
  // Volatile, so that the addresses are really taken from the library.
  void (*volatile startElement)(void*, const char*, const char**) = SAXstartElement;
  void (*volatile endElement)(void*, const char*) = SAXendElement;
  void (*volatile characters)(void*, const char*, int) = SAXcharData;
  EXPECT(startElement != nullptr && endElement != nullptr && characters != nullptr);

  EXPECT(XMLEncoding::deSerializeElement(nullptr) == nullptr);
  const std::unique_ptr<Element> decoded[] = {
      std::unique_ptr<Element>(XMLEncoding::parseListElem(nullptr)),
      std::unique_ptr<Element>(XMLEncoding::parseMapElem(nullptr)),
      std::unique_ptr<Element>(XMLEncoding::parseListElemArg(nullptr, "arg"))};
  for (const auto& element : decoded) EXPECT(element->getNumChildren() == 0);
  EXPECT(XMLEncoding::parseElemArg(nullptr, "arg") == nullptr);
  EXPECT(XMLEncoding::parseStringArg(nullptr, "arg") == nullptr);
  CompositeElem* (*volatile parseComposite)(_xmlNode*) = XMLEncoding::parseCompositeElem;
  EXPECT(parseComposite != nullptr);
}

void useObjectStore() {
  ObjectStore.setAttribute("lamp", new StringElem("on"));
  EXPECT(ObjectStore.getAttribute("lamp")->stringValue() == "on");
  EXPECT(ObjectStore.getElement("root.globals") == ObjectStore::_globals);
  EXPECT(ObjectStore::getRoot() == ObjectStore::_root && ObjectStore::_rules != nullptr);
  EXPECT(ObjectStore::_classLocation == "sys.class" && ObjectStore::_globalsLocation == "globals");
  EXPECT(ObjectStore.callRule("lamp", nullptr)->stringValue() == "on");
  EXPECT(throws<NoSuchElementException>([] { ObjectStore.instantiate("nothing", nullptr); }));
  EXPECT(throws<ClassCastException>([] { ObjectStore.changeClass(ObjectStore::_globals, "nothing"); }));
  class ObjectStore another;
  EXPECT(another.getObject("lamp") == ObjectStore.getObject("lamp"));
}

void useText() {
  unsigned char bytes[2] = {0, 0};
  EXPECT(iToString(-1) == "-1" && ulToString(1) == "1" && fToString(0.5F) == "0.500000");
  EXPECT(ahtom("0aff", bytes) == bytes && bytes[1] == 0xFF);
  EXPECT(StrToBase64(bytes, 2) == "Cv8=" && Base64ToStr("Cv8=", bytes, 2) == 2);
  EXPECT(StringToUpperCase("a") == "A" && URLDecodeString(URLEncodeString("a/b")) == "a/b");
  printHexBuffer(bytes, 2);
}

void useThreads() {
  Semaphore done(0);
  auto* const work = new Signalling(done);
  EXPECT(work->start() == 0);
  EXPECT(done.wait() == 0);
  EXPECT(runfunction(new Signalling(done)) == nullptr && done.wait() == 0);
}

void usePackets() {
  std::string seen;
  USBScanProtocolCallbacks callbacks{};
  callbacks.info = &seen;
  callbacks.controlData = [](void* bytes, int length, void* info) {
    static_cast<std::string*>(info)->assign(static_cast<const char*>(bytes),
                                            static_cast<std::size_t>(length));
  };
  void* const parser = initUSBScanProtocol(&callbacks);
  platform::Data* const framed = prepControlDataToSend(parser, "hello", 5);
  receiveData(parser, framed->bytes(), static_cast<std::int32_t>(framed->length()), 1);
  EXPECT(seen == "hello");
  const platform::DataRef released(framed);
  const platform::DataRef own(new OwnBytes("image bytes"));
  dumpData(own.get());
  releaseUSBScanProtocol(parser);
}

void usePictures() {
  unsigned char* raster = nullptr;
  std::uint32_t length = 0;
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  std::uint32_t samples = 0;
  const platform::DataRef own(new OwnBytes("P5\n# a comment\n2 1\n255\nab"));
  EXPECT(ConvertPPMToTIFF(own.get(), &raster, &length, 0, 0, &width, &height, &samples) == 0);
  EXPECT(width == 2 && height == 1 && samples == 1 && length == 2 && std::memcmp(raster, "ab", 2) == 0);
  std::free(raster);

  const unsigned char pixels[3] = {1, 2, 3};
  const CMBitmap bitmap{nullptr, 1, 1, 3, bitmapSpaceRGB24};
  unsigned char* tiff = nullptr;
  EXPECT(ConvertCMBitmapToTIFF(pixels, &bitmap, &tiff, &length, nullptr, 75, 75) == 0);
  EXPECT(length > 8 && std::memcmp(tiff, "MM", 2) == 0);
  std::free(tiff);

  platform::Dictionary capability;
  capability.set("type", "TWON_ENUMERATION");
  capability.set("current", 1);
  capability.set("value", platform::Array{100, 200.5});
  std::int32_t whole = 0;
  float fraction = 0;
  EXPECT(GetIntFromDict(&capability, &whole) == 0 && whole == 200);
  EXPECT(GetFloatFromDict(&capability, &fraction) == 0 && fraction > 200.25F);
}

void useDriver() {
  BridgeNSLog("%s", "a line");
  const intptr_t scanner = EnableScannerEx("ignored", 1, 2.5);
  unsigned long width = 0;
  unsigned long height = 0;
  EXPECT(SetScanParameter(scanner, 300, 300, 2, 0, 0, 8.5, 11) == 1);
  EXPECT(SetScanParameterEx(scanner, 300, 300, 2, 0, 0, 10200, 13200) == 1);
  EXPECT(SetScanParameter2006(scanner, 75, 75, 2, 0, 0, 10200, 13200) == 1);
  EXPECT(GetScanParameter(scanner, &width, &height) == 1 && width == 637 && height == 825);
  EXPECT(AbortScan(scanner) == 0 && EndNetworkScan(scanner) == 0);
  EXPECT(IsUSBConnectionValid(scanner) == 1 && ForceQuit(scanner) == 1);
  EXPECT(GetHotKey() + GetADFStatus(1) + DeviceParameterSet("") + DeviceParameterGet(scanner, &width) == 4);
  EXPECT(ScanVersion() + ImageFilterSetup(1, 2) + SetIdleCallback(&width) == 3);
  EXPECT(GetDevicePropteries(nullptr) == 0 && DisableScanner(scanner) == 1);
  EXPECT(StartScan(0) == -1 && ReadImage(0, nullptr, 0, nullptr) == -1);
  EXPECT(totalBytesRead == 0 && endJobPage == 0 && glJobName.empty() && gType1Map.empty());
  const intptr_t another = EnableScanner();
  EXPECT(another != 0 && DisableScanner(another) == 1);
}

}  // namespace

int main() {
  useElements();
  useContainers();
  useExceptions();
  useMessages();
  useObjectStore();
  useText();
  useThreads();
  usePackets();
  usePictures();
  useDriver();
  std::cout << std::flush;
  std::printf("%s\n", failures == 0 ? "everything works" : "something does not work");
  return failures == 0 ? 0 : 1;
}
