#include "app/capture/portal/StreamBuffer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <vector>

namespace tarvinel::portal {
namespace {

using testing::ElementsAre;

// A cursor's metadata in the layout of the protocol.
struct Cursor {
  std::uint32_t id = 1;
  std::uint32_t flags = 0;
  std::int32_t x = 10;
  std::int32_t y = 20;
  std::int32_t hotspotX = 1;
  std::int32_t hotspotY = 2;
  std::uint32_t bitmapOffset = 28;
};
struct Bitmap {
  std::uint32_t format = 0;
  std::uint32_t width = 2;
  std::uint32_t height = 1;
  std::int32_t stride = 8;
  std::uint32_t offset = 20;
};
static_assert(sizeof(Cursor) == 28 && sizeof(Bitmap) == 20);

constexpr std::uint32_t rgba = 11;
constexpr std::uint32_t bgra = 12;

class CursorMetadataTest : public testing::Test {
 protected:
  CursorMetadataTest() { bitmap.format = bgra; }

  bool read() { return readBytes(bytes()); }

  bool readBytes(const std::vector<std::uint8_t>& given) {
    return cursorMetadata.read(given.data(), given.size());
  }

  std::vector<std::uint8_t> bytes() const {
    std::vector<std::uint8_t> all(sizeof cursor + sizeof bitmap);
    std::memcpy(all.data(), &cursor, sizeof cursor);
    std::memcpy(all.data() + sizeof cursor, &bitmap, sizeof bitmap);
    all.insert(all.end(), pixels.begin(), pixels.end());
    return all;
  }

  Cursor cursor;
  Bitmap bitmap;
  std::vector<std::uint8_t> pixels{1, 2, 3, 4, 5, 6, 7, 8};
  CursorMetadata cursorMetadata;
};

TEST_F(CursorMetadataTest, ACursorStandsWithItsHotspotAtItsPosition) {
  EXPECT_TRUE(read());
  ASSERT_TRUE(cursorMetadata.image());
  EXPECT_EQ(cursorMetadata.image()->area, (PixelRect{9, 18, 2, 1}));
  EXPECT_THAT(cursorMetadata.image()->pixels, ElementsAre(0x04030201, 0x08070605));
}

TEST_F(CursorMetadataTest, TheOrderOfColoursIsMinded) {
  bitmap.format = rgba;
  read();
  EXPECT_THAT(cursorMetadata.image()->pixels, ElementsAre(0x04010203, 0x08050607));
}

TEST_F(CursorMetadataTest, WithoutABitmapTheLookStays) {
  read();
  cursor.bitmapOffset = 0;
  EXPECT_FALSE(read());
  cursor.x = 50;
  EXPECT_TRUE(read());
  EXPECT_EQ(cursorMetadata.image()->area, (PixelRect{49, 18, 2, 1}));
  EXPECT_THAT(cursorMetadata.image()->pixels, ElementsAre(0x04030201, 0x08070605));
}

TEST_F(CursorMetadataTest, WithoutANumberThereIsNoCursor) {
  read();
  cursor.id = 0;
  cursor.bitmapOffset = 0;
  EXPECT_TRUE(read());
  EXPECT_FALSE(cursorMetadata.image());
  EXPECT_FALSE(read());
}

TEST_F(CursorMetadataTest, ALookThatMakesNoSenseIsNotShown) {
  const auto isHidden = [&](auto spoil) {
    bitmap = Bitmap{};
    bitmap.format = bgra;
    spoil(bitmap);
    read();
    return !cursorMetadata.image();
  };
  constexpr auto most = std::numeric_limits<std::uint32_t>::max();
  EXPECT_TRUE(isHidden([](Bitmap& given) { given.format = 0; }));
  EXPECT_TRUE(isHidden([](Bitmap& given) { given.width = 0; }));
  EXPECT_TRUE(isHidden([](Bitmap& given) { given.width = 3; }));
  EXPECT_TRUE(isHidden([](Bitmap& given) { given.width = most; }));
  EXPECT_TRUE(isHidden([](Bitmap& given) { given.height = 2; }));
  EXPECT_TRUE(isHidden([](Bitmap& given) { given.height = most; }));
  EXPECT_TRUE(isHidden([](Bitmap& given) { given.stride = 7; }));
  EXPECT_TRUE(isHidden([](Bitmap& given) { given.stride = -8; }));
  EXPECT_TRUE(isHidden([](Bitmap& given) { given.offset = 21; }));
  EXPECT_TRUE(isHidden([](Bitmap& given) { given.offset = 0; }));
  EXPECT_TRUE(isHidden([](Bitmap& given) { given.offset = most; }));
  EXPECT_FALSE(isHidden([](Bitmap&) {}));
}

TEST_F(CursorMetadataTest, FactsThatAreCutOffDoNoHarm) {
  const auto whole = bytes();
  for (std::size_t size = 0; size < whole.size(); ++size) {
    readBytes({whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size)});
    EXPECT_FALSE(cursorMetadata.image()) << size;
  }
  cursor.bitmapOffset = std::numeric_limits<std::uint32_t>::max();
  read();
  EXPECT_FALSE(cursorMetadata.image());
}

TEST_F(CursorMetadataTest, AnyPlaceWillDo) {
  using Int = std::numeric_limits<std::int32_t>;
  cursor.x = Int::max();
  cursor.hotspotX = Int::min();
  cursor.y = Int::min();
  cursor.hotspotY = Int::max();
  EXPECT_TRUE(read());
  EXPECT_EQ(cursorMetadata.image()->area, (PixelRect{1 << 21, -(1 << 21), 2, 1}));
}

}  // namespace
}  // namespace tarvinel::portal
