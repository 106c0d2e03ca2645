#include "core/http/VanishedViewers.h"

#include "core/http/ViewerSocket.h"

#include <utility>

namespace tarvinel {

namespace {

constexpr std::chrono::seconds interval{2};

}  // namespace

VanishedViewers::VanishedViewers(SerialQueue& queue, std::chrono::milliseconds silenceLimit)
    : silenceLimit_(silenceLimit), timer_(queue, interval, [this] { check(); }) {}

bool VanishedViewers::isMissing(asio::ip::tcp::socket& viewer) const {
  return silenceOf(viewer) >= silenceLimit_;
}

void VanishedViewers::adopt(asio::ip::tcp::socket socket) {
  if (vanished_.size() == maxSockets) vanished_.erase(vanished_.begin());
  keepProbing(socket, limit);
  vanished_.push_back({std::move(socket), std::chrono::steady_clock::now()});
  timer_.run(true);
}

void VanishedViewers::clear() {
  vanished_.clear();
  timer_.run(false);
}

void VanishedViewers::check() {
  const auto now = std::chrono::steady_clock::now();
  std::erase_if(vanished_, [this, now](Vanished& viewer) {
    return !isMissing(viewer.socket) || now - viewer.since > limit;
  });
  if (vanished_.empty()) timer_.run(false);
}

}  // namespace tarvinel
