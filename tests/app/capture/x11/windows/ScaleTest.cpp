#include "app/capture/x11/windows/Displays.h"

#include <gtest/gtest.h>

namespace tarvinel::x11 {
namespace {

struct ScaleCase {
  const char* resources;
  int scale;
};

class ScaleFromResources : public testing::TestWithParam<ScaleCase> {};

TEST_P(ScaleFromResources, IsTheDotsPerInchInUnitsOf96) {
  EXPECT_EQ(scaleFromResources(GetParam().resources), GetParam().scale);
}

INSTANTIATE_TEST_SUITE_P(
    All, ScaleFromResources,
    testing::Values(ScaleCase{"", 1}, ScaleCase{"Xft.dpi:\t96\n", 1}, ScaleCase{"Xft.dpi: 120", 1},
                    ScaleCase{"Xft.dpi:144\n", 2}, ScaleCase{"Xft.dpi:\t192\n", 2},
                    ScaleCase{"Xft.dpi: 191.9\n", 2}, ScaleCase{"Xft.dpi: 288\n", 3},
                    ScaleCase{"Xft.dpi: 960\n", 3}, ScaleCase{"Xft.dpi: 10\n", 1},
                    ScaleCase{"Xft.dpi: -192\n", 1}, ScaleCase{"Xft.dpi: inf\n", 1},
                    ScaleCase{"Xft.dpi: nan\n", 1}, ScaleCase{"Xft.dpi: much\n", 1},
                    ScaleCase{"Xft.dpi:\n", 1}, ScaleCase{"Xft.dpi", 1},
                    ScaleCase{"Xft.dpi: 1e999\n", 1}, ScaleCase{"Xft.dpix: 192\n", 1},
                    ScaleCase{"Xcursor.size: 24\n  Xft.dpi:\t192\nXft.rgba: none\n", 2},
                    ScaleCase{"Xft.dpi: 192\nXft.dpi: 288\n", 3}));

TEST(ScaleFromResources, TakesAnyBytes) {
  EXPECT_EQ(scaleFromResources(std::string_view("\0\n\xFF\n\n\0", 6)), 1);
}

}  // namespace
}  // namespace tarvinel::x11
