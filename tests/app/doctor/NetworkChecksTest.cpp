#include "app/doctor/NetworkChecks.h"
#include "tests/support/FakeSysfs.h"
#include "tests/support/NetworkNamespace.h"

#include <gtest/gtest.h>

namespace tarvinel {
namespace {

using enum Finding::State;

AddressProbe wired() {
  return {80,
          "tarvinel",
          {{"eth0", "10.0.0.5"}},
          {InterfaceType::wiredEthernet},
          InterfaceType::wiredEthernet};
}

TEST(AddressCheck, WhatViewersOpen) {
  EXPECT_EQ(judge(wired()),
            (Findings{{fine,
                       "Viewers open http://10.0.0.5/ or http://tarvinel.local/. Pictures go out "
                       "by cable.",
                       {}}}));
  auto probe = wired();
  probe.port = 8080;
  probe.hostname = "";
  probe.link = InterfaceType::wifi;
  EXPECT_EQ(
      judge(probe),
      (Findings{{fine, "Viewers open http://10.0.0.5:8080/. Pictures go out by Wi-Fi.", {}}}));
  probe.link = InterfaceType::cellular;
  EXPECT_EQ(judge(probe).front().what,
            "Viewers open http://10.0.0.5:8080/. Pictures go out by a phone or modem.");
  probe.link = std::nullopt;
  EXPECT_EQ(judge(probe).front().what, "Viewers open http://10.0.0.5:8080/.");
}

TEST(AddressCheck, ViewersOnAnotherNetwork) {
  auto probe = wired();
  probe.interfaces.push_back({"wlan0", "192.168.7.9"});
  probe.hardware.emplace_back(InterfaceType::wifi);
  EXPECT_EQ(judge(probe).at(1),
            (Finding{worthKnowing,
                     "There are more networks here; viewers there open another address.",
                     {"On wlan0: http://192.168.7.9/"}}));
}

TEST(AddressCheck, AnyFreePort) {
  auto probe = wired();
  probe.port = 0;
  probe.interfaces.push_back({"wlan0", "192.168.7.9"});
  probe.hardware.emplace_back(InterfaceType::wifi);
  EXPECT_EQ(judge(probe), (Findings{{fine,
                                     "Viewers open 10.0.0.5 or tarvinel.local, with the port that "
                                     "is told at the start. Pictures go out by cable.",
                                     {}},
                                    {worthKnowing,
                                     "There are more networks here; viewers there open another "
                                     "address.",
                                     {"On wlan0: 192.168.7.9"}}}));
}

TEST(AddressCheck, AnAddressWithoutHardware) {
  auto probe = wired();
  probe.hardware = {std::nullopt};
  EXPECT_EQ(judge(probe).at(1),
            (Finding{worthKnowing,
                     "The address is not one of a cable or of Wi-Fi: viewers in the room may not "
                     "reach it.",
                     {"Plug in a cable, or join the Wi-Fi that the viewers are in."}}));
}

TEST(AddressCheck, NoAddress) {
  EXPECT_EQ(judge(AddressProbe{}),
            (Findings{{needsAttention,
                       "This computer has no network address: nobody can reach it.",
                       {"Plug in a cable, or join the Wi-Fi that the viewers are in."}}}));
}

TEST(AddressProbe, OfARealNetwork) {
  const test::FakeSysfs sysfs;
  sysfs.wifi("wlan0");
  const bool isRoot = test::inNetworkNamespace([&sysfs] {
    EXPECT_TRUE(AddressProbe::of(80, "a", sysfs.path()).interfaces.empty());
    test::ipBatch(
        "link add wlan0 type veth peer name other\n"
        "link set wlan0 up\n"
        "link set other up\n"
        "address add 10.1.2.3/24 dev wlan0\n");
    const auto probe = AddressProbe::of(80, "a", sysfs.path());
    EXPECT_EQ(probe.interfaces, (std::vector<LocalAddresses::Interface>{{"wlan0", "10.1.2.3"}}));
    EXPECT_EQ(probe.hardware, (std::vector<std::optional<InterfaceType>>{InterfaceType::wifi}));
    EXPECT_EQ(probe.link, InterfaceType::wifi);
  });
  if (!isRoot) GTEST_SKIP() << "network namespaces need root";
}

}  // namespace
}  // namespace tarvinel
