#include "core/link/LinkMonitor.h"
#include "core/link/NetlinkPath.h"
#include "core/link/NetworkInfo.h"
#include "core/link/RouteSocket.h"
#include "tests/support/Eventually.h"
#include "tests/support/FakeSysfs.h"
#include "tests/support/NetworkNamespace.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/socket.h>

#include <atomic>
#include <filesystem>
#include <mutex>
#include <string>
#include <vector>

namespace tarvinel {
namespace {

using enum InterfaceType;
using test::eventually;
using test::FakeSysfs;
using test::inNetworkNamespace;
using test::ip;
using test::ipBatch;
using testing::ElementsAre;
using testing::IsEmpty;

/// Monitors the real network of the calling thread and records the reports.
class Watched {
 public:
  explicit Watched(const FakeSysfs& sysfs, std::optional<int> receiveBuffer = {})
      : monitor_(
            [&](SerialQueue& queue, NetworkPath::Handler handler) {
              const NetlinkPath::Options options{sysfs.path(), receiveBuffer};
              return std::make_unique<NetlinkPath>(queue, options, [this, handler](auto& types) {
                ++readings_;
                handler(types);
              });
            },
            [this](bool isWired) {
              const std::scoped_lock lock(mutex_);
              reports_.push_back(isWired);
            }) {}

  bool becomes(bool isWired) {
    return eventually([&] { return readings_ > 0 && monitor_.isWired() == isWired; });
  }

  std::vector<bool> reports() {
    const std::scoped_lock lock(mutex_);
    return reports_;
  }

 private:
  std::atomic<int> readings_ = 0;
  std::mutex mutex_;
  std::vector<bool> reports_;  // guarded by mutex_
  LinkMonitor monitor_;
};

/// Two links that carry traffic, with an address each: "wire0" and "air0", whose types in sysfs
/// match their names.
class NetlinkPathTest : public testing::Test {
 protected:
  NetlinkPathTest() {
    sysfs.ethernet("wire0");
    sysfs.wifi("air0");
  }

  void inTwoNetworks(const std::function<void()>& steps) {
    const bool permitted = inNetworkNamespace([&] {
      ipBatch(
          "link add wire0 type veth peer name wire1\n"
          "link add air0 type veth peer name air1\n"
          "address add 10.1.0.1/24 dev wire0\n"
          "address add 10.2.0.1/24 dev air0\n"
          "link set wire0 up\nlink set wire1 up\nlink set air0 up\nlink set air1 up\n");
      steps();
    });
    if (!permitted) GTEST_SKIP() << "network namespaces need root";
  }

