#include "app/terminal/QRCode.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

namespace tarvinel {
namespace {

using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

constexpr std::string_view address = "http://192.168.1.20/";  // 25 × 25 modules

long charactersOf(std::string_view line) {
  return std::ranges::count_if(line, [](char c) { return (c & 0xC0) != 0x80; });
}

TEST(QRCode, HasAQuietZoneOfFourModulesAllAround) {
  const auto lines = drawQRCode(address, QRColours::none);
  ASSERT_EQ(lines.size(), 17U);  // (4 + 25 + 4) / 2, rounded up
  for (const std::string& line : lines) {
    EXPECT_EQ(charactersOf(line), 33) << line;
    EXPECT_THAT(line, AllOf(StartsWith("    "), EndsWith("    ")));
  }
  const std::string empty(33, ' ');
  EXPECT_EQ(lines[0], empty);
  EXPECT_EQ(lines[1], empty);
  EXPECT_EQ(lines[15], empty);
  EXPECT_EQ(lines[16], empty);
}

TEST(QRCode, DarkModulesAreInk) {
  const auto lines = drawQRCode(address, QRColours::none);
  EXPECT_THAT(lines[2], AllOf(StartsWith("    █▀▀▀▀▀█ "), EndsWith(" █▀▀▀▀▀█    ")));
  EXPECT_THAT(lines[3], AllOf(StartsWith("    █ ███ █ "), EndsWith(" █ ███ █    ")));
  EXPECT_THAT(lines[5], AllOf(StartsWith("    ▀▀▀▀▀▀▀ "), EndsWith(" ▀▀▀▀▀▀▀    ")));
}

TEST(QRCode, InATerminalItBringsItsOwnBlackAndWhite) {
  const auto lines = drawQRCode(address, QRColours::terminal);
  ASSERT_EQ(lines.size(), 17U);
  const std::string white = "\x1b[48;5;231m ";
  const std::string black = "\x1b[48;5;16m ";
  const std::string blackOverWhite = "\x1b[38;5;231;48;5;16m▄";
  const std::string whiteOverBlack = "\x1b[38;5;16;48;5;231m▄";
  EXPECT_THAT(lines[0], StartsWith(white + white));
  EXPECT_THAT(lines[0], EndsWith(white + "\x1b[0m"));
  EXPECT_THAT(lines[2], StartsWith(white + white + white + white + black + blackOverWhite));
  EXPECT_THAT(lines[12], HasSubstr(whiteOverBlack));
}

TEST(QRCode, WhatCannotBeEncodedIsNotDrawn) {
  EXPECT_THAT(drawQRCode("", QRColours::none), IsEmpty());
  EXPECT_THAT(drawQRCode(std::string(5000, 'a'), QRColours::none), IsEmpty());
}

}  // namespace
}  // namespace tarvinel
