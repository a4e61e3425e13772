#include "ScriptedImageToolkit.h"

#include <cstdio>

using platform::noErr;
using platform::OSErr;

namespace {

constexpr std::uint32_t hostsDevice = 77;
constexpr std::uint8_t unwritten = 0xEE;

std::string number(long long value) {
  return std::to_string(value);
}

std::string hex(std::int32_t value) {
  char text[16];
  std::snprintf(text, sizeof text, "%08X", static_cast<unsigned>(value));
  return text;
}

std::string characters(platform::OSType type) {
  std::string text;
  for (int shift = 24; shift >= 0; shift -= 8) text += static_cast<char>(type >> shift & 0xFF);
  return text;
}

}  // namespace

class ScriptedImageToolkit::Image final : public platform::GWorld {
 public:
  Image(ScriptedImageToolkit& toolkit, std::uint32_t stride, std::uint32_t rowBytesValue, int height)
      : toolkit_(toolkit),
        rowBytesValue_(rowBytesValue),
        pixels_(std::size_t{stride} * static_cast<std::size_t>(height), unwritten) {}

  bool lockPixels() override { return locked = toolkit_.record("lockPixels", "") == noErr; }
  void unlockPixels() override {
    toolkit_.record("unlockPixels", "");
    toolkit_.expect(locked, "unlocked what was not locked");
    toolkit_.staged = pixels_;
    locked = false;
  }
  std::uint8_t* getPixBaseAddr() override {
    toolkit_.record("getPixBaseAddr", "");
    toolkit_.expect(locked, "used the address of pixels that are not locked");
    return pixels_.data();
  }
  std::uint32_t getPixRowBytes() override {
    toolkit_.record("getPixRowBytes", "");
    return rowBytesValue_;
  }

  bool locked = false;

 private:
  ScriptedImageToolkit& toolkit_;
  std::uint32_t rowBytesValue_;
  std::vector<std::uint8_t> pixels_;
};

class ScriptedImageToolkit::Component final : public platform::GraphicsExport {
 public:
  explicit Component(ScriptedImageToolkit& toolkit) : toolkit_(toolkit) {}

  OSErr setInputGWorld(platform::GWorld* image) override {
    toolkit_.expect(image == toolkit_.image_.get(), "exports another image");
    toolkit_.expect(toolkit_.current_.port == image, "exports an image that is not the current port");
    return toolkit_.record("setInputGWorld", "image");
  }
  OSErr setDepth(std::int32_t depth) override { return toolkit_.record("setDepth", number(depth)); }
  OSErr setOutputHandle(platform::Handle handle) override {
    toolkit_.expect(handle == toolkit_.handle_.get(), "exports to another handle");
    const OSErr error = toolkit_.record("setOutputHandle", handle == nullptr ? "null" : "handle");
    return handle == nullptr ? platform::paramErr : error;
  }
  OSErr setResolution(platform::Fixed horizontal, platform::Fixed vertical) override {
    return toolkit_.record("setResolution", hex(horizontal) + ", " + hex(vertical));
  }
  OSErr doExport() override {
    toolkit_.handle_->bytes.assign(toolkit_.exported.begin(), toolkit_.exported.end());
    return toolkit_.record("doExport", "");
  }

 private:
  ScriptedImageToolkit& toolkit_;
};

ScriptedImageToolkit::ScriptedImageToolkit()
    : hostsPort_(std::make_unique<Image>(*this, 0, 0, 0)), current_{hostsPort_.get(), hostsDevice} {
  platform::useImageToolkit(this);
}

ScriptedImageToolkit::~ScriptedImageToolkit() {
  platform::useImageToolkit(nullptr);
}

OSErr ScriptedImageToolkit::record(const std::string& operation, const std::string& arguments) {
  calls.push_back(operation + "(" + arguments + ")");
  const auto failure = failures_.find(operation);
  return failure == failures_.end() ? noErr : failure->second;
}

void ScriptedImageToolkit::expect(bool condition, const std::string& what) {
  if (!condition) misuse.push_back(what);
}

std::vector<std::string> ScriptedImageToolkit::leftovers() const {
  std::vector<std::string> left;
  if (handle_) left.emplace_back("handle");
  if (image_) left.emplace_back(image_->locked ? "locked image" : "image");
  if (component_) left.emplace_back("component");
  if (current_.port != hostsPort_.get() || current_.device != hostsDevice) left.emplace_back("port");
  return left;
}

platform::Handle ScriptedImageToolkit::newHandle(std::size_t size) {
  if (record("newHandle", number(static_cast<long long>(size))) != noErr) return nullptr;
  handle_ = std::make_unique<platform::RelocatableBlock>();
  return handle_.get();
}

void ScriptedImageToolkit::disposeHandle(platform::Handle handle) {
  record("disposeHandle", "");
  expect(handle != nullptr && handle == handle_.get(), "disposed of another handle");
  handle_.reset();
}

platform::CurrentPort ScriptedImageToolkit::getGWorld() {
  record("getGWorld", "");
  return current_;
}

void ScriptedImageToolkit::setGWorld(const platform::CurrentPort& port) {
  record("setGWorld", std::string(port.port == hostsPort_.get() ? "host's port" : "another port") +
                          ", device " + number(port.device));
  current_ = port;
}

void ScriptedImageToolkit::setPort(platform::GWorld* port) {
  record("setPort", port == image_.get() ? "image" : "another port");
  current_.port = port;
}

const platform::ColorTable* ScriptedImageToolkit::getCTable(std::int16_t id) {
  static const platform::ColorTable greys{platform::greyTable8};
  return record("getCTable", number(id)) == noErr && id == greys.id ? &greys : nullptr;
}

OSErr ScriptedImageToolkit::newGWorld(platform::GWorld** image, std::int16_t depth,
                                      const platform::Rect& bounds, const platform::ColorTable* colors) {
  const std::string rectangle = number(bounds.top) + " " + number(bounds.left) + " " + number(bounds.bottom) +
                                " " + number(bounds.right);
  const std::string table = colors == nullptr ? "no table" : "table " + number(colors->id);
  *image = nullptr;
  const OSErr error = record("newGWorld", number(depth) + ", " + rectangle + ", " + table);
  if (error != noErr || makesNoImage_) return error;
  const auto natural = static_cast<std::uint32_t>((bounds.right * depth + 31) / 32 * 4);
  image_ = stride_ == 0 ? std::make_unique<Image>(*this, natural, natural, bounds.bottom)
                        : std::make_unique<Image>(*this, stride_, rowBytesValue_, bounds.bottom);
  *image = image_.get();
  return noErr;
}

void ScriptedImageToolkit::disposeGWorld(platform::GWorld* image) {
  record("disposeGWorld", "");
  expect(image != nullptr && image == image_.get(), "disposed of another image");
  expect(current_.port != image, "disposed of the current port");
  image_.reset();
}

platform::GraphicsExport* ScriptedImageToolkit::openADefaultComponent(platform::OSType type,
                                                                      platform::OSType subtype) {
  if (record("openADefaultComponent", characters(type) + ", " + characters(subtype)) != noErr) return nullptr;
  component_ = std::make_unique<Component>(*this);
  return component_.get();
}

void ScriptedImageToolkit::closeComponent(platform::GraphicsExport* component) {
  record("closeComponent", "");
  expect(component != nullptr && component == component_.get(), "closed another component");
  component_.reset();
}
