#include "core/mdns/EmbeddedResponder.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tarvinel {
namespace {

/// Returns "if0" with 10.0.0.1, "if1" with 10.0.1.1 and so on.
std::vector<MulticastInterfaces::Interface> numbered(int count) {
  std::vector<MulticastInterfaces::Interface> interfaces;
  for (int i = 0; i < count; ++i) {
    interfaces.push_back({"if" + std::to_string(i), {10, 0, static_cast<std::uint8_t>(i), 1}});
  }
  return interfaces;
}

TEST(MulticastInterfaces, UpToTwentyAreAllUsed) {
  EXPECT_EQ(MulticastInterfaces::onlyOne({}, {10, 0, 3, 1}), std::nullopt);
  EXPECT_EQ(MulticastInterfaces::onlyOne(numbered(20), {10, 0, 3, 1}), std::nullopt);
}

TEST(MulticastInterfaces, OfMoreOnlyTheOneWithTheAddressIs) {
  EXPECT_EQ(MulticastInterfaces::onlyOne(numbered(21), {10, 0, 3, 1}), "if3");
  EXPECT_EQ(MulticastInterfaces::onlyOne(numbered(21), {10, 0, 20, 1}), "if20");
}

TEST(MulticastInterfaces, AnAddressThatNoneHasRestrictsNothing) {
  EXPECT_EQ(MulticastInterfaces::onlyOne(numbered(200), {10, 9, 9, 9}), std::nullopt);
}

TEST(MulticastInterfaces, SeveralAddressesOfOneInterfaceCountOnce) {
  auto interfaces = numbered(20);
  for (std::uint8_t i = 2; i < 52; ++i)
    interfaces.push_back({"if0", {10, 0, 0, i}});
  EXPECT_EQ(MulticastInterfaces::onlyOne(interfaces, {10, 0, 0, 9}), std::nullopt);
  interfaces.push_back({"if20", {10, 0, 20, 1}});
  EXPECT_EQ(MulticastInterfaces::onlyOne(interfaces, {10, 0, 0, 9}), "if0");
}

TEST(MulticastInterfaces, TheLoopbackInterfaceIsNone) {
  for (const auto& interface : MulticastInterfaces::all()) {
    EXPECT_NE(interface.name, "lo");
  }
}

}  // namespace
}  // namespace tarvinel
