#include "core/link/NetworkInfo.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tarvinel {
namespace {

using enum NetworkInfo::Family;
using testing::ElementsAre;
using testing::IsEmpty;

const NetworkInfo::Link eth0{2, "eth0", true};
const NetworkInfo::Link wlan0{3, "wlan0", true};
const NetworkInfo::Link tun0{4, "tun0", true};

TEST(NetworkFacts, TheDefaultRouteOfTheLowestMetricComesFirst) {
  EXPECT_THAT(interfacesByPreference({{eth0, wlan0}, {{ipv4, 600, 3}, {ipv4, 100, 2}}, {}}),
              ElementsAre("eth0", "wlan0"));
  EXPECT_THAT(interfacesByPreference({{eth0, wlan0}, {{ipv4, 50, 3}, {ipv4, 100, 2}}, {}}),
              ElementsAre("wlan0", "eth0"));
}

TEST(NetworkFacts, IPv4ComesBeforeIPv6) {
  EXPECT_THAT(interfacesByPreference({{eth0, wlan0}, {{ipv6, 100, 2}, {ipv4, 600, 3}}, {}}),
              ElementsAre("wlan0", "eth0"));
  EXPECT_THAT(interfacesByPreference({{eth0, wlan0}, {{ipv6, 600, 3}, {ipv6, 100, 2}}, {}}),
              ElementsAre("eth0", "wlan0"));
}

TEST(NetworkFacts, EqualRoutesStayInTheKernelsOrder) {
  EXPECT_THAT(interfacesByPreference({{eth0, wlan0}, {{ipv4, 0, 3}, {ipv4, 0, 2}}, {}}),
              ElementsAre("wlan0", "eth0"));
}

TEST(NetworkFacts, AnInterfaceIsNamedOnce) {
  EXPECT_THAT(interfacesByPreference({{eth0}, {{ipv4, 0, 2}, {ipv4, 9, 2}, {ipv6, 0, 2}}, {2}}),
              ElementsAre("eth0"));
}

TEST(NetworkFacts, WithoutADefaultRouteThoseWithAnAddressCount) {
  EXPECT_THAT(interfacesByPreference({{wlan0, eth0, tun0}, {}, {3, 2}}),
              ElementsAre("eth0", "wlan0"));
}

TEST(NetworkFacts, OnesWithAnAddressComeAfterTheDefaultRoutes) {
  EXPECT_THAT(interfacesByPreference({{eth0, wlan0}, {{ipv4, 600, 3}}, {2, 3}}),
              ElementsAre("wlan0", "eth0"));
}

TEST(NetworkFacts, ALinkThatCarriesNothingIsLeftOut) {
  const NetworkInfo::Link unplugged{2, "eth0", false};
  EXPECT_THAT(interfacesByPreference({{unplugged, wlan0}, {{ipv4, 0, 2}, {ipv4, 600, 3}}, {2}}),
              ElementsAre("wlan0"));
}

TEST(NetworkFacts, ARouteToALinkThatIsNotListedIsLeftOut) {
  EXPECT_THAT(interfacesByPreference({{eth0}, {{ipv4, 0, 77}}, {99}}), IsEmpty());
  EXPECT_THAT(interfacesByPreference({}), IsEmpty());
}

}  // namespace
}  // namespace tarvinel
