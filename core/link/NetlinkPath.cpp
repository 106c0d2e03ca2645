#include "core/link/NetlinkPath.h"

#include "core/link/NetworkInfo.h"
#include "core/link/RouteSocket.h"
#include "core/support/SerialQueue.h"

#include <algorithm>
#include <utility>

namespace tarvinel {

namespace {

constexpr std::chrono::milliseconds quietBeforeRead{100};
constexpr std::chrono::milliseconds maxTimeWithoutRead{1000};
constexpr std::chrono::seconds retryInterval{5};

}  // namespace

NetworkPath::Factory kernelNetworkPath(const std::filesystem::path& sysfs) {
  return [sysfs](SerialQueue& queue, NetworkPath::Handler onUpdate) {
    return std::make_unique<NetlinkPath>(queue, NetlinkPath::Options{sysfs}, std::move(onUpdate));
  };
}

NetlinkPath::NetlinkPath(SerialQueue& queue, const Options& options, Handler onUpdate)
    : queue_(queue),
      receiveBuffer_(options.receiveBuffer),
      interfaces_(options.sysfs),
      onUpdate_(std::move(onUpdate)),
      events_(queue.context()),
      readTimer_(queue.context()),
      retryTimer_(queue.context()),
      debounce_(quietBeforeRead, maxTimeWithoutRead) {
  queue_.post([this] { subscribe(); });
}

// Subscribes before the first reading, so that no change is missed between them.
void NetlinkPath::subscribe() {
  try {
    events_.assign(openNetworkEvents(receiveBuffer_).release());
  } catch (const std::system_error&) {
    subscribeLater();
    return;
  }
  awaitEvents();
  read();
}

void NetlinkPath::subscribeLater() {
  retryTimer_.expires_after(retryInterval);
  retryTimer_.async_wait([this](std::error_code) { subscribe(); });
}

void NetlinkPath::awaitEvents() {
  events_.async_wait(asio::posix::stream_descriptor::wait_read,
                     [this](std::error_code error) { eventsCame(error); });
}

void NetlinkPath::eventsCame(std::error_code error) {
  queue_.assertCurrent();
  if (error || !drainNetworkEvents(events_.native_handle())) {
    events_.close();
    subscribeLater();
    return;
  }
  readAt(debounce_.event(Clock::now()));
  awaitEvents();
}

void NetlinkPath::readAt(Clock::time_point when) {
  readTimer_.expires_at(when);
  readTimer_.async_wait([this](std::error_code overtaken) {
    if (!overtaken) read();
  });
}

void NetlinkPath::read() {
  debounce_.acted();
  NetworkInfo info;
  try {
    info = readNetworkInfo();
  } catch (const std::system_error&) {
    readAt(Clock::now() + retryInterval);
    return;
  }
  onUpdate_(pathTypes(interfacesByPreference(info), interfaces_));
}

std::vector<InterfaceType> pathTypes(const std::vector<std::string>& names,
                                     const SysfsInterfaces& interfaces) {
  std::vector<InterfaceType> types;
  for (const std::string& name : names) {
    if (const auto type = interfaces.hardwareBelow(name)) types.push_back(*type);
  }
  std::stable_partition(types.begin(), types.end(),
                        [](InterfaceType type) { return type != InterfaceType::cellular; });
  return types;
}

}  // namespace tarvinel
