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

TEST(NetworkInfo, TheDefaultRouteOfTheLowestMetricComesFirst) {
  EXPECT_THAT(interfacesByPreference({{eth0, wlan0}, {{ipv4, 600, 3}, {ipv4, 100, 2}}, {}}),
              ElementsAre("eth0", "wlan0"));
  EXPECT_THAT(interfacesByPreference({{eth0, wlan0}, {{ipv4, 50, 3}, {ipv4, 100, 2}}, {}}),
              ElementsAre("wlan0", "eth0"));
}

TEST(NetworkInfo, IPv4ComesBeforeIPv6) {
  EXPECT_THAT(interfacesByPreference({{eth0, wlan0}, {{ipv6, 100, 2}, {ipv4, 600, 3}}, {}}),
              ElementsAre("wlan0", "eth0"));
  EXPECT_THAT(interfacesByPreference({{eth0, wlan0}, {{ipv6, 600, 3}, {ipv6, 100, 2}}, {}}),
              ElementsAre("eth0", "wlan0"));
}

TEST(NetworkInfo, EqualRoutesStayInTheKernelsOrder) {
  EXPECT_THAT(interfacesByPreference({{eth0, wlan0}, {{ipv4, 0, 3}, {ipv4, 0, 2}}, {}}),
              ElementsAre("wlan0", "eth0"));
}

TEST(NetworkInfo, AnInterfaceIsNamedOnce) {
  EXPECT_THAT(interfacesByPreference({{eth0}, {{ipv4, 0, 2}, {ipv4, 9, 2}, {ipv6, 0, 2}}, {2}}),
              ElementsAre("eth0"));
}

TEST(NetworkInfo, WithoutADefaultRouteThoseWithAnAddressCount) {
  EXPECT_THAT(interfacesByPreference({{wlan0, eth0, tun0}, {}, {3, 2}}),
              ElementsAre("eth0", "wlan0"));
}

TEST(NetworkInfo, OnesWithAnAddressComeAfterTheDefaultRoutes) {
  EXPECT_THAT(interfacesByPreference({{eth0, wlan0}, {{ipv4, 600, 3}}, {2, 3}}),
              ElementsAre("wlan0", "eth0"));
}

TEST(NetworkInfo, ALinkThatCarriesNothingIsLeftOut) {
  const NetworkInfo::Link unplugged{2, "eth0", false};
  EXPECT_THAT(interfacesByPreference({{unplugged, wlan0}, {{ipv4, 0, 2}, {ipv4, 600, 3}}, {2}}),
              ElementsAre("wlan0"));
}

TEST(NetworkInfo, ARouteToALinkThatIsNotListedIsLeftOut) {
  EXPECT_THAT(interfacesByPreference({{eth0}, {{ipv4, 0, 77}}, {99}}), IsEmpty());
  EXPECT_THAT(interfacesByPreference({}), IsEmpty());
}

}  // namespace
}  // namespace tarvinel
