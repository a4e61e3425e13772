#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "ImageToolkit.h"

// An image toolkit that records every call as a line of text, keeps the pixels that were staged, lets any
// call fail, and tracks what was obtained and not released. Exports nothing: doExport() puts `exported` into
// the handle. One image, handle and component at a time.
//
//   ScriptedImageToolkit toolkit;                        // is the toolkit in use during its lifetime
//   toolkit.failOn("setDepth", platform::paramErr);
//   ...                                                  // the code under test
//   EXPECT_THAT(toolkit.calls, ElementsAre("newHandle(0)", "getGWorld()", ...));
//   EXPECT_THAT(toolkit.leftovers(), ElementsAre("component"));
//   EXPECT_THAT(toolkit.misuse, IsEmpty());
class ScriptedImageToolkit final : public platform::ImageToolkit {
 public:
  ScriptedImageToolkit();
  ~ScriptedImageToolkit() override;
  ScriptedImageToolkit(const ScriptedImageToolkit&) = delete;
  ScriptedImageToolkit& operator=(const ScriptedImageToolkit&) = delete;

  // The operation of this name fails with `error`, or returns null (lockPixels: false) if it has none.
  void failOn(const std::string& operation, platform::OSErr error = platform::paramErr) {
    failures_[operation] = error;
  }
  // newGWorld() succeeds with a null image.
  void makeNoImage() { makesNoImage_ = true; }
  // Rows are `stride` bytes apart, and getPixRowBytes() returns `value`. Otherwise both are the next
  // multiple of 4.
  void setRowBytes(std::uint32_t stride, std::uint32_t value) {
    stride_ = stride;
    rowBytesValue_ = value;
  }

  std::vector<std::string> calls;
  // The whole memory of the image at unlockPixels(); a byte that was not written is 0xEE.
  std::vector<std::uint8_t> staged;
  std::string exported = "TIFF";
  // Objects that were not in the state that the call requires.
  std::vector<std::string> misuse;
  // "handle", "image", "locked image", "component", "port"
  std::vector<std::string> leftovers() const;

  platform::Handle newHandle(std::size_t size) override;
  void disposeHandle(platform::Handle handle) override;
  platform::CurrentPort getGWorld() override;
  void setGWorld(const platform::CurrentPort& port) override;
  void setPort(platform::GWorld* port) override;
  const platform::ColorTable* getCTable(std::int16_t id) override;
  platform::OSErr newGWorld(platform::GWorld** image, std::int16_t depth, const platform::Rect& bounds,
                            const platform::ColorTable* colors) override;
  void disposeGWorld(platform::GWorld* image) override;
  platform::GraphicsExport* openADefaultComponent(platform::OSType type, platform::OSType subtype) override;
  void closeComponent(platform::GraphicsExport* component) override;

 private:
  class Image;
  class Component;

  // Records the call and returns its scripted result.
  platform::OSErr record(const std::string& operation, const std::string& arguments);
  void expect(bool condition, const std::string& what);

  std::map<std::string, platform::OSErr> failures_;
  bool makesNoImage_ = false;
  std::uint32_t stride_ = 0;
  std::uint32_t rowBytesValue_ = 0;
  std::unique_ptr<platform::RelocatableBlock> handle_;
  std::unique_ptr<Image> image_;
  std::unique_ptr<Image> hostsPort_;
  std::unique_ptr<Component> component_;
  platform::CurrentPort current_;
};
