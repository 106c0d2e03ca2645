#include "app/model/QuietCard.h"
#include "tests/support/DecodedJPEG.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

namespace tarvinel {
namespace {

using test::DecodedJPEG;

DecodedJPEG cardOf(const std::string& text, const PixelSize& size) {
  return DecodedJPEG::decode(*QuietCard(text).ofSize(size));
}

bool isBackground(const DecodedJPEG& picture, std::size_t x, std::size_t y) {
  return picture.at(x, y) == DecodedJPEG::Pixel{0x11, 0x11, 0x11};
}

/// Returns how many pixels of a row belong to letters.
std::size_t lettersInRow(const DecodedJPEG& picture, std::size_t y) {
  std::size_t letters = 0;
  for (std::size_t x = 0; x < picture.width; ++x)
    letters += picture.at(x, y)[0] > 0x60 ? 1U : 0U;
  return letters;
}

TEST(QuietCard, HasItsTextInTheMiddleOfThePagesBackground) {
  const DecodedJPEG card = cardOf("waiting", {1280, 720});
  ASSERT_EQ(card.width, 1280U);
  ASSERT_EQ(card.height, 720U);
  for (const std::size_t x : {0U, 640U, 1279U}) {
    EXPECT_TRUE(isBackground(card, x, 0));
    EXPECT_TRUE(isBackground(card, x, 719));
  }
  std::size_t inTheMiddle = 0;
  std::size_t elsewhere = 0;
  for (std::size_t y = 0; y < card.height; ++y)
    (y > 330 && y < 390 ? inTheMiddle : elsewhere) += lettersInRow(card, y);
  EXPECT_GT(inTheMiddle, 100U);
  EXPECT_EQ(elsewhere, 0U);
}

TEST(QuietCard, IsMadeOnceForASize) {
  QuietCard card("waiting");
  const Frame first = card.ofSize({640, 480});
  EXPECT_EQ(card.ofSize({640, 480}), first);
  EXPECT_NE(card.ofSize({640, 481}), first);
}

TEST(QuietCard, ExtremeSizesGiveACardOfTheirShape) {
  const DecodedJPEG small = cardOf("waiting", {1, 1});
  EXPECT_EQ(small.width, 1U);
  EXPECT_EQ(small.height, 1U);
  const DecodedJPEG large = cardOf("waiting", {65000, 32500});
  EXPECT_EQ(large.width, 3840U);
  EXPECT_EQ(large.height, 1920U);
}

TEST(QuietCard, ShowsAnyTextThatConfigurationsCanHold) {
  for (const std::string& text :
       {std::string(), std::string(1 << 17, 'x'), std::string("a\0b", 3),
        std::string("日本 שלום 👩‍👩‍👧 <b>&amp;"), std::string(1000, '\n')}) {
    const DecodedJPEG card = cardOf(text, {320, 240});
    EXPECT_TRUE(isBackground(card, 0, 0));
    EXPECT_TRUE(isBackground(card, 319, 239));
  }
}

}  // namespace
}  // namespace tarvinel
