#include "EmulatedUsbfs.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/ioctl.h>
#include <linux/usbdevice_fs.h>
#include <sys/stat.h>
#include <umockdev.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstring>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "WiredScanner.h"

namespace {

using virtualscanner::WiredScanner;
using virtualscanner::WireReply;
using virtualscanner::WireRequest;

constexpr char node[] = "/dev/bus/usb/001/002";
constexpr char sysPath[] = "/sys/devices/pci0000:00/0000:00:14.0/usb1/1-1";
constexpr int signalCapacity = 4096;

template <typename Object>
struct Unreference {
  void operator()(Object* object) const { g_object_unref(object); }
};
template <typename Object>
using Reference = std::unique_ptr<Object, Unreference<Object>>;
using IoctlData = Reference<UMockdevIoctlData>;

void require(bool done, GError* error, const char* what) {
  if (!done) ADD_FAILURE() << what << ": " << (error != nullptr ? error->message : "failed");
  g_clear_error(&error);
}

IoctlData resolve(UMockdevIoctlData* data, std::size_t offset, std::size_t length) {
  GError* error = nullptr;
  IoctlData resolved(umockdev_ioctl_data_resolve(data, offset, length, &error));
  require(resolved != nullptr, error, "an argument of an ioctl");
  return resolved;
}

template <typename Value>
Value valueOf(UMockdevIoctlData* data) {
  Value value{};
  std::memcpy(&value, data->data, sizeof value);
  return value;
}

template <typename Value>
void store(UMockdevIoctlData* data, const Value& value) {
  umockdev_ioctl_data_update(data, 0, reinterpret_cast<guint8*>(const_cast<Value*>(&value)), sizeof value);
}

std::string hexOf(const std::vector<std::uint8_t>& bytes) {
  static constexpr char digits[] = "0123456789ABCDEF";
  std::string text;
  for (const std::uint8_t byte : bytes) {
    text += digits[byte >> 4];
    text += digits[byte & 15];
  }
  return text;
}

// The device node: a pipe that libusb polls for room. It is full while nothing can be reaped.
class Signal {
 public:
  void open(const std::string& path) {
    unlink(path.c_str());
    EXPECT_EQ(mkfifo(path.c_str(), 0666), 0) << path << ": " << strerror(errno);
    descriptor_ = ::open(path.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
    EXPECT_GE(descriptor_, 0) << path << ": " << strerror(errno);
    fcntl(descriptor_, F_SETPIPE_SZ, signalCapacity);
    full_ = false;
    set(false);
  }
  void close() {
    if (descriptor_ >= 0) ::close(descriptor_);
    descriptor_ = -1;
  }
  void set(bool ready) {
    if (descriptor_ < 0 || ready == !full_) return;
    char filler[signalCapacity] = {};
    const ssize_t moved =
        ready ? read(descriptor_, filler, sizeof filler) : write(descriptor_, filler, sizeof filler);
    EXPECT_EQ(moved, signalCapacity);
    full_ = !ready;
  }

 private:
  int descriptor_ = -1;
  bool full_ = false;
};

// A request that the host handed in, in the host's own memory.
struct HeldRequest {
  IoctlData request;  // usbdevfs_urb
  IoctlData buffer;
};

}  // namespace

struct EmulatedUsbfs::Impl {
  Impl(virtualscanner::VirtualScanner& scanner, Options chosen) : wired(scanner), options(chosen) {
    testbed.reset(umockdev_testbed_new());
    handler.reset(umockdev_ioctl_base_new());
    g_signal_connect(handler.get(), "handle-ioctl", G_CALLBACK(&Impl::handle), this);
    GError* error = nullptr;
    require(umockdev_testbed_attach_ioctl(testbed.get(), node, handler.get(), &error), error, "the node");
  }
  ~Impl() {
    GError* error = nullptr;
    require(umockdev_testbed_detach_ioctl(testbed.get(), node, &error), error, "the node");
    testbed.reset();
    handler.reset();
    signal.close();
  }

  void addDevice();
  void removeDevice();

  static gboolean handle(UMockdevIoctlBase* base, UMockdevIoctlClient* client, gpointer self);
  bool answer(UMockdevIoctlClient* client);
  void submit(UMockdevIoctlClient* client);
  void reap(UMockdevIoctlClient* client);
  void discard(UMockdevIoctlClient* client);

