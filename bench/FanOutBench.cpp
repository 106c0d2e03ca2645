// Fan-out of one frame to many viewers on this computer: FrameBroadcaster and StreamServer beside a
// bare sendmsg loop that sends the same bytes over sockets with the same options. The viewers are
// another process. Both are measured alternately, so that the ratio (medians, ours over bare) does
// not depend on the machine's mood.

#include "bench/BareFanOut.h"
#include "bench/ViewerProcess.h"
#include "core/frames/FrameBroadcaster.h"
#include "core/http/MJPEGFramer.h"
#include "core/http/StreamServer.h"
#include "core/support/Log.h"

#include <time.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdio>
#include <exception>
#include <future>
#include <memory>
#include <thread>
#include <vector>

namespace tarvinel {
namespace {

using namespace std::chrono_literals;

constexpr std::size_t frameBytes = 100'000;
constexpr std::size_t viewerCounts[] = {1, 64, 256};
constexpr std::size_t viewerFramesPerSample = 256;
constexpr std::size_t samples = 300;

/// CPU time of this process, in microseconds.
double cpuMicroseconds() {
  timespec now{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) * 1e6 + static_cast<double>(now.tv_nsec) / 1e3;
}

double median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

/// The program's own way from a published frame to its viewers.
class ServedFanOut {
 public:
  ServedFanOut() {
    std::promise<std::uint16_t> listening;
    server_.start([&](Result<std::uint16_t> port) { listening.set_value(port.value()); });
    port_ = listening.get_future().get();
  }

  std::uint16_t port() const { return port_; }

  void waitForViewers(std::size_t count) const {
    while (broadcaster_.viewerCount() < count) std::this_thread::sleep_for(1ms);
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

/// CPU time per viewer and frame.
template <class FanOut>
double sample(FanOut& fanOut, ViewerProcess& viewers, const Frame& frame, std::size_t count) {
  std::this_thread::sleep_for(1ms);  // every thread sleeps, or its last steps count for the other
  const double begun = cpuMicroseconds();
  for (std::size_t sent = 0; sent < viewerFramesPerSample; sent += count) {
    fanOut.send(frame);
    viewers.waitForRound();
  }
  std::this_thread::sleep_for(1ms);
  return (cpuMicroseconds() - begun) / viewerFramesPerSample;
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
  std::vector<double> ours;
  std::vector<double> bare;
  for (std::size_t i = 0; i < samples; ++i) {
    bare.push_back(sample(bareFanOut, viewers, frame, count));
    ours.push_back(sample(servedFanOut, viewers, frame, count));
  }
  viewers.leave();
  std::printf("%7zu  %12.1f  %12.1f  %5.2f\n", count, median(ours), median(bare),
              median(ours) / median(bare));
  std::fflush(stdout);
}

void measureAll() {
  ViewerProcess viewers;
  std::printf("viewers  ours_us_each  bare_us_each  ratio\n");
  std::fflush(stdout);
  for (const std::size_t count : viewerCounts) measure(viewers, count);
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
