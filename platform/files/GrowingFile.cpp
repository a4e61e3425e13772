#include "GrowingFile.h"

#include <new>
#include <utility>

#include "TemporaryFile.h"

namespace platform {

struct GrowingFile::Impl {
  // A file and how many bytes of the buffer, from the first on, are in it.
  struct Copy {
    TemporaryFile file;
    std::size_t length = 0;
  };

  explicit Impl(std::string path) : target(std::move(path)) {}

  void forget() {
    spare = Copy();
    named = Copy();
    buffer.reset();
    length = 0;
  }
  void follow(Data& data);
  bool bringSpareUpToDate();
  bool publish();

  const std::string target;
  DataRef buffer;
  std::size_t length = 0;  // of the buffer, at the latest update
  Copy named;              // has the target's name, unless another process interfered
  Copy spare;              // the private one, which gets the next bytes
};

// If the buffer is another one, or has shrunk, the contents of the files do not belong to it.
void GrowingFile::Impl::follow(Data& data) {
  if (buffer.get() != &data || data.length() < length) {
    forget();
    data.retain();
    buffer.reset(&data);
  }
  length = data.length();
}

bool GrowingFile::Impl::bringSpareUpToDate() {
  if (!spare.file.isAsLeft()) {
    spare = Copy();  // releases its name before the next one needs it
    spare.file = TemporaryFile(target);
  }
  std::size_t written = 0;
  const bool whole =
      spare.file.writeAt(spare.length, buffer->bytes() + spare.length, length - spare.length, &written);
  // After a failure (a full disk) the next update continues from here instead of filling the disk once more.
  spare.length += written;
  spare.file.leave();
  return whole;
}

bool GrowingFile::Impl::publish() {
  if (named.file.isAsLeft() && spare.file.exchangeWith(named.file)) {
    std::swap(named, spare);
    return true;
  }
  if (!spare.file.replaceTarget()) return false;
  named = std::exchange(spare, Copy());
  return true;
}

GrowingFile::GrowingFile(std::string path) : impl_(new Impl(std::move(path))) {}

GrowingFile::~GrowingFile() {
  delete impl_;
}

bool GrowingFile::update(Data& data) try {
  impl_->follow(data);
  return impl_->bringSpareUpToDate() && impl_->publish();
} catch (const std::bad_alloc&) {
  return false;
}

void GrowingFile::finish() {
  impl_->forget();
}

}  // namespace platform
