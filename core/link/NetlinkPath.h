#pragma once

#include "core/link/NetworkInfo.h"
#include "core/link/SysfsInterfaces.h"

#include <asio/posix/stream_descriptor.hpp>
#include <asio/steady_timer.hpp>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <optional>
#include <system_error>

namespace tarvinel {

/// Decides when to handle events that come in bursts: once none has come for a while, but at most a
/// limited time after the first. A plain value; time is passed in.
class Debounce {
 public:
  using TimePoint = std::chrono::steady_clock::time_point;

  Debounce(std::chrono::milliseconds quiet, std::chrono::milliseconds longest)
      : quiet_(quiet), longest_(longest) {}

  /// Records an event; returns when to act unless another one comes.
  TimePoint event(TimePoint now) {
    first_ = first_.value_or(now);
    return std::min(now + quiet_, *first_ + longest_);
  }

  /// Ends the burst: the next event is the first of another one.
  void acted() { first_.reset(); }

 private:
  std::chrono::milliseconds quiet_;
  std::chrono::milliseconds longest_;
  std::optional<TimePoint> first_;
};

/// The network path as reported by rtnetlink and sysfs. Every change leads to reading everything
/// again, so that lost events do not matter. Interfaces without hardware below, such as a VPN's,
/// are left out: their traffic goes through another one. Phones and modems come last.
///
/// If netlink is rejected or fails, it is tried again every few seconds.
class NetlinkPath : public NetworkPath {
 public:
  struct Options {
    std::filesystem::path sysfs;
    std::optional<int> receiveBuffer = {};  ///< bytes, for the events; for tests
  };

  NetlinkPath(SerialQueue& queue, const Options& options, Handler onUpdate);

 private:
  using Clock = std::chrono::steady_clock;

  void subscribe();
  void awaitEvents();
  void eventsCame(std::error_code error);
  void subscribeLater();
  void readAt(Clock::time_point when);
  void read();

  SerialQueue& queue_;
  const std::optional<int> receiveBuffer_;
  const SysfsInterfaces interfaces_;
  const Handler onUpdate_;
  asio::posix::stream_descriptor events_;
  asio::steady_timer readTimer_;
  asio::steady_timer retryTimer_;
  Debounce debounce_;
};

/// Returns the types of interfaces given by name, in the same order except for cellular ones, which
/// come last; those without hardware are left out.
std::vector<InterfaceType> pathTypes(const std::vector<std::string>& names,
                                     const SysfsInterfaces& interfaces);

}  // namespace tarvinel
