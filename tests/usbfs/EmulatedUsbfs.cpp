#include "EmulatedUsbfs.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/ioctl.h>
#include <linux/usbdevice_fs.h>
#include <sys/stat.h>
#include <umockdev.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <condition_variable>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <deque>
#include <map>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "WiredScanner.h"

namespace {

namespace usb = platform::usb;
using virtualscanner::WiredScanner;
using virtualscanner::WireReply;
using virtualscanner::WireRequest;

constexpr char devicePath[] = "/devices/pci0000:00/0000:00:14.0/usb1/1-1";
constexpr char sysPath[] = "/sys/devices/pci0000:00/0000:00:14.0/usb1/1-1";
constexpr int signalCapacity = 4096;

std::string nodeOf(int bus, int device) {
  char name[64];
  std::snprintf(name, sizeof name, "/dev/bus/usb/%03d/%03d", bus, device);
  return name;
}

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

// The device node. libusb polls it for writing; a plain file would always be ready and make it spin, so the
// node is a pipe, full while nothing can be reaped.
class Signal {
 public:
  void open(const std::string& path) {
    close();
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

// A request that the host submitted, in the host's own memory.
struct HeldRequest {
  IoctlData request;  // usbdevfs_urb
  IoctlData buffer;
  const UMockdevIoctlClient* client;  // one opening of the node
};

// Requests that do not reach the device.
struct Failing {
  int requests = 0;
  int status = 0;
  bool thenGone = false;
};

}  // namespace

struct EmulatedUsbfs::Impl {
  Impl(virtualscanner::VirtualScanner& scanner, Options chosen) : wired(scanner), options(chosen) {
    testbed.reset(umockdev_testbed_new());
    handler.reset(umockdev_ioctl_base_new());
    g_signal_connect(handler.get(), "handle-ioctl", G_CALLBACK(&Impl::handle), this);
    g_signal_connect(handler.get(), "client-vanished", G_CALLBACK(&Impl::vanished), this);
  }
  ~Impl() {
    for (int used = firstNumber; used <= number && !options.forbidden; ++used) {
      GError* error = nullptr;
      require(umockdev_testbed_detach_ioctl(testbed.get(), nodeOf(1, used).c_str(), &error), error,
              "the node");
    }
    testbed.reset();
    handler.reset();
    const std::lock_guard lock(mutex);  // for what the emulation's thread did last
    signal.close();
  }

  std::vector<std::uint8_t> descriptors() const;
  void add(const std::string& path, int bus, int device, const std::vector<std::uint8_t>& descriptors);
  void addDevice();
  void removeDevice();
  void removeNode();

  bool gone() const { return !pluggedIn || !wired.scanner().pluggedIn(); }
  // To be called after everything that may have ended a request.
  void update();

  static void vanished(UMockdevIoctlBase* base, UMockdevIoctlClient* client, gpointer self);
  static gboolean handle(UMockdevIoctlBase* base, UMockdevIoctlClient* client, gpointer self);
  bool answer(UMockdevIoctlClient* client);
  int claim(UMockdevIoctlClient* client);
  void reportCapabilities(UMockdevIoctlClient* client);
  void submit(UMockdevIoctlClient* client);
  void reap(UMockdevIoctlClient* client);
  void discard(UMockdevIoctlClient* client);

  static constexpr int firstNumber = 2;