  FakeSysfs sysfs;
};

TEST_F(NetlinkPathTest, FollowsTheDefaultRoute) {
  inTwoNetworks([this] {
    ip("route add default via 10.2.0.2");
    Watched watched(sysfs);
    EXPECT_TRUE(watched.becomes(false));
    ip("route replace default via 10.1.0.2");
    EXPECT_TRUE(watched.becomes(true));
    ip("route replace default via 10.2.0.2");
    EXPECT_TRUE(watched.becomes(false));
    EXPECT_THAT(watched.reports(), ElementsAre(true, false));
  });
}

TEST_F(NetlinkPathTest, PrefersTheLowestMetric) {
  inTwoNetworks([this] {
    ipBatch(
        "route add default via 10.1.0.2 metric 600\n"
        "route add default via 10.2.0.2 metric 100\n");
    Watched watched(sysfs);
    EXPECT_TRUE(watched.becomes(false));
    ip("route del default via 10.2.0.2 metric 100");
    EXPECT_TRUE(watched.becomes(true));
  });
}

TEST_F(NetlinkPathTest, ANewDefaultRouteIsNoticedAndSoIsItsEnd) {
  inTwoNetworks([this] {
    ip("link set air0 down");
    ip("address flush dev wire0");
    Watched watched(sysfs);
    EXPECT_TRUE(watched.becomes(false));
    ip("route add default dev wire0");
    EXPECT_TRUE(watched.becomes(true));
    ip("route del default");
    EXPECT_TRUE(watched.becomes(false));
  });
}

TEST_F(NetlinkPathTest, AnIPv6DefaultRouteCountsWhereThereIsNoOther) {
  if (!std::filesystem::exists("/proc/net/if_inet6")) GTEST_SKIP() << "no IPv6 here";
  inTwoNetworks([this] {
    Watched watched(sysfs);
    ipBatch(
        "address add fd00:1::1/64 dev wire0 nodad\naddress add fd00:2::1/64 dev air0 nodad\n"
        "route add ::/0 via fd00:2::2\n");
    EXPECT_TRUE(watched.becomes(false));
    ip("route replace ::/0 via fd00:1::2");
    EXPECT_TRUE(watched.becomes(true));
    ip("route add default via 10.2.0.2");
    EXPECT_TRUE(watched.becomes(false));
  });
}

TEST_F(NetlinkPathTest, ALinkThatGoesDownTakesItsRouteAlong) {
  inTwoNetworks([this] {
    ipBatch("route add default via 10.1.0.2\nroute add default via 10.2.0.2 metric 600\n");
    Watched watched(sysfs);
    EXPECT_TRUE(watched.becomes(true));
    ip("link set wire0 down");
    EXPECT_TRUE(watched.becomes(false));
  });
}

TEST_F(NetlinkPathTest, APulledCableCountsThoughItsRouteStays) {
  inTwoNetworks([this] {
    ipBatch("route add default via 10.1.0.2\nroute add default via 10.2.0.2 metric 600\n");
    Watched watched(sysfs);
    EXPECT_TRUE(watched.becomes(true));
    ip("link set wire1 down");
    EXPECT_TRUE(watched.becomes(false));
    ip("link set wire1 up");
    EXPECT_TRUE(watched.becomes(true));
  });
}

TEST_F(NetlinkPathTest, WithoutAnyNetworkItIsNotWiredAndOneThatComesLaterIsNoticed) {
  const bool permitted = inNetworkNamespace([this] {
    Watched watched(sysfs);
    EXPECT_TRUE(watched.becomes(false));
    ipBatch(
        "link add wire0 type veth peer name wire1\naddress add 10.1.0.1/24 dev wire0\n"
        "link set wire1 up\nlink set wire0 up\n");
    EXPECT_TRUE(watched.becomes(true));  // even without a default route
  });
  if (!permitted) GTEST_SKIP() << "network namespaces need root";
}

TEST_F(NetlinkPathTest, AVPNOverWiFiIsWiFiAndOverCableWired) {
  sysfs.virtualInterface("tun0");
  inTwoNetworks([this] {
    ipBatch(
        "link add tun0 type veth peer name far0\nlink set far0 up\naddress add 10.8.0.1/24 dev "
        "tun0\nlink set tun0 up\n"
        "route add default dev tun0 metric 50\nroute add default via 10.2.0.2 metric 600\n");
    Watched watched(sysfs);
    EXPECT_TRUE(watched.becomes(false));
    ip("route add default via 10.1.0.2 metric 100");
    EXPECT_TRUE(watched.becomes(true));
  });
}

TEST_F(NetlinkPathTest, APhoneDoesNotDecideWhileAnotherNetworkIsThere) {
  sysfs.hardware("phone0", "rndis_host");
  inTwoNetworks([this] {
    ipBatch(
        "link set wire0 down\n"
        "link add phone0 type veth peer name phone1\naddress add 10.3.0.1/24 dev phone0\n"
        "link set phone0 up\nlink set phone1 up\n"
        "route add default via 10.3.0.2 metric 100\n");
    Watched watched(sysfs);
    EXPECT_TRUE(watched.becomes(false));
    ip("link set wire0 up");
    ip("link set air0 down");
    EXPECT_TRUE(watched.becomes(true));
  });
}

TEST_F(NetlinkPathTest, AfterTwentyChangesInASecondTheLastOneHolds) {
  inTwoNetworks([this] {
    ip("route add default via 10.2.0.2");
    Watched watched(sysfs);
    EXPECT_TRUE(watched.becomes(false));
    std::string changes;
    for (int i = 0; i < 20; ++i)
      changes +=
          std::string("route replace default via ") + (i % 2 == 0 ? "10.2.0.2" : "10.1.0.2") + "\n";
    ipBatch(changes);
    EXPECT_TRUE(watched.becomes(true));
    const std::vector<bool> reports = watched.reports();
    for (std::size_t i = 0; i < reports.size(); ++i)
      EXPECT_EQ(reports[i], i % 2 == 0) << "each report is a change";
  });
}

TEST_F(NetlinkPathTest, FindsItsWayAmongTwoHundredInterfaces) {
  inTwoNetworks([this] {
    std::string links;
    for (int i = 0; i < 100; ++i) {
      const std::string n = std::to_string(i);
      links += "link add a" + n + " type veth peer name b" + n + "\n";
      links += "address add 10.100." + n + ".1/24 dev a" + n + "\nlink set a" + n + " up\n";
    }
    Watched watched(sysfs);
    ipBatch(links);
    ip("route add default via 10.2.0.2");
    EXPECT_TRUE(watched.becomes(false));
    EXPECT_EQ(readNetworkInfo().links.size(), 5U + 200U);
    ip("route replace default via 10.1.0.2");
    EXPECT_TRUE(watched.becomes(true));
  });
}

TEST_F(NetlinkPathTest, EventsThatAreLostAreMadeUpFor) {
  inTwoNetworks([this] {
    constexpr int tiny = 1;  // the kernel raises it to a few kilobytes
    Watched watched(sysfs, tiny);
    std::string changes;
    for (int i = 0; i < 2000; ++i)
      changes +=
          std::string(i % 2 == 0 ? "address add" : "address del") + " 10.9.0.1/24 dev air0\n";
    changes += "route add default via 10.1.0.2\n";
    ipBatch(changes);
    EXPECT_TRUE(watched.becomes(true));
    ip("route replace default via 10.2.0.2");
    EXPECT_TRUE(watched.becomes(false));
  });
}

TEST_F(NetlinkPathTest, AnOverrunLeavesTheSocketInUse) {
  inTwoNetworks([] {
    const UniqueFd events = openNetworkEvents(1);
    std::string changes;
    for (int i = 0; i < 500; ++i)
      changes +=
          std::string(i % 2 == 0 ? "address add" : "address del") + " 10.9.0.1/24 dev air0\n";
    ipBatch(changes);
    int error = 0;
    socklen_t size = sizeof error;
    ASSERT_EQ(getsockopt(events.get(), SOL_SOCKET, SO_ERROR, &error, &size), 0);
    EXPECT_EQ(error, ENOBUFS);
    EXPECT_TRUE(drainNetworkEvents(events.get()));
    ip("link set wire0 down");
    pollfd next{events.get(), POLLIN, 0};
    EXPECT_EQ(poll(&next, 1, 0), 1);
    EXPECT_TRUE(drainNetworkEvents(events.get()));
    EXPECT_EQ(poll(&next, 1, 0), 0);
  });
}

TEST(PathTypes, NoHardwareIsLeftOutAndAPhoneComesLast) {
  const FakeSysfs sysfs;
  sysfs.ethernet("eth0");
  sysfs.wifi("wlan0");
  sysfs.hardware("usb0", "rndis_host");
  sysfs.virtualInterface("tun0");
  const SysfsInterfaces interfaces(sysfs.path());
  EXPECT_THAT(pathTypes({"tun0", "usb0", "wlan0", "eth0"}, interfaces),
              ElementsAre(wifi, wiredEthernet, cellular));
  EXPECT_THAT(pathTypes({"usb0"}, interfaces), ElementsAre(cellular));
  EXPECT_THAT(pathTypes({"tun0", "lo"}, interfaces), IsEmpty());
}

TEST(NetlinkPath, WhereThisComputersOwnNetworkCanBeReadItHasALoopback) {
  const NetworkInfo info = readNetworkInfo();
  const auto loopback = std::ranges::find(info.links, "lo", &NetworkInfo::Link::name);
  ASSERT_NE(loopback, info.links.end());
  EXPECT_FALSE(loopback->carries);
}

}  // namespace
}  // namespace tarvinel
