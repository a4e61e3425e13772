#include "Announcement.h"

#include <avahi-client/client.h>
#include <avahi-client/publish.h>
#include <avahi-common/alternative.h>
#include <avahi-common/error.h>
#include <avahi-common/malloc.h>
#include <avahi-common/strlst.h>
#include <avahi-common/thread-watch.h>
#include <avahi-common/timeval.h>
#include <net/if.h>

#include <new>
#include <utility>

#include "AnnouncementState.h"

namespace frontend::share {
namespace {

using Event = AnnouncementEvent;

constexpr const char* withoutDaemon =
    "programs do not find the scanner by themselves, but work with its address.";

// Between attempts to reach a message bus, which does not announce its start as the daemon does on the bus.
constexpr unsigned busIntervalMs = 5000;

struct FreeList {
  void operator()(AvahiStringList* list) const { avahi_string_list_free(list); }
};
using StringList = std::unique_ptr<AvahiStringList, FreeList>;

// The daemon sends a list from its end, to which the library adds: clients receive the order of `text`, whose
// first pair has to be first.
StringList listOf(const std::vector<std::string>& text) {
  StringList list;
  for (const std::string& pair : text) {
    AvahiStringList* longer = avahi_string_list_add(list.get(), pair.c_str());
    if (longer == nullptr) throw std::bad_alloc();
    static_cast<void>(list.release());  // a part of the longer one
    list.reset(longer);
  }
  return list;
}

std::string nextNameAfter(const std::string& name) {
  char* next = avahi_alternative_service_name(name.c_str());
  if (next == nullptr) throw std::bad_alloc();
  std::string copy(next);
  avahi_free(next);
  return copy;
}

AvahiIfIndex interfaceFor(AnnouncementReach reach) {
  if (reach != AnnouncementReach::thisMachine) return AVAHI_IF_UNSPEC;
  return static_cast<AvahiIfIndex>(if_nametoindex("lo"));
}

}  // namespace

// Everything but the poll itself is touched only under the poll's lock, which its thread holds during
// callbacks.
struct Announcement::Impl {
  Impl(const std::string& wantedName, AnnouncementReach where, Report reportTo)
      : name(wantedName), interface(interfaceFor(where)), report(std::move(reportTo)) {}
  ~Impl();

  void start();
  void connect();
  void onClientState(AvahiClient* sender, AvahiClientState now);
  void onGroupState(AvahiEntryGroupState now);
  void raise(Event event);
  void add();
  void remove();
  int addTo(AvahiEntryGroup* target) const;
  void reconnectIn(unsigned milliseconds);
  void reportOnce(const std::string& sentence);

  // Holds the poll's lock.
  class Locked {
   public:
    explicit Locked(AvahiThreadedPoll* poll) : poll_(poll) {
      if (poll_ != nullptr) avahi_threaded_poll_lock(poll_);
    }
    ~Locked() {
      if (poll_ != nullptr) avahi_threaded_poll_unlock(poll_);
    }
    Locked(const Locked&) = delete;
    Locked& operator=(const Locked&) = delete;

   private:
    AvahiThreadedPoll* poll_;
  };

