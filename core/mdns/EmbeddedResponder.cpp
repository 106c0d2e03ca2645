#include "core/mdns/EmbeddedResponder.h"

#include "core/mdns/NameRegistrar.h"
#include "core/support/SerialQueue.h"

#include <avahi-common/error.h>
#include <avahi-common/thread-watch.h>
#include <avahi-core/core.h>
#include <avahi-core/log.h>
#include <avahi-core/publish.h>
#include <ifaddrs.h>
#include <net/if.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <optional>
#include <set>
#include <utility>

namespace tarvinel {

namespace {

/// Configures a responder for only our record, only IPv4 and only multicast.
class ResponderConfig {
 public:
  ResponderConfig() {
    avahi_server_config_init(&config_);
    config_.publish_hinfo = 0;
    config_.publish_addresses = 0;
    config_.publish_workstation = 0;
    config_.publish_domain = 0;
    config_.use_ipv6 = 0;
    config_.enable_wide_area = 0;
  }
  ~ResponderConfig() { avahi_server_config_free(&config_); }
  ResponderConfig(const ResponderConfig&) = delete;
  ResponderConfig& operator=(const ResponderConfig&) = delete;

  void keepTo(const std::string& interface) {
    config_.allow_interfaces = avahi_string_list_add(nullptr, interface.c_str());
  }

  const AvahiServerConfig* get() const { return &config_; }

 private:
  AvahiServerConfig config_{};
};

struct RecordRelease {
  void operator()(AvahiRecord* record) const { avahi_record_unref(record); }
};
using Record = std::unique_ptr<AvahiRecord, RecordRelease>;

Record recordOf(const std::string& name, NameRegistrar::Address address) {
  Record record(avahi_record_new_full(name.c_str(), AVAHI_DNS_CLASS_IN, AVAHI_DNS_TYPE_A,
                                      AddressRecord::timeToLive));
  std::ranges::copy(address, reinterpret_cast<std::uint8_t*>(&record->data.a.address.address));
  return record;
}

/// Keeps the responder's thread from running while the owner uses the responder's objects.
class PollLock {
 public:
  explicit PollLock(AvahiThreadedPoll* poll) : poll_(poll) { avahi_threaded_poll_lock(poll_); }
  ~PollLock() { avahi_threaded_poll_unlock(poll_); }
  PollLock(const PollLock&) = delete;
  PollLock& operator=(const PollLock&) = delete;

