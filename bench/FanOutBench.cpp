// Sends one frame to many viewers on this computer with FrameBroadcaster and StreamServer, and with
// a bare sendmsg loop that sends the same bytes over sockets with the same options. The bare loop
// runs once in the publishing thread and once, like ours, in a thread of its own, so that a slow
// viewer cannot block the publisher. The viewers are another process. All are measured in turn, so
// that the ratios (ours over bare) do not depend on the machine's load; besides the medians it
// prints the lower tenth of the samples, which other programs disturb least.

#include "bench/BareFanOut.h"
#include "bench/ViewerProcess.h"
#include "core/frames/FrameBroadcaster.h"
#include "core/http/MJPEGFramer.h"
#include "core/http/StreamServer.h"
#include "core/support/Log.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdio>
#include <ctime>
#include <exception>
#include <future>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>
#include <utility>
#include <vector>

namespace tarvinel {
namespace {

using namespace std::chrono_literals;

constexpr std::size_t frameBytes = 100'000;
constexpr std::size_t viewerCounts[] = {1, 64, 256};
constexpr std::size_t viewerFramesPerSample = 256;
constexpr std::size_t turns = 300;

/// Returns the CPU time of this process, in microseconds.
double cpuMicroseconds() {
  timespec now{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) * 1e6 + static_cast<double>(now.tv_nsec) / 1e3;
}

/// Returns the value below which that share of the values lies.
double quantile(std::vector<double> values, double share) {
  std::sort(values.begin(), values.end());
  return values[static_cast<std::size_t>(static_cast<double>(values.size()) * share)];
}

/// The program's own path from a published frame to its viewers.
class ServedFanOut {
 public:
  ServedFanOut() {
    std::promise<std::uint16_t> listening;
    server_.start([&](const Result<std::uint16_t>& port) { listening.set_value(port.value()); });
    port_ = listening.get_future().get();
  }

  std::uint16_t port() const { return port_; }

  void waitForViewers(std::size_t count) const {
    while (broadcaster_.viewerCount() < count)
      std::this_thread::sleep_for(1ms);
  }

  void send(const Frame& frame) { broadcaster_.publish(frame); }

 private:
  static StreamServer::Options options() {
    StreamServer::Options options;
    options.port = 0;
    options.maxConnections = *std::ranges::max_element(viewerCounts);
    return options;
  }

  FrameBroadcaster broadcaster_;
  StreamServer server_{broadcaster_, Log::silent().category("server"), options()};
  std::uint16_t port_ = 0;
};

/// The bare loop in a thread of its own, which receives each frame in the cheapest way.
class HandedOverFanOut {
 public:
  explicit HandedOverFanOut(BareFanOut& bare) : bare_(bare), thread_([this] { run(); }) {}
  ~HandedOverFanOut() {
    send(nullptr);
    thread_.join();
  }
  HandedOverFanOut(const HandedOverFanOut&) = delete;
  HandedOverFanOut& operator=(const HandedOverFanOut&) = delete;

  /// Hands over a frame; null ends the thread.
  void send(const Frame& frame) {
    {
      const std::scoped_lock lock(mutex_);
      handedOver_ = frame;
    }
    changed_.notify_one();
  }

 private:
  void run() {
    while (const Frame frame = next())
      bare_.send(frame);
  }

  Frame next() {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return handedOver_.has_value(); });
    return *std::exchange(handedOver_, std::nullopt);
  }

  BareFanOut& bare_;
  std::mutex mutex_;
  std::condition_variable changed_;
  std::optional<Frame> handedOver_;
  std::thread thread_;
};

/// Returns the CPU time per viewer and frame.
template <class FanOut>
double sample(FanOut& fanOut, ViewerProcess& viewers, const Frame& frame, std::size_t count) {
  std::this_thread::sleep_for(1ms);  // all threads sleep, or one's last steps count for another
  const double begun = cpuMicroseconds();
  for (std::size_t sent = 0; sent < viewerFramesPerSample; sent += count) {
    fanOut.send(frame);
    viewers.waitForRound();
  }
  std::this_thread::sleep_for(1ms);
  return (cpuMicroseconds() - begun) / viewerFramesPerSample;
}

struct Samples {
  std::vector<double> ours;
  std::vector<double> bare;
  std::vector<double> handedOver;
};

void report(std::size_t viewers, const char* name, double share, const Samples& samples) {
  const double ours = quantile(samples.ours, share);
  const double bare = quantile(samples.bare, share);
  const double handedOver = quantile(samples.handedOver, share);
  std::printf("%7zu  %-12s %6.1f %8.1f %6.2f %11.1f %6.2f\n", viewers, name, ours, bare,
              ours / bare, handedOver, ours / handedOver);
}

void measure(ViewerProcess& viewers, std::size_t count) {
  const auto frame = std::make_shared<const Bytes>(frameBytes);
  BareFanOut bareFanOut;
  ServedFanOut servedFanOut;
  viewers.join(bareFanOut.port(), count);
  viewers.join(servedFanOut.port(), count);
  bareFanOut.accept(count);
  viewers.waitForHeads();
  servedFanOut.waitForViewers(count);
  viewers.setBytesPerRound(count * MJPEGFramer::part(*frame).size());
  HandedOverFanOut handedOverFanOut(bareFanOut);
  Samples samples;
  for (std::size_t i = 0; i < turns; ++i) {
    samples.bare.push_back(sample(bareFanOut, viewers, frame, count));
    samples.ours.push_back(sample(servedFanOut, viewers, frame, count));
    samples.handedOver.push_back(sample(handedOverFanOut, viewers, frame, count));
  }
  viewers.leave();
  report(count, "median", 0.5, samples);
  report(count, "lower tenth", 0.1, samples);
  std::fflush(stdout);
}

void measureAll() {
  ViewerProcess viewers;
  std::puts("CPU time per viewer and frame, in microseconds, and ours over bare");
  std::puts("viewers                 ours     bare  ratio  own thread  ratio");
  for (const std::size_t count : viewerCounts)
    measure(viewers, count);
}

}  // namespace
}  // namespace tarvinel

int main() {
  try {
    tarvinel::measureAll();
    return 0;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
  }
}
