#include "core/link/LocalAddresses.h"
#include "tests/support/FakeSysfs.h"
#include "tests/support/NetworkNamespace.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace tarvinel {
namespace {

using test::FakeSysfs;
using test::inNetworkNamespace;
using test::ip;
using test::ipBatch;
using test::waitForCarriers;
using testing::ElementsAre;
using testing::IsEmpty;
using Entry = LocalAddresses::Interface;

TEST(LocalAddresses, ThePrimaryInterfaceWins) {
  EXPECT_EQ(LocalAddresses::preferred(
                {{"bridge100", "192.168.2.1"}, {"en7", "192.168.1.20"}, {"en0", "10.0.0.5"}}),
            "10.0.0.5");
}

TEST(LocalAddresses, ThenOtherPortsThenBridgesThenTheRest) {
  EXPECT_EQ(LocalAddresses::preferred({{"bridge100", "192.168.2.1"}, {"en7", "192.168.1.20"}}),
            "192.168.1.20");
  EXPECT_EQ(LocalAddresses::preferred({{"utun3", "10.8.0.2"}, {"bridge100", "192.168.2.1"}}),
            "192.168.2.1");
  EXPECT_EQ(LocalAddresses::preferred({{"wlan0", "10.0.0.9"}, {"eth0", "10.0.0.8"}}), "10.0.0.8");
}

TEST(LocalAddresses, WithinARankNamesGoByCodePoint) {
  EXPECT_EQ(LocalAddresses::preferred({{"en7", "10.0.0.7"}, {"en10", "10.0.0.10"}}), "10.0.0.10");
}

TEST(LocalAddresses, EqualNamesKeepTheirOrder) {
  EXPECT_EQ(LocalAddresses::preferred({{"en1", "10.0.0.2"}, {"en1", "10.0.0.1"}}), "10.0.0.2");
}

TEST(LocalAddresses, NoInterfaceNoAddress) {
  EXPECT_EQ(LocalAddresses::preferred({}), std::nullopt);
}

TEST(LocalAddresses, TheURLLeavesPort80Out) {
  EXPECT_EQ(LocalAddresses::url("192.168.1.20", 80), "http://192.168.1.20/");
  EXPECT_EQ(LocalAddresses::url("192.168.1.20", 8080), "http://192.168.1.20:8080/");
}

TEST(LocalAddresses, ThisComputersListHoldsNoLoopbackAndNoSelfAssignedAddress) {
  const auto interfaces = LocalAddresses::interfaces();
  ASSERT_EQ(LocalAddresses::ipv4().size(), interfaces.size());
  for (const auto& entry : interfaces) {
    EXPECT_FALSE(entry.name.empty());
    EXPECT_FALSE(entry.address.starts_with("127.")) << entry.address;
    EXPECT_FALSE(entry.address.starts_with("169.254.")) << entry.address;
  }
}

TEST(LocalAddresses, TheNearestAreThoseOfTheLeastDistance) {
  const auto distance = [](const std::string& name) { return name.starts_with("docker") ? 2 : 0; };
  EXPECT_THAT(
      LocalAddresses::nearest(
          {{"docker0", "172.17.0.1"}, {"wlan0", "10.0.0.9"}, {"eth0", "10.0.0.8"}}, distance),
      ElementsAre(Entry{"wlan0", "10.0.0.9"}, Entry{"eth0", "10.0.0.8"}));
  EXPECT_THAT(LocalAddresses::nearest({{"docker0", "172.17.0.1"}}, distance),
              ElementsAre(Entry{"docker0", "172.17.0.1"}));
  EXPECT_THAT(LocalAddresses::nearest({}, distance), IsEmpty());
}

TEST(LocalAddresses, FiftyAddressesOfAnInterfaceAskForItsDistanceOnce) {
  std::vector<Entry> entries(50, {"eth0", "10.0.0.1"});
  int asked = 0;
  EXPECT_EQ(LocalAddresses::nearest(entries, [&](const std::string&) { return ++asked; }).size(),
            50U);
  EXPECT_EQ(asked, 1);
}

/// Runs in a network namespace of its own.
class LocalAddressesHere : public testing::Test {
 protected:
  void inNetwork(const std::string& setup, const std::function<void()>& steps) {
    const bool permitted = inNetworkNamespace([&] {
      ipBatch(setup);
      waitForCarriers();
      steps();
    });
    if (!permitted) GTEST_SKIP() << "network namespaces need root";
  }