 private:
  AvahiThreadedPoll* poll_;
};

}  // namespace

void EmbeddedResponder::Release::operator()(AvahiThreadedPoll* poll) const {
  avahi_threaded_poll_free(poll);
}

void EmbeddedResponder::Release::operator()(AvahiServer* server) const {
  avahi_server_free(server);
}

EmbeddedResponder::EmbeddedResponder(SerialQueue& queue, Logger logger)
    : queue_(queue), logger_(std::move(logger)) {
  // by default the library would write to standard error
  avahi_set_log_function([](AvahiLogLevel, const char*) {});
}

EmbeddedResponder::~EmbeddedResponder() {
  stop();
}

void EmbeddedResponder::stop() {
  if (poll_) avahi_threaded_poll_stop(poll_.get());
  group_ = nullptr;
  server_.reset();
  poll_.reset();
}

std::int32_t EmbeddedResponder::registerRecord(const std::string& name, Address address,
                                               Reply reply) {
  name_ = name;
  reply_ = std::make_shared<Reply>(std::move(reply));
  return start(address);
}

std::int32_t EmbeddedResponder::start(Address address) {
  const bool begun = startServer(address) && addRecord(address, false) &&
                     avahi_s_entry_group_commit(group_) == AVAHI_OK &&
                     avahi_threaded_poll_start(poll_.get()) == AVAHI_OK;
  return begun ? DNSServiceCode::noError : DNSServiceCode::unknown;
}

bool EmbeddedResponder::startServer(Address address) {
  poll_.reset(avahi_threaded_poll_new());
  if (!poll_) return false;
  ResponderConfig config;
  onlyInterface_ = MulticastInterfaces::onlyOne(MulticastInterfaces::all(), address);
  if (onlyInterface_) config.keepTo(*onlyInterface_);
  int error = AVAHI_OK;
  server_.reset(avahi_server_new(avahi_threaded_poll_get(poll_.get()), config.get(), nullptr,
                                 nullptr, &error));
  if (!server_) logger_->debug("no responder of our own: {}", avahi_strerror(error));
  return server_ && makeGroup();
}

bool EmbeddedResponder::makeGroup() {
  group_ = avahi_s_entry_group_new(
      server_.get(),
      [](AvahiServer*, AvahiSEntryGroup*, AvahiEntryGroupState state, void* self) {
        static_cast<EmbeddedResponder*>(self)->reportGroupState(state);
      },
      this);
  return group_ != nullptr;
}

bool EmbeddedResponder::addRecord(Address address, bool isUpdate) {
  const int flags = AVAHI_PUBLISH_UNIQUE | (isUpdate ? AVAHI_PUBLISH_UPDATE : 0);
  const int error =
      avahi_server_add(server_.get(), group_, AVAHI_IF_UNSPEC, AVAHI_PROTO_UNSPEC,
                       static_cast<AvahiPublishFlags>(flags), recordOf(name_, address).get());
  if (error != AVAHI_OK) logger_->debug("our own responder refuses: {}", avahi_strerror(error));
  return error == AVAHI_OK;
}

std::int32_t EmbeddedResponder::update(Address address) {
  if (group_ == nullptr) return DNSServiceCode::unknown;
  if (onlyInterface_) {
    stop();
    return start(address);
  }
  const PollLock lock(poll_.get());
  return addRecord(address, true) ? DNSServiceCode::noError : DNSServiceCode::unknown;
}

// Runs on the responder's thread, or before it has started.
void EmbeddedResponder::reportGroupState(int state) {
  const auto code = AddressRecord::codeOfGroupState(state);
  if (!code) return;
  queue_.post([weak = std::weak_ptr(reply_), code = *code] {
    if (const auto reply = weak.lock()) (*reply)(code);
  });
}

namespace {

/// The kernel lets a socket join a group on this many interfaces (net.ipv4.igmp_max_memberships).
/// The responder would join on the newest and leave out the computer's original ones.
constexpr std::size_t maxMemberships = 20;

bool supportsMulticast(const ifaddrs& entry) {
  constexpr unsigned int wanted = IFF_UP | IFF_MULTICAST;
  return entry.ifa_addr != nullptr && entry.ifa_addr->sa_family == AF_INET &&
         (entry.ifa_flags & (wanted | IFF_LOOPBACK)) == wanted;
}

NameRegistrar::Address addressOf(const sockaddr& from) {
  sockaddr_in internet{};
  std::memcpy(&internet, &from, sizeof internet);
  NameRegistrar::Address address{};
  std::memcpy(address.data(), &internet.sin_addr, address.size());
  return address;
}

}  // namespace

std::vector<MulticastInterfaces::Interface> MulticastInterfaces::all() {
  ifaddrs* list = nullptr;
  if (getifaddrs(&list) != 0) return {};
  const std::unique_ptr<ifaddrs, decltype(&freeifaddrs)> owner(list, &freeifaddrs);
  std::vector<Interface> found;
  for (const ifaddrs* entry = list; entry != nullptr; entry = entry->ifa_next) {
    if (supportsMulticast(*entry)) found.push_back({entry->ifa_name, addressOf(*entry->ifa_addr)});
  }
  return found;
}

std::optional<std::string> MulticastInterfaces::onlyOne(const std::vector<Interface>& interfaces,
                                                        NameRegistrar::Address address) {
  std::set<std::string_view> names;
  for (const Interface& interface : interfaces)
    names.insert(interface.name);
  if (names.size() <= maxMemberships) return std::nullopt;
  const auto carrier = std::ranges::find(interfaces, address, &Interface::address);
  return carrier == interfaces.end() ? std::nullopt : std::optional(carrier->name);
}

}  // namespace tarvinel
