#include "core/support/UnicodeText.h"

#include <gtest/gtest.h>

#include <string>

namespace tarvinel {
namespace {

using namespace std::string_literals;

TEST(WithEscapedControls, LeavesWhatCanBeShown) {
  EXPECT_EQ(withEscapedControls("/upload/Zo\u00eb/caf\u00e9 \u00a0\u20ac.jpg"),
            "/upload/Zo\u00eb/caf\u00e9 \u00a0\u20ac.jpg");
  EXPECT_EQ(withEscapedControls(""), "");
}

TEST(WithEscapedControls, EscapesWhatMovesATerminalOrBeginsALine) {
  EXPECT_EQ(withEscapedControls("/a\nb\x1b[2J\x7f\t\0"s), R"(/a\x0ab\x1b[2J\x7f\x09\x00)");
}

TEST(WithEscapedControls, EscapesTheControlsOfOneByteTerminals) {
  EXPECT_EQ(withEscapedControls("\u0080\u009b31m\u009f\u00a0"), "\\u0080\\u009b31m\\u009f\u00a0");
}

TEST(WithEscapedControls, CannotBeImitated) {
  EXPECT_EQ(withEscapedControls(R"(/a\x1b)"), R"(/a\\x1b)");
}

}  // namespace
}  // namespace tarvinel