  FakeSysfs sysfs;
};

TEST_F(LocalAddressesHere, OnlyAddressesOfTheRoomAreListed) {
  inNetwork(
      "link add eth0 type veth peer name peer0\nlink set eth0 up\n"
      "link add down0 type veth peer name peer1\n"
      "address add 192.168.1.20/24 dev eth0\naddress add 169.254.12.3/16 dev eth0\n"
      "address add 10.0.0.1/24 dev down0\n",
      [this] {
        EXPECT_THAT(LocalAddresses::interfaces(sysfs.path()),
                    ElementsAre(Entry{"eth0", "192.168.1.20"}));
      });
}

TEST_F(LocalAddressesHere, WithLoopbackAloneThereIsNone) {
  inNetwork("", [this] {
    EXPECT_THAT(LocalAddresses::ipv4(sysfs.path()), IsEmpty());
    EXPECT_EQ(LocalAddresses::preferredHost(sysfs.path()), std::nullopt);
  });
}

TEST_F(LocalAddressesHere, ContainersAndTunnelsAreLeftOutWhileSomethingElseRemains) {
  sysfs.wifi("wlan0");
  sysfs.virtualInterface("docker0", {}, "bridge");
  sysfs.virtualInterface("tun0");
  inNetwork(
      "link add docker0 type bridge\naddress add 172.17.0.1/16 dev docker0\n"
      "link add tun0 type veth peer name far0\nlink set far0 up\naddress add 10.8.0.2/24 dev tun0\n"
      "link add wlan0 type veth peer name peer0\naddress add 192.168.1.20/24 dev wlan0\n"
      "link set docker0 up\nlink set tun0 up\nlink set wlan0 up\n",
      [this] {
        EXPECT_EQ(LocalAddresses::preferredHost(sysfs.path()), "192.168.1.20");
        EXPECT_THAT(LocalAddresses::ipv4(sysfs.path()), ElementsAre("192.168.1.20"));
        ip("link set wlan0 down");
        EXPECT_EQ(LocalAddresses::preferredHost(sysfs.path()), "172.17.0.1");
        EXPECT_EQ(LocalAddresses::ipv4(sysfs.path()).size(), 2U);
      });
}

TEST_F(LocalAddressesHere, ABridgeOverHardwareStays) {
  sysfs.ethernet("eth0");
  sysfs.virtualInterface("br0", {"eth0"}, "bridge");
  inNetwork(
      "link add br0 type bridge\naddress add 192.168.1.20/24 dev br0\n"
      "link add docker0 type bridge\naddress add 172.17.0.1/16 dev docker0\n"
      "link set br0 up\nlink set docker0 up\n",
      [this] { EXPECT_THAT(LocalAddresses::ipv4(sysfs.path()), ElementsAre("192.168.1.20")); });
}

TEST_F(LocalAddressesHere, APhonesNetworkIsLeftOutWhileAnotherRemains) {
  sysfs.hardware("enp0s20u1", "rndis_host");
  sysfs.wifi("wlan0");
  inNetwork(
      "link add enp0s20u1 type veth peer name peer0\nlink set enp0s20u1 up\n"
      "address add 192.168.42.129/24 dev enp0s20u1\n"
      "link add wlan0 type veth peer name peer1\nlink set wlan0 up\n"
      "address add 10.0.0.9/24 dev wlan0\n",
      [this] {
        EXPECT_EQ(LocalAddresses::preferredHost(sysfs.path()), "10.0.0.9");
        ip("link set wlan0 down");
        EXPECT_EQ(LocalAddresses::preferredHost(sysfs.path()), "192.168.42.129");
      });
}

TEST_F(LocalAddressesHere, AnUnpluggedCableIsLeftOutWhileAnotherNetworkWorks) {
  sysfs.ethernet("en0");
  sysfs.wifi("wlan0");
  inNetwork(
      "link add en0 type veth peer name peer0\nlink set en0 up\n"
      "address add 192.168.1.20/24 dev en0\n"
      "link add wlan0 type veth peer name peer1\nlink set wlan0 up\nlink set peer1 up\n"
      "address add 10.0.0.9/24 dev wlan0\n",
      [this] {
        EXPECT_THAT(LocalAddresses::interfaces(sysfs.path()),
                    ElementsAre(Entry{"wlan0", "10.0.0.9"}));
        ip("link set peer0 up");
        waitForCarriers();
        EXPECT_EQ(LocalAddresses::preferredHost(sysfs.path()), "192.168.1.20");
        ip("link set peer0 down");
        ip("link set peer1 down");
        waitForCarriers();
        EXPECT_EQ(LocalAddresses::preferredHost(sysfs.path()), "192.168.1.20") << "as good as any";
      });
}

TEST_F(LocalAddressesHere, AnUnpluggedCableIsLeftOutWhileAPhonesNetworkWorks) {
  sysfs.ethernet("en0");
  sysfs.hardware("usb0", "rndis_host");
  sysfs.virtualInterface("docker0", {}, "bridge");
  inNetwork(
      "link add en0 type veth peer name peer0\nlink set en0 up\n"
      "address add 192.168.1.20/24 dev en0\n"
      "link add usb0 type veth peer name peer1\nlink set usb0 up\nlink set peer1 up\n"
      "address add 192.168.42.129/24 dev usb0\n"
      "link add docker0 type veth peer name container0\nlink set docker0 up\n"
      "link set container0 up\naddress add 172.17.0.1/16 dev docker0\n",
      [this] {
        EXPECT_EQ(LocalAddresses::preferredHost(sysfs.path()), "192.168.42.129");
        ip("link set usb0 down");
        EXPECT_EQ(LocalAddresses::preferredHost(sysfs.path()), "192.168.1.20");
      });
}

TEST_F(LocalAddressesHere, WithoutKnownHardwareACarrierCountsToo) {
  inNetwork(
      "link add eth0 type veth peer name peer0\nlink set eth0 up\n"
      "address add 192.168.1.20/24 dev eth0\n"
      "link add eth1 type veth peer name peer1\nlink set eth1 up\nlink set peer1 up\n"
      "address add 10.0.0.9/24 dev eth1\n",
      [this] { EXPECT_EQ(LocalAddresses::preferredHost(sysfs.path()), "10.0.0.9"); });
}

TEST_F(LocalAddressesHere, TwoHundredInterfacesAndFiftyAddressesOnOne) {
  sysfs.ethernet("a7");
  std::string setup;
  for (int i = 0; i < 100; ++i) {
    const std::string n = std::to_string(i);
    setup += "link add a" + n + " type veth peer name b" + n + "\nlink set a" + n + " up\n";
    setup += "address add 10.100." + n + ".1/24 dev a" + n + "\nlink set b" + n + " up\n";
  }
  for (int i = 0; i < 50; ++i)
    setup += "address add 10.7." + std::to_string(i) + ".1/24 dev a7\n";
  inNetwork(setup, [this] {
    EXPECT_EQ(LocalAddresses::interfaces("/nowhere").size(), 150U);
    const auto addresses = LocalAddresses::ipv4(sysfs.path());
    EXPECT_EQ(std::set<std::string>(addresses.begin(), addresses.end()).size(), 51U);
    EXPECT_TRUE(std::ranges::all_of(addresses, [](const std::string& address) {
      return address.starts_with("10.7.") || address == "10.100.7.1";
    }));
  });
}

}  // namespace
}  // namespace tarvinel
