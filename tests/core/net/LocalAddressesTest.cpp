#include "core/net/LocalAddresses.h"

#include <gtest/gtest.h>

#include <optional>

namespace tarvinel {
namespace {

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

}  // namespace
}  // namespace tarvinel