  mutable WiredScanner wired;
  const Options options;
  Reference<UMockdevTestbed> testbed;
  Reference<UMockdevIoctlBase> handler;
  Signal signal;
  mutable std::mutex mutex;  // guards everything below, and the scanner
  std::condition_variable changed;
  int number = firstNumber - 1;  // of the device on the bus
  bool pluggedIn = false;
  int neighbours = 0;
  bool removed = false;  // from the list of devices
  UMockdevIoctlClient* claimant = nullptr;
  std::uint8_t setting = 0;
  Failing failing;
  std::deque<WireReply> done;  // and not reaped
  std::function<void(virtualscanner::VirtualScanner&)> uponCancel;
  Statistics statistics;
  std::map<std::uint64_t, HeldRequest> held;  // by their address in the host's memory
};

std::vector<std::uint8_t> EmulatedUsbfs::Impl::descriptors() const {
  std::vector<std::uint8_t> descriptors = wired.scanner().deviceDescriptor();
  const std::vector<std::uint8_t>& configuration = wired.scanner().configurationDescriptor();
  descriptors.insert(descriptors.end(), configuration.begin(), configuration.end());
  return descriptors;
}

void EmulatedUsbfs::Impl::add(const std::string& path, int bus, int device,
                              const std::vector<std::uint8_t>& descriptors) {
  const std::string node = nodeOf(bus, device);
  const std::string text =
      "P: " + path + "\nN: " + node.substr(5) +
      "\nE: SUBSYSTEM=usb\nE: DEVTYPE=usb_device\nE: DEVNAME=" + node + "\nE: BUSNUM=" + node.substr(13, 3) +
      "\nE: DEVNUM=" + node.substr(17) + "\nA: busnum=" + std::to_string(bus) +
      "\\n\nA: devnum=" + std::to_string(device) +
      "\\n\nA: bConfigurationValue=1\\n\nA: speed=480\\n\nH: descriptors=" + hexOf(descriptors) + "\n\n";
  GError* error = nullptr;
  require(umockdev_testbed_add_from_string(testbed.get(), text.c_str(), &error), error, "a device");
}

void EmulatedUsbfs::Impl::addDevice() {
  const std::lock_guard lock(mutex);
  const std::string node = nodeOf(1, ++number);
  GError* error = nullptr;
  if (!options.forbidden)
    require(umockdev_testbed_attach_ioctl(testbed.get(), node.c_str(), handler.get(), &error), error,
            "the node");
  add(devicePath, 1, number, descriptors());
  gchar* root = umockdev_testbed_get_root_dir(testbed.get());
  signal.open(root + node);
  if (options.forbidden) {
    chmod(root,
          0777);  // what the emulation itself needs stays open: its socket for the node, and hotplug events
    chmod((std::string(root) + "/ioctl/_default").c_str(), 0777);
    chmod((root + node).c_str(), 0);
  }
  g_free(root);
  pluggedIn = true;
  removed = false;
  setting = 0;
}

void EmulatedUsbfs::Impl::removeDevice() {
  {
    const std::lock_guard lock(mutex);
    if (number < firstNumber || removed) return;
    removed = true;
    pluggedIn = false;
    update();
    // The kernel, too, removes the node before it announces the removal. The emulation would leave the node.
    removeNode();
  }
  umockdev_testbed_uevent(testbed.get(), sysPath, "remove");
  umockdev_testbed_remove_device(testbed.get(), sysPath);
}

void EmulatedUsbfs::Impl::removeNode() {
  gchar* root = umockdev_testbed_get_root_dir(testbed.get());
  unlink((root + nodeOf(1, number)).c_str());
  g_free(root);
}

void EmulatedUsbfs::Impl::update() {
  if (gone()) {
    wired.endAll(-ESHUTDOWN);
    claimant = nullptr;
  }
  while (auto reply = wired.nextReply()) done.push_back(std::move(*reply));
  // An unplugged device is always ready, so that the host polls it and detects that it is unplugged.
  signal.set(!done.empty() || gone());
  changed.notify_all();
}

void EmulatedUsbfs::Impl::vanished(UMockdevIoctlBase* /*base*/, UMockdevIoctlClient* client, gpointer self) {
  auto* impl = static_cast<Impl*>(self);
  const std::lock_guard lock(impl->mutex);
  if (impl->claimant == client) impl->claimant = nullptr;
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
  if (gone() || umockdev_ioctl_client_get_devnode(client) != nodeOf(1, number)) return complete(-1, ENODEV);
  switch (request) {
    case USBDEVFS_GET_CAPABILITIES:
      reportCapabilities(client);
      return true;
    case USBDEVFS_CLAIMINTERFACE:
      return completeWith(claim(client));
    case USBDEVFS_RELEASEINTERFACE:
      if (claimant != client) return complete(-1, EINVAL);
      claimant = nullptr;
      // The kernel does so too.
      if (setting != 0) wired.setInterface(0);
      setting = 0;
      return complete(0, 0);
    case USBDEVFS_SETCONFIGURATION:
    case USBDEVFS_RESET:
      return complete(0, 0);
    case USBDEVFS_GETDRIVER:
      return options.kernelDriver ? complete(0, 0) : complete(-1, ENODATA);
    case USBDEVFS_GET_SPEED:
      return complete(3, 0);
    case USBDEVFS_SETINTERFACE: {
      const IoctlData data = resolve(argument, 0, sizeof(usbdevfs_setinterface));
      const auto wanted = static_cast<std::uint8_t>(valueOf<usbdevfs_setinterface>(data.get()).altsetting);
      const int status = wired.setInterface(wanted);
      if (status == 0) setting = wanted;
      return completeWith(status);
    }
    case USBDEVFS_CLEAR_HALT: {
      const IoctlData data = resolve(argument, 0, sizeof(unsigned int));
      const int status = wired.clearHalt(static_cast<std::uint8_t>(valueOf<unsigned int>(data.get())));
      update();
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
    request.setup = usb::readSetup(bytes);
    request.bytes.assign(bytes + usb::setupSize, bytes + length);
  } else {
    request.bytes.assign(bytes, bytes + length);
    ++statistics.bulkRequests;
    statistics.largestRequest = std::max(statistics.largestRequest, static_cast<std::uint32_t>(length));
  }
  held[request.id] = {std::move(data), std::move(buffer), client};
  if (failing.requests > 0) {
    done.push_back({request.id, failing.status, 0, {}});
    if (--failing.requests == 0 && failing.thenGone) pluggedIn = false;
  } else {
    wired.submit(std::move(request));
  }
  update();
  umockdev_ioctl_client_complete(client, 0, 0);
}

void EmulatedUsbfs::Impl::reap(UMockdevIoctlClient* client) {
  const auto reply = std::find_if(done.begin(), done.end(), [this, client](const WireReply& candidate) {
    return held.at(candidate.id).client == client;
  });
  if (reply == done.end()) {
    const bool dead = gone() || umockdev_ioctl_client_get_devnode(client) != nodeOf(1, number);
    umockdev_ioctl_client_complete(client, -1, dead ? ENODEV : EAGAIN);
    return;
  }
  const auto found = held.find(reply->id);
  const HeldRequest request = std::move(found->second);
  held.erase(found);
  auto urb = valueOf<usbdevfs_urb>(request.request.get());
  urb.status = reply->status;
  urb.actual_length = static_cast<int>(reply->moved);
  const std::size_t before = urb.type == USBDEVFS_URB_TYPE_CONTROL ? usb::setupSize : 0;
  if (!reply->bytes.empty())
    umockdev_ioctl_data_update(request.buffer.get(), before, const_cast<guint8*>(reply->bytes.data()),
                               static_cast<gint>(reply->bytes.size()));
  umockdev_ioctl_data_update(request.request.get(), offsetof(usbdevfs_urb, status),
                             reinterpret_cast<guint8*>(&urb.status), sizeof urb.status);
  umockdev_ioctl_data_update(request.request.get(), offsetof(usbdevfs_urb, actual_length),
                             reinterpret_cast<guint8*>(&urb.actual_length), sizeof urb.actual_length);
  done.erase(reply);
  update();
  const IoctlData target = resolve(umockdev_ioctl_client_get_arg(client), 0, sizeof(void*));
  umockdev_ioctl_data_set_ptr(target.get(), 0, request.request.get());
  umockdev_ioctl_client_complete(client, 0, 0);
}

void EmulatedUsbfs::Impl::discard(UMockdevIoctlClient* client) {
  const UMockdevIoctlData* argument = umockdev_ioctl_client_get_arg(client);
  gulong address = 0;
  std::memcpy(&address, argument->data, sizeof address);
  bool known = false;
  if (uponCancel && held.contains(address)) {
    std::exchange(uponCancel, nullptr)(wired.scanner());
    wired.resume();
    known = true;
  }
  known = wired.cancel(address, -ENOENT) || known;
  update();
  umockdev_ioctl_client_complete(client, known ? 0 : -1, known ? 0 : EINVAL);
}

int EmulatedUsbfs::Impl::claim(UMockdevIoctlClient* client) {
  if (options.inUse || (claimant != nullptr && claimant != client)) return -EBUSY;
  claimant = client;
  return 0;
}

void EmulatedUsbfs::Impl::reportCapabilities(UMockdevIoctlClient* client) {
  std::uint32_t capabilities =
      USBDEVFS_CAP_ZERO_PACKET | USBDEVFS_CAP_BULK_CONTINUATION | USBDEVFS_CAP_REAP_AFTER_DISCONNECT;
  if (options.largeRequests)
    capabilities |= USBDEVFS_CAP_NO_PACKET_SIZE_LIM | USBDEVFS_CAP_BULK_SCATTER_GATHER;
  store(resolve(umockdev_ioctl_client_get_arg(client), 0, sizeof capabilities).get(), capabilities);
  umockdev_ioctl_client_complete(client, 0, 0);
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
  impl_->removeDevice();
  withScanner([](virtualscanner::VirtualScanner& scanner) {
    scanner.unplug();
    scanner.plugIn();
  });
  impl_->addDevice();
  umockdev_testbed_uevent(impl_->testbed.get(), sysPath, "add");
}

void EmulatedUsbfs::withScanner(const std::function<void(virtualscanner::VirtualScanner&)>& work) {
  const std::lock_guard lock(impl_->mutex);
  work(impl_->wired.scanner());
  impl_->wired.resume();
  impl_->update();
}

void EmulatedUsbfs::awaitRequest(std::uint64_t nth) {
  std::unique_lock lock(impl_->mutex);
  impl_->changed.wait(lock,
                      [this, nth] { return impl_->statistics.bulkRequests >= nth && !impl_->held.empty(); });
}

void EmulatedUsbfs::addNeighbour(int bus, const std::string& portPath, std::uint16_t vendor,
                                 std::uint16_t product) {
  std::vector<std::uint8_t> descriptors = impl_->descriptors();
  descriptors[usb::device::vendorAt] = static_cast<std::uint8_t>(vendor);
  descriptors[usb::device::vendorAt + 1] = static_cast<std::uint8_t>(vendor >> 8);
  descriptors[usb::device::productAt] = static_cast<std::uint8_t>(product);
  descriptors[usb::device::productAt + 1] = static_cast<std::uint8_t>(product >> 8);
  const std::string name = std::to_string(bus) + "-" + portPath;
  impl_->add("/devices/pci0000:00/0000:00:15.0/usb" + std::to_string(bus) + "/" + name, bus,
             100 + ++impl_->neighbours, descriptors);
  gchar* root = umockdev_testbed_get_root_dir(impl_->testbed.get());
  chmod((root + nodeOf(bus, 100 + impl_->neighbours)).c_str(), 0666);
  g_free(root);
}

void EmulatedUsbfs::hideNode() {
  const std::lock_guard lock(impl_->mutex);
  impl_->removeNode();
}

void EmulatedUsbfs::failNext(int requests, int status) {
  const std::lock_guard lock(impl_->mutex);
  impl_->failing = {requests, status, false};
}

void EmulatedUsbfs::fade(int requests) {
  const std::lock_guard lock(impl_->mutex);
  impl_->failing = {requests, -EPROTO, true};
}

void EmulatedUsbfs::beforeNextCancel(std::function<void(virtualscanner::VirtualScanner&)> work) {
  const std::lock_guard lock(impl_->mutex);
  impl_->uponCancel = std::move(work);
}

EmulatedUsbfs::Statistics EmulatedUsbfs::statistics() const {
  const std::lock_guard lock(impl_->mutex);
  return impl_->statistics;
}

std::size_t EmulatedUsbfs::requestsInFlight() const {
  const std::lock_guard lock(impl_->mutex);
  return impl_->held.size();
}