  WiredScanner wired;
  const Options options;
  Reference<UMockdevTestbed> testbed;
  Reference<UMockdevIoctlBase> handler;
  Signal signal;
  mutable std::mutex mutex;  // guards everything below, and the scanner
  bool pluggedIn = false;
  Statistics statistics;
  std::map<std::uint64_t, HeldRequest> held;  // by their address in the host's memory
};

void EmulatedUsbfs::Impl::addDevice() {
  std::vector<std::uint8_t> descriptors = wired.scanner().deviceDescriptor();
  const std::vector<std::uint8_t>& configuration = wired.scanner().configurationDescriptor();
  descriptors.insert(descriptors.end(), configuration.begin(), configuration.end());
  const std::string text =
      "P: /devices/pci0000:00/0000:00:14.0/usb1/1-1\nN: bus/usb/001/002\nE: SUBSYSTEM=usb\n"
      "E: DEVTYPE=usb_device\nE: DEVNAME=/dev/bus/usb/001/002\nE: BUSNUM=001\nE: DEVNUM=002\n"
      "A: busnum=1\\n\nA: devnum=2\\n\nA: bConfigurationValue=1\\n\nA: speed=480\\n\nH: descriptors=" +
      hexOf(descriptors) + "\n\n";
  GError* error = nullptr;
  require(umockdev_testbed_add_from_string(testbed.get(), text.c_str(), &error), error, "the device");
  gchar* root = umockdev_testbed_get_root_dir(testbed.get());
  signal.open(std::string(root) + node);
  g_free(root);
  pluggedIn = true;
}

void EmulatedUsbfs::Impl::removeDevice() {
  {
    const std::lock_guard lock(mutex);
    pluggedIn = false;
    wired.endAll(-ESHUTDOWN);
    signal.set(true);
  }
  umockdev_testbed_uevent(testbed.get(), sysPath, "remove");
  umockdev_testbed_remove_device(testbed.get(), sysPath);
}

gboolean EmulatedUsbfs::Impl::handle(UMockdevIoctlBase* /*base*/, UMockdevIoctlClient* client,
                                     gpointer self) {
  return static_cast<Impl*>(self)->answer(client) ? TRUE : FALSE;
}

bool EmulatedUsbfs::Impl::answer(UMockdevIoctlClient* client) {
  const std::lock_guard lock(mutex);
  ++statistics.calls;
  const auto complete = [client](long result, int error) {
    umockdev_ioctl_client_complete(client, result, error);
    return true;
  };
  const auto completeWith = [&complete](int status) { return complete(status == 0 ? 0 : -1, -status); };
  const gulong request = umockdev_ioctl_client_get_request(client);
  UMockdevIoctlData* argument = umockdev_ioctl_client_get_arg(client);
  if (request == USBDEVFS_REAPURBNDELAY) return reap(client), true;
  if (!pluggedIn) return complete(-1, ENODEV);
  switch (request) {
    case USBDEVFS_GET_CAPABILITIES: {
      std::uint32_t capabilities =
          USBDEVFS_CAP_ZERO_PACKET | USBDEVFS_CAP_BULK_CONTINUATION | USBDEVFS_CAP_REAP_AFTER_DISCONNECT;
      if (options.largeRequests)
        capabilities |= USBDEVFS_CAP_NO_PACKET_SIZE_LIM | USBDEVFS_CAP_BULK_SCATTER_GATHER;
      store(resolve(argument, 0, sizeof capabilities).get(), capabilities);
      return complete(0, 0);
    }
    case USBDEVFS_CLAIMINTERFACE:
      return options.inUse ? complete(-1, EBUSY) : complete(0, 0);
    case USBDEVFS_RELEASEINTERFACE:
    case USBDEVFS_SETCONFIGURATION:
    case USBDEVFS_RESET:
      return complete(0, 0);
    case USBDEVFS_GETDRIVER:
      return options.kernelDriver ? complete(0, 0) : complete(-1, ENODATA);
    case USBDEVFS_GET_SPEED:
      return complete(3, 0);
    case USBDEVFS_SETINTERFACE: {
      const IoctlData data = resolve(argument, 0, sizeof(usbdevfs_setinterface));
      return completeWith(wired.setInterface(
          static_cast<std::uint8_t>(valueOf<usbdevfs_setinterface>(data.get()).altsetting)));
    }
    case USBDEVFS_CLEAR_HALT: {
      const IoctlData data = resolve(argument, 0, sizeof(unsigned int));
      const int status = wired.clearHalt(static_cast<std::uint8_t>(valueOf<unsigned int>(data.get())));
      signal.set(wired.hasReply());
      return completeWith(status);
    }
    case USBDEVFS_SUBMITURB:
      submit(client);
      return true;
    case USBDEVFS_DISCARDURB:
      discard(client);
      return true;
    default:
      return complete(-1, ENOTTY);
  }
}

void EmulatedUsbfs::Impl::submit(UMockdevIoctlClient* client) {
  IoctlData data = resolve(umockdev_ioctl_client_get_arg(client), 0, sizeof(usbdevfs_urb));
  const auto urb = valueOf<usbdevfs_urb>(data.get());
  const auto length = static_cast<std::size_t>(urb.buffer_length);
  IoctlData buffer = resolve(data.get(), offsetof(usbdevfs_urb, buffer), length);
  WireRequest request;
  request.id = data->client_addr;
  request.address = urb.endpoint;
  request.shortIsError = (urb.flags & USBDEVFS_URB_SHORT_NOT_OK) != 0;
  request.continues = (urb.flags & USBDEVFS_URB_BULK_CONTINUATION) != 0;
  const std::uint8_t* bytes = buffer->data;
  if (urb.type == USBDEVFS_URB_TYPE_CONTROL) {
    request.address = 0;
    const auto word = [bytes](int at) { return static_cast<std::uint16_t>(bytes[at] | bytes[at + 1] << 8); };
    request.setup = {bytes[0], bytes[1], word(2), word(4), word(6)};
    request.bytes.assign(bytes + 8, bytes + length);
  } else {
    request.bytes.assign(bytes, bytes + length);
    ++statistics.bulkRequests;
    statistics.largestRequest = std::max(statistics.largestRequest, static_cast<std::uint32_t>(length));
  }
  held[request.id] = {std::move(data), std::move(buffer)};
  wired.submit(std::move(request));
  signal.set(wired.hasReply());
  umockdev_ioctl_client_complete(client, 0, 0);
}

void EmulatedUsbfs::Impl::reap(UMockdevIoctlClient* client) {
  const std::optional<WireReply> reply = wired.nextReply();
  // A device that is gone stays ready, so that the host looks and finds it gone.
  signal.set(wired.hasReply() || !pluggedIn);
  if (!reply) {
    umockdev_ioctl_client_complete(client, -1, pluggedIn ? EAGAIN : ENODEV);
    return;
  }
  const auto found = held.find(reply->id);
  const HeldRequest request = std::move(found->second);
  held.erase(found);
  auto urb = valueOf<usbdevfs_urb>(request.request.get());
  urb.status = reply->status;
  urb.actual_length = static_cast<int>(reply->moved);
  const std::size_t before = urb.type == USBDEVFS_URB_TYPE_CONTROL ? 8 : 0;
  if (!reply->bytes.empty())
    umockdev_ioctl_data_update(request.buffer.get(), before, const_cast<guint8*>(reply->bytes.data()),
                               static_cast<gint>(reply->bytes.size()));
  umockdev_ioctl_data_update(request.request.get(), offsetof(usbdevfs_urb, status),
                             reinterpret_cast<guint8*>(&urb.status), sizeof urb.status);
  umockdev_ioctl_data_update(request.request.get(), offsetof(usbdevfs_urb, actual_length),
                             reinterpret_cast<guint8*>(&urb.actual_length), sizeof urb.actual_length);
  const IoctlData target = resolve(umockdev_ioctl_client_get_arg(client), 0, sizeof(void*));
  umockdev_ioctl_data_set_ptr(target.get(), 0, request.request.get());
  umockdev_ioctl_client_complete(client, 0, 0);
}

void EmulatedUsbfs::Impl::discard(UMockdevIoctlClient* client) {
  const UMockdevIoctlData* argument = umockdev_ioctl_client_get_arg(client);
  gulong address = 0;
  std::memcpy(&address, argument->data, sizeof address);
  const bool known = wired.takeBack(address, -ENOENT);
  signal.set(wired.hasReply());
  umockdev_ioctl_client_complete(client, known ? 0 : -1, known ? 0 : EINVAL);
}

EmulatedUsbfs::EmulatedUsbfs(virtualscanner::VirtualScanner& scanner, Options options)
    : impl_(std::make_unique<Impl>(scanner, options)) {
  impl_->addDevice();
}

EmulatedUsbfs::~EmulatedUsbfs() = default;

void EmulatedUsbfs::unplug() {
  impl_->removeDevice();
}

void EmulatedUsbfs::plugIn() {
  {
    const std::lock_guard lock(impl_->mutex);
    impl_->wired.scanner().plugIn();
  }
  impl_->addDevice();
  umockdev_testbed_uevent(impl_->testbed.get(), sysPath, "add");
}

EmulatedUsbfs::Statistics EmulatedUsbfs::statistics() const {
  const std::lock_guard lock(impl_->mutex);
  return impl_->statistics;
}

std::size_t EmulatedUsbfs::requestsInFlight() const {
  const std::lock_guard lock(impl_->mutex);
  return impl_->held.size();
}