  std::string name;
  AvahiIfIndex interface;
  Report report;
  AnnouncementState state = AnnouncementState::absent;
  std::vector<AnnouncedService> services;
  int failure = AVAHI_OK;             // of the latest attempt to add the services
  bool absenceReported = false;       // since the daemon last ran
  AvahiThreadedPoll* poll = nullptr;  // null if the reach is `nobody`, or out of memory
  AvahiClient* client = nullptr;
  AvahiEntryGroup* group = nullptr;      // the client's
  AvahiTimeout* reconnection = nullptr;  // the poll's
};

Announcement::Impl::~Impl() {
  if (poll == nullptr) return;
  // From here on there is one thread, and no lock is needed. The daemon withdraws what a client leaves
  // behind.
  avahi_threaded_poll_stop(poll);
  if (client != nullptr) avahi_client_free(client);
  if (reconnection != nullptr) avahi_threaded_poll_get(poll)->timeout_free(reconnection);
  avahi_threaded_poll_free(poll);
}

void Announcement::Impl::start() {
  poll = avahi_threaded_poll_new();
  if (poll == nullptr) throw std::bad_alloc();
  connect();
  avahi_threaded_poll_start(poll);
}

void Announcement::Impl::connect() {
  int error = AVAHI_OK;
  client = avahi_client_new(
      avahi_threaded_poll_get(poll), AVAHI_CLIENT_NO_FAIL,
      [](AvahiClient* sender, AvahiClientState now, void* self) {
        static_cast<Impl*>(self)->onClientState(sender, now);
      },
      this, &error);
  if (client != nullptr) return;
  reportOnce(std::string("The system's message bus cannot be reached (") + avahi_strerror(error) +
             "): " + withoutDaemon);
  reconnectIn(busIntervalMs);
}

void Announcement::Impl::onClientState(AvahiClient* sender, AvahiClientState now) {
  client = sender;  // the first call happens before avahi_client_new() has returned it
  switch (now) {
    case AVAHI_CLIENT_S_RUNNING:
      absenceReported = false;
      return raise(Event::ready);
    case AVAHI_CLIENT_S_REGISTERING:
    case AVAHI_CLIENT_S_COLLISION:
      return raise(Event::lost);
    case AVAHI_CLIENT_CONNECTING:
      return reportOnce(std::string("Avahi is not running. Until it is, ") + withoutDaemon);
    case AVAHI_CLIENT_FAILURE:
      raise(Event::lost);
      return reconnectIn(0);
  }
}

// A client that has lost its daemon cannot be used again. It cannot be freed here, inside its own callback.
void Announcement::Impl::reconnectIn(unsigned milliseconds) {
  if (reconnection != nullptr) return;
  const AvahiPoll* api = avahi_threaded_poll_get(poll);
  timeval moment;
  avahi_elapse_time(&moment, milliseconds, 0);
  reconnection = api->timeout_new(
      api, &moment,
      [](AvahiTimeout* timeout, void* data) {
        Impl& self = *static_cast<Impl*>(data);
        avahi_threaded_poll_get(self.poll)->timeout_free(timeout);
        self.reconnection = nullptr;
        self.group = nullptr;
        if (self.client != nullptr) avahi_client_free(self.client);
        self.connect();
      },
      this);
}

void Announcement::Impl::onGroupState(AvahiEntryGroupState now) {
  switch (now) {
    case AVAHI_ENTRY_GROUP_ESTABLISHED:
      return raise(Event::established);
    case AVAHI_ENTRY_GROUP_COLLISION:
      return raise(Event::collision);
    case AVAHI_ENTRY_GROUP_FAILURE:
      failure = avahi_client_errno(client);
      return raise(Event::failure);
    case AVAHI_ENTRY_GROUP_UNCOMMITED:
    case AVAHI_ENTRY_GROUP_REGISTERING:
      return;
  }
}

void Announcement::Impl::raise(Event event) {
  const AnnouncementStep step = share::step(state, event);
  state = step.next;
  switch (step.action) {
    case AnnouncementAction::none:
      return;
    case AnnouncementAction::add:
      return add();
    case AnnouncementAction::remove:
      return remove();
    case AnnouncementAction::addRenamed:
      name = nextNameAfter(name);
      return add();
    case AnnouncementAction::reportName:
      return report("The scanner is announced as \"" + name + "\".");
    case AnnouncementAction::reportRefusal:
      return report("Avahi does not announce the scanner as \"" + name + "\" (" + avahi_strerror(failure) +
                    "): " + withoutDaemon);
  }
}

// A name that another program on this machine has is reported at once, one that is in use on the network
// later, through onGroupState().
void Announcement::Impl::add() {
  if (group == nullptr) {
    group = avahi_entry_group_new(
        client,
        [](AvahiEntryGroup*, AvahiEntryGroupState now, void* self) {
          static_cast<Impl*>(self)->onGroupState(now);
        },
        this);
  }
  failure = group == nullptr ? avahi_client_errno(client) : addTo(group);
  if (failure == AVAHI_ERR_COLLISION) return raise(Event::collision);
  if (failure != AVAHI_OK) raise(Event::failure);
}

int Announcement::Impl::addTo(AvahiEntryGroup* target) const {
  if (const int error = avahi_entry_group_reset(target); error != AVAHI_OK) return error;
  for (const AnnouncedService& service : services) {
    const StringList text = listOf(service.text);
    const int error = avahi_entry_group_add_service_strlst(
        target, interface, AVAHI_PROTO_UNSPEC, AvahiPublishFlags{}, name.c_str(), service.type.c_str(),
        nullptr, nullptr, service.port, text.get());
    if (error != AVAHI_OK) return error;
  }
  return avahi_entry_group_commit(target);
}

void Announcement::Impl::remove() {
  // Fails only if the daemon has exited, and the records with it.
  if (group != nullptr) avahi_entry_group_reset(group);
}

void Announcement::Impl::reportOnce(const std::string& sentence) {
  if (!std::exchange(absenceReported, true)) report(sentence);
}

Announcement::Announcement(const std::string& name, AnnouncementReach reach, Report report)
    : impl_(std::make_unique<Impl>(name, reach, std::move(report))) {
  if (reach != AnnouncementReach::nobody) impl_->start();
}

Announcement::~Announcement() = default;

void Announcement::publish(std::vector<AnnouncedService> services) {
  const Impl::Locked lock(impl_->poll);
  impl_->services = std::move(services);
  impl_->raise(impl_->services.empty() ? Event::withdraw : Event::publish);
}

void Announcement::withdraw() {
  publish({});
}

std::string Announcement::name() const {
  const Impl::Locked lock(impl_->poll);
  return impl_->name;
}

}  // namespace frontend::share
