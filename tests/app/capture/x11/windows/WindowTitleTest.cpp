#include "app/capture/x11/windows/WindowList.h"
#include "core/support/UnicodeText.h"

#include <gtest/gtest.h>

namespace tarvinel::x11 {
namespace {

std::string utf8(const std::string& bytes) {
  return windowTitle(bytes, TitleEncoding::utf8);
}

TEST(WindowTitle, IsTakenAsItIsWhenThereIsNothingWrongWithIt) {
  EXPECT_EQ(utf8("Übersicht – 日本語 👩‍👩‍👧"),
            "Übersicht – 日本語 👩‍👩‍👧");
  EXPECT_EQ(utf8(""), "");
}

TEST(WindowTitle, MalformedBytesAreReplaced) {
  EXPECT_EQ(utf8("a\xFF z"), "a\uFFFD z");
  EXPECT_EQ(utf8("cut \xE6\x97"), "cut \uFFFD");
}

TEST(WindowTitle, ControlCharactersAreBlanksAndBlanksAreJoined) {
  EXPECT_EQ(utf8("\n one\ttwo\x1B\x07  three\x7F "), "one two three");
  EXPECT_EQ(utf8(std::string("a\0b", 3)), "a b");
  EXPECT_EQ(utf8("a\u2028b\u0085c"), "a b c");
  EXPECT_EQ(utf8("\n\t\x01"), "");
}

TEST(WindowTitle, NothingTurnsTheDirectionOfWriting) {
  EXPECT_EQ(utf8("safe\u202Egpj.exe\u2066"), "safegpj.exe");
}

TEST(WindowTitle, ALongOneIsCutBetweenCharacters) {
  EXPECT_EQ(utf8(std::string(200, 'x')), std::string(200, 'x'));
  EXPECT_EQ(utf8(std::string(10240, 'x')), std::string(200, 'x') + "…");
  std::string thumbs;
  for (int i = 0; i < 300; ++i)
    thumbs += "👍🏽";
  const std::string title = utf8(thumbs);
  EXPECT_TRUE(isValidUTF8(title));
  EXPECT_EQ(title, thumbs.substr(0, thumbs.size() / 300 * 200) + "…");
}

TEST(WindowTitle, OldEncodingsAreRead) {
  EXPECT_EQ(windowTitle("caf\xE9", TitleEncoding::latin1), "café");
  EXPECT_EQ(windowTitle("caf\xE9", TitleEncoding::compound), "café");
  EXPECT_EQ(windowTitle("\x1B%G\xC3\xA9t\xC3\xA9\x1B%@!", TitleEncoding::compound), "été!");
  EXPECT_EQ(windowTitle("\x1B$)A\xC4\xE3", TitleEncoding::compound), "你");
}

}  // namespace
}  // namespace tarvinel::x11
