#include "app/desktop/ToolkitPlatform.h"

#include <gtest/gtest.h>

namespace tarvinel {
namespace {

DisplayProbes probes(bool x11, bool wayland) {
  return {[x11](const std::string&) { return x11; },
          [wayland](const std::string&) { return wayland; }};
}

TEST(ToolkitPlatform, IsThatOfTheDisplayThatAnswers) {
  EXPECT_EQ(toolkitPlatform({"", ":0", ""}, probes(true, true)), "xcb");
  EXPECT_EQ(toolkitPlatform({"", "", "wayland-0"}, probes(true, true)), "wayland");
  EXPECT_EQ(toolkitPlatform({"", ":0", "wayland-0"}, probes(true, true)), "wayland");
  EXPECT_EQ(toolkitPlatform({"", ":0", "wayland-0"}, probes(true, false)), "xcb");
}

TEST(ToolkitPlatform, IsNoneWithoutADisplay) {
  EXPECT_EQ(toolkitPlatform({"", "", ""}, probes(true, true)), std::nullopt);
  EXPECT_EQ(toolkitPlatform({"", ":7", "wayland-0"}, probes(false, false)), std::nullopt);
}

TEST(ToolkitPlatform, IsWhatTheEnvironmentNames) {
  EXPECT_EQ(toolkitPlatform({"offscreen", "", ""}, probes(false, false)), "offscreen");
}

TEST(ToolkitPlatform, FindsNothingWhereNothingIs) {
  const DisplayProbes real = DisplayProbes::real();
  EXPECT_FALSE(real.x11(":3999"));
  EXPECT_FALSE(real.wayland("wayland-none"));
}

}  // namespace
}  // namespace tarvinel
