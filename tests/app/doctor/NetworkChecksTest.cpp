#include "app/doctor/NetworkChecks.h"
#include "tests/support/FakeSysfs.h"
#include "tests/support/NetworkNamespace.h"

#include <gtest/gtest.h>

namespace tarvinel {
namespace {

using enum Finding::State;

AddressFacts wired() {
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
  auto facts = wired();
  facts.port = 8080;
  facts.hostname = "";
  facts.link = InterfaceType::wifi;
  EXPECT_EQ(
      judge(facts),
      (Findings{{fine, "Viewers open http://10.0.0.5:8080/. Pictures go out by Wi-Fi.", {}}}));
  facts.link = InterfaceType::cellular;
  EXPECT_EQ(judge(facts).front().what,
            "Viewers open http://10.0.0.5:8080/. Pictures go out by a phone or modem.");
  facts.link = std::nullopt;
  EXPECT_EQ(judge(facts).front().what, "Viewers open http://10.0.0.5:8080/.");
}

TEST(AddressCheck, ViewersOnAnotherNetwork) {
  auto facts = wired();
  facts.interfaces.push_back({"wlan0", "192.168.7.9"});
  facts.hardware.emplace_back(InterfaceType::wifi);
  EXPECT_EQ(judge(facts).at(1),
            (Finding{worthKnowing,
                     "There are more networks here; viewers there open another address.",
                     {"On wlan0: http://192.168.7.9/"}}));
}

TEST(AddressCheck, AnyFreePort) {
  auto facts = wired();
  facts.port = 0;
  facts.interfaces.push_back({"wlan0", "192.168.7.9"});
  facts.hardware.emplace_back(InterfaceType::wifi);
  EXPECT_EQ(judge(facts), (Findings{{fine,
                                     "Viewers open 10.0.0.5 or tarvinel.local, with the port that "
                                     "is told at the start. Pictures go out by cable.",
                                     {}},
                                    {worthKnowing,
                                     "There are more networks here; viewers there open another "
                                     "address.",
                                     {"On wlan0: 192.168.7.9"}}}));
}

TEST(AddressCheck, AnAddressWithoutHardware) {
  auto facts = wired();
  facts.hardware = {std::nullopt};
  EXPECT_EQ(judge(facts).at(1),
            (Finding{worthKnowing,
                     "The address is not one of a cable or of Wi-Fi: viewers in the room may not "
                     "reach it.",
                     {"Plug in a cable, or join the Wi-Fi that the viewers are in."}}));
}

TEST(AddressCheck, NoAddress) {
  EXPECT_EQ(judge(AddressFacts{}),
            (Findings{{toBeMended,
                       "This computer has no network address: nobody can reach it.",
                       {"Plug in a cable, or join the Wi-Fi that the viewers are in."}}}));
}

TEST(AddressFacts, OfARealNetwork) {
  const test::FakeSysfs sysfs;
  sysfs.wifi("wlan0");
  const bool isRoot = test::inNetworkNamespace([&sysfs] {
    EXPECT_TRUE(AddressFacts::of(80, "a", sysfs.path()).interfaces.empty());
    test::ipBatch(
        "link add wlan0 type veth peer name other\n"
        "link set wlan0 up\n"
        "link set other up\n"
        "address add 10.1.2.3/24 dev wlan0\n");
    const auto facts = AddressFacts::of(80, "a", sysfs.path());
    EXPECT_EQ(facts.interfaces, (std::vector<LocalAddresses::Interface>{{"wlan0", "10.1.2.3"}}));
    EXPECT_EQ(facts.hardware, (std::vector<std::optional<InterfaceType>>{InterfaceType::wifi}));
    EXPECT_EQ(facts.link, InterfaceType::wifi);
  });
  if (!isRoot) GTEST_SKIP() << "network namespaces need root";
}

}  // namespace
}  // namespace tarvinel
