#include "app/capture/portal/VideoFormat.h"

#include <gtest/gtest.h>

#include <spa/param/video/format-utils.h>
#include <spa/pod/builder.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <limits>
#include <optional>
#include <vector>

namespace tarvinel::portal {
namespace {

/// A stream's format as a producer writes it, in memory of exactly its size.
class Offer {
 public:
  std::uint32_t type = SPA_TYPE_OBJECT_Format;
  std::uint32_t mediaType = SPA_MEDIA_TYPE_video;
  std::uint32_t mediaSubtype = SPA_MEDIA_SUBTYPE_raw;
  std::optional<std::uint32_t> format = SPA_VIDEO_FORMAT_BGRx;
  std::optional<spa_rectangle> size = spa_rectangle{640, 480};

  std::vector<std::uint64_t> words() const {
    std::array<std::uint64_t, 128> room{};
    spa_pod_builder builder{};
    spa_pod_builder_init(&builder, room.data(), sizeof room);
    spa_pod_frame object{};
    spa_pod_builder_push_object(&builder, &object, type, SPA_PARAM_Format);
    writeId(builder, SPA_FORMAT_mediaType, mediaType);
    writeId(builder, SPA_FORMAT_mediaSubtype, mediaSubtype);
    if (format) writeId(builder, SPA_FORMAT_VIDEO_format, *format);
    if (size) {
      spa_pod_builder_prop(&builder, SPA_FORMAT_VIDEO_size, 0);
      spa_pod_builder_rectangle(&builder, size->width, size->height);
    }
    spa_pod_builder_pop(&builder, &object);
    return {room.begin(), room.begin() + (builder.state.offset + 7) / 8};
  }

 private:
  static void writeId(spa_pod_builder& builder, std::uint32_t key, std::uint32_t value) {
    spa_pod_builder_prop(&builder, key, 0);
    spa_pod_builder_id(&builder, value);
  }
};

std::optional<VideoFormat> read(const std::vector<std::uint64_t>& words) {
  return VideoFormat::read(*reinterpret_cast<const spa_pod*>(words.data()));
}

std::optional<VideoFormat> readWith(std::uint32_t format, std::uint32_t width,
                                    std::uint32_t height) {
  Offer offer;
  offer.format = format;
  offer.size = spa_rectangle{width, height};
  return read(offer.words());
}

TEST(VideoFormat, TheLayoutsThatAreOfferedAreTaken) {
  EXPECT_EQ(readWith(SPA_VIDEO_FORMAT_BGRx, 640, 480), (VideoFormat{PixelOrder::bgr, 640, 480}));
  EXPECT_EQ(readWith(SPA_VIDEO_FORMAT_BGRA, 640, 480), (VideoFormat{PixelOrder::bgr, 640, 480}));
  EXPECT_EQ(readWith(SPA_VIDEO_FORMAT_RGBx, 640, 480), (VideoFormat{PixelOrder::rgb, 640, 480}));
  EXPECT_EQ(readWith(SPA_VIDEO_FORMAT_RGBA, 640, 480), (VideoFormat{PixelOrder::rgb, 640, 480}));
}

TEST(VideoFormat, OtherLayoutsAreNot) {
  EXPECT_FALSE(readWith(SPA_VIDEO_FORMAT_UNKNOWN, 640, 480));
  EXPECT_FALSE(readWith(SPA_VIDEO_FORMAT_xRGB, 640, 480));
  EXPECT_FALSE(readWith(SPA_VIDEO_FORMAT_I420, 640, 480));
  EXPECT_FALSE(readWith(std::numeric_limits<std::uint32_t>::max(), 640, 480));
}

TEST(VideoFormat, SizesFromOneToTheLongest) {
  constexpr std::uint32_t longest = VideoFormat::longest;
  EXPECT_EQ(readWith(SPA_VIDEO_FORMAT_BGRx, 1, 1), (VideoFormat{PixelOrder::bgr, 1, 1}));
  EXPECT_EQ(readWith(SPA_VIDEO_FORMAT_BGRx, longest, longest),
            (VideoFormat{PixelOrder::bgr, 16384, 16384}));
  EXPECT_FALSE(readWith(SPA_VIDEO_FORMAT_BGRx, 0, 480));
  EXPECT_FALSE(readWith(SPA_VIDEO_FORMAT_BGRx, 640, 0));
  EXPECT_FALSE(readWith(SPA_VIDEO_FORMAT_BGRx, longest + 1, 480));
  EXPECT_FALSE(readWith(SPA_VIDEO_FORMAT_BGRx, 640, std::numeric_limits<std::uint32_t>::max()));
}

TEST(VideoFormat, WhatIsNotThereIsNotMadeUp) {
  Offer offer;
  offer.size.reset();
  EXPECT_FALSE(read(offer.words()));
  offer = {};
  offer.format.reset();
  EXPECT_FALSE(read(offer.words()));
}

TEST(VideoFormat, SoundIsNoPicture) {
  Offer offer;
  offer.mediaType = SPA_MEDIA_TYPE_audio;
  EXPECT_FALSE(read(offer.words()));
  offer = {};
  offer.mediaSubtype = SPA_MEDIA_SUBTYPE_mjpg;
  EXPECT_FALSE(read(offer.words()));
  offer = {};
  offer.type = SPA_TYPE_OBJECT_Props;
  EXPECT_FALSE(read(offer.words()));
}

// A pod's size never exceeds its memory: the library has checked that before.
TEST(VideoFormat, WhatIsCutOffDoesNoHarm) {
  const auto whole = Offer().words();
  for (std::uint32_t size = 0; size < whole.size() * 8 - sizeof(spa_pod); size += 8) {
    std::vector<std::uint64_t> words(whole.begin(), whole.begin() + 1 + size / 8);
    std::memcpy(words.data(), &size, sizeof size);
    EXPECT_FALSE(read(words)) << size;
  }
}

TEST(VideoFormat, OtherTypesInPlaceOfAnyWordDoNoHarm) {
  const auto whole = Offer().words();
  for (std::size_t at = 1; at < whole.size(); ++at) {
    for (const std::uint64_t word : {std::uint64_t{0}, ~std::uint64_t{0}, std::uint64_t{0x7FFFFFFF},
                                     std::uint64_t{SPA_TYPE_String} << 32U}) {
      auto words = whole;
      words[at] = word;
      const auto format = read(words);
      EXPECT_TRUE(!format || (format->width >= 1 && format->height >= 1));
    }
  }
}

}  // namespace
}  // namespace tarvinel::portal
