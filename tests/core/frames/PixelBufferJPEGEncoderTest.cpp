#include "core/frames/JPEGWriter.h"
#include "core/frames/PixelBufferJPEGEncoder.h"
#include "tests/support/DecodedJPEG.h"
#include "tests/support/NoNumbers.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <limits>
#include <optional>

namespace tarvinel {
namespace {

using test::DecodedJPEG;
using testing::Le;

/// A picture in memory whose every property a test can make invalid, and which counts its locks.
class FakeBuffer : public PixelBuffer {
 public:
  FakeBuffer(std::size_t width, std::size_t height, std::size_t padding = 0)
      : width_(width), height_(height), rowLength_(width * 4 + padding) {
    pixels_.resize(rowLength_ * height, 0xEE);
    for (std::size_t y = 0; y < height; ++y) {
      for (std::size_t x = 0; x < width; ++x)
        paint(x, y, {0, 0, 0});
    }
  }

  /// Takes colours as red, green, blue; alpha becomes 0, which must not matter.
  void paint(std::size_t x, std::size_t y, DecodedJPEG::Pixel colour) {
    std::uint8_t* pixel = &pixels_.at(y * rowLength_ + x * 4);
    pixel[0] = colour[2];
    pixel[1] = colour[1];
    pixel[2] = colour[0];
    pixel[3] = 0;
  }

  void fill(std::size_t left, std::size_t top, std::size_t width, std::size_t height,
            DecodedJPEG::Pixel colour) {
    for (std::size_t y = top; y < top + height; ++y) {
      for (std::size_t x = left; x < left + width; ++x)
        paint(x, y, colour);
    }
  }

  PixelFormat pixelFormat() const override { return format; }
  std::size_t width() const override { return width_; }
  std::size_t height() const override { return height_; }
  std::size_t bytesPerRow() const override { return reportedRowLength.value_or(rowLength_); }
  int lockReadOnly() override {
    ++locks;
    return lockStatus;
  }
  void unlockReadOnly() override { ++unlocks; }
  const std::uint8_t* baseAddress() const override { return hasMemory ? pixels_.data() : nullptr; }

  PixelFormat format = pixelFormatBGRA;
  int lockStatus = 0;
  bool hasMemory = true;
  std::optional<std::size_t> reportedRowLength;
  int locks = 0;
  int unlocks = 0;

 private:
  std::size_t width_;
  std::size_t height_;
  std::size_t rowLength_;
  Bytes pixels_;
};

constexpr DecodedJPEG::Pixel red{255, 0, 0};
constexpr DecodedJPEG::Pixel green{0, 255, 0};
constexpr DecodedJPEG::Pixel blue{0, 0, 255};
constexpr DecodedJPEG::Pixel white{255, 255, 255};

Frame encodeFile(FakeBuffer& buffer, const std::optional<Rect>& crop = std::nullopt,
                 double scale = 1.0, ChromaSampling chroma = ChromaSampling::full,
                 double quality = 0.95) {
  return PixelBufferJPEGEncoder::encode(buffer, quality, crop, scale, chroma);
}

DecodedJPEG encoded(FakeBuffer& buffer, const std::optional<Rect>& crop = std::nullopt,
                    double scale = 1.0, ChromaSampling chroma = ChromaSampling::full) {
  return DecodedJPEG::decode(*encodeFile(buffer, crop, scale, chroma));
}

Size sizeOf(const DecodedJPEG& picture) {
  return {static_cast<double>(picture.width), static_cast<double>(picture.height)};
}

void expectNear(const DecodedJPEG::Pixel& actual, const DecodedJPEG::Pixel& expected,
                int tolerance = 4) {
  for (std::size_t i = 0; i < 3; ++i) {
    EXPECT_THAT(std::abs(actual[i] - expected[i]), Le(tolerance)) << "channel " << i;
  }
}

void expectFailure(FakeBuffer& buffer, const JPEGEncodeError& expected) {
  try {
    encodeFile(buffer);
    FAIL() << "encoded";
  } catch (const JPEGEncodeError& error) {
    EXPECT_EQ(error, expected) << error.what();
  }
}

TEST(PixelBufferJPEGEncoder, WritesOneCompleteBaselineFileWithoutAlpha) {
  FakeBuffer buffer(33, 17);
  const Frame file = encodeFile(buffer);
  ASSERT_GT(file->size(), 4U);
  EXPECT_EQ(file->front(), 0xFF);
  EXPECT_EQ((*file)[1], 0xD8);
  EXPECT_EQ((*file)[file->size() - 2], 0xFF);
  EXPECT_EQ(file->back(), 0xD9);
  const DecodedJPEG picture = DecodedJPEG::decode(*file);
  EXPECT_EQ(sizeOf(picture), (Size{33, 17}));
  EXPECT_EQ(picture.components, 3);
  EXPECT_FALSE(picture.progressive);
}

TEST(PixelBufferJPEGEncoder, KeepsColoursInTheirPlaces) {
  FakeBuffer buffer(64, 64);
  buffer.fill(0, 0, 32, 32, red);
  buffer.fill(32, 0, 32, 32, green);
  buffer.fill(0, 32, 32, 32, blue);
  buffer.fill(32, 32, 32, 32, white);
  const DecodedJPEG picture = encoded(buffer);
  expectNear(picture.at(8, 8), red);
  expectNear(picture.at(56, 8), green);
  expectNear(picture.at(8, 56), blue);
  expectNear(picture.at(56, 56), white);
}

TEST(PixelBufferJPEGEncoder, SamplingIsAsAsked) {
  FakeBuffer buffer(64, 64);
  const DecodedJPEG full = encoded(buffer, std::nullopt, 1.0, ChromaSampling::full);
  EXPECT_EQ(full.lumaSamplesAcross, 1);
  EXPECT_EQ(full.lumaSamplesDown, 1);
  const DecodedJPEG quartered = encoded(buffer, std::nullopt, 1.0, ChromaSampling::quartered);
  EXPECT_EQ(quartered.lumaSamplesAcross, 2);
  EXPECT_EQ(quartered.lumaSamplesDown, 2);
}

TEST(PixelBufferJPEGEncoder, FullSamplingKeepsSinglePixelColour) {
  FakeBuffer buffer(32, 32);
  for (std::size_t x = 0; x < 32; x += 2)
    buffer.fill(x, 0, 1, 32, red);
  for (std::size_t x = 1; x < 32; x += 2)
    buffer.fill(x, 0, 1, 32, blue);
  expectNear(encoded(buffer).at(16, 16), red, 25);
  expectNear(encoded(buffer).at(17, 16), blue, 25);
}

TEST(PixelBufferJPEGEncoder, RowsMayBeLongerThanThePicture) {
  FakeBuffer buffer(40, 40, 52);
  buffer.fill(0, 0, 40, 40, green);
  const DecodedJPEG picture = encoded(buffer);
  EXPECT_EQ(sizeOf(picture), (Size{40, 40}));
  expectNear(picture.at(0, 39), green);
  expectNear(picture.at(39, 20), green);
  const DecodedJPEG reduced = encoded(buffer, std::nullopt, 0.5);
  EXPECT_EQ(sizeOf(reduced), (Size{20, 20}));
  expectNear(reduced.at(19, 19), green);
}

TEST(PixelBufferJPEGEncoder, CropsToWholePixelsAroundTheRectangle) {
  FakeBuffer buffer(200, 100);
  buffer.fill(10, 20, 101, 51, red);
  const DecodedJPEG picture = encoded(buffer, Rect{10.4, 20.6, 100.2, 50.1});
  EXPECT_EQ(sizeOf(picture), (Size{101, 51}));
  expectNear(picture.at(0, 0), red);
  expectNear(picture.at(100, 50), red);
}

TEST(PixelBufferJPEGEncoder, CropsAreCutAtTheEdge) {
  FakeBuffer buffer(200, 100);
  EXPECT_EQ(sizeOf(encoded(buffer, Rect{150, 90, 100, 100})), (Size{50, 10}));
}

TEST(PixelBufferJPEGEncoder, CropsThatLeaveNothingOrEverythingAreIgnored) {
  FakeBuffer buffer(200, 100);
  const Size whole{200, 100};
  for (const Rect& crop : {Rect{0, 0, 200, 100}, Rect{500, 500, 10, 10}, Rect{10, 10, 0, 10},
                           Rect{nan, 0, 10, 10}, Rect{-infinity, 0, infinity, 10}}) {
    EXPECT_EQ(sizeOf(encoded(buffer, crop)), whole);
  }
  EXPECT_EQ(sizeOf(encoded(buffer, Rect{-1e300, -1e300, 1e308, 1e308})), whole);
}

TEST(PixelBufferJPEGEncoder, ScaledSizesAreTruncated) {
  FakeBuffer wide(3000, 4);
  EXPECT_EQ(sizeOf(encoded(wide, Rect{0, 0, 2941, 4}, 0.5)), (Size{1470, 2}));
  FakeBuffer square(100, 100);
  EXPECT_EQ(sizeOf(encoded(square, std::nullopt, 0.0001)), (Size{1, 1}));
  EXPECT_EQ(sizeOf(encoded(square, std::nullopt, 0.0)), (Size{1, 1}));
  EXPECT_EQ(sizeOf(encoded(square, std::nullopt, -3.0)), (Size{1, 1}));
}

TEST(PixelBufferJPEGEncoder, ScalesOfOneAndMoreKeepTheSize) {
  FakeBuffer buffer(100, 60);
  for (const double scale : {1.0, 2.0, infinity, nan}) {
    EXPECT_EQ(sizeOf(encoded(buffer, std::nullopt, scale)), (Size{100, 60})) << scale;
  }
}

TEST(PixelBufferJPEGEncoder, ReductionAveragesThePixels) {
  FakeBuffer buffer(64, 64);
  for (std::size_t y = 0; y < 64; ++y) {
    for (std::size_t x = y % 2; x < 64; x += 2)
      buffer.paint(x, y, white);
  }
  const DecodedJPEG picture = encoded(buffer, std::nullopt, 0.5);
  expectNear(picture.at(0, 0), {128, 128, 128});
  expectNear(picture.at(31, 31), {128, 128, 128});
}

TEST(PixelBufferJPEGEncoder, ReductionSeesOnlyTheCrop) {
  FakeBuffer buffer(64, 64);
  buffer.fill(0, 0, 64, 64, red);
  buffer.fill(16, 16, 32, 32, blue);
  const DecodedJPEG picture = encoded(buffer, Rect{16, 16, 32, 32}, 0.5);
  EXPECT_EQ(sizeOf(picture), (Size{16, 16}));
  expectNear(picture.at(0, 0), blue);
  expectNear(picture.at(15, 15), blue);
}

TEST(PixelBufferJPEGEncoder, QualityIsClampedAndMakesFilesLarger) {
  FakeBuffer buffer(64, 64);
  unsigned state = 1;
  for (std::size_t y = 0; y < 64; ++y) {
    for (std::size_t x = 0; x < 64; ++x) {
      state = state * 1664525U + 1013904223U;
      const auto grey = static_cast<std::uint8_t>(state >> 24U);
      buffer.paint(x, y, {grey, grey, grey});
    }
  }
  const auto size = [&](double quality) {
    return encodeFile(buffer, std::nullopt, 1.0, ChromaSampling::full, quality)->size();
  };
  EXPECT_LT(size(0.0), size(0.5));
  EXPECT_LT(size(0.5), size(0.92));
  EXPECT_LT(size(0.92), size(1.0));
  EXPECT_EQ(size(-1.0), size(0.0));
  EXPECT_EQ(size(nan), size(0.0));
  EXPECT_EQ(size(2.0), size(1.0));
}

TEST(PixelBufferJPEGEncoder, NoiseThatOutgrowsTheExpectedSizeIsWrittenWhole) {
  FakeBuffer buffer(512, 512);
  unsigned state = 1;
  for (std::size_t y = 0; y < 512; ++y) {
    for (std::size_t x = 0; x < 512; ++x) {
      state = state * 1664525U + 1013904223U;
      buffer.paint(
          x, y,
          {static_cast<std::uint8_t>(state >> 24U), static_cast<std::uint8_t>(state >> 16U),
           static_cast<std::uint8_t>(state >> 8U)});
    }
  }
  const Frame file = encodeFile(buffer, std::nullopt, 1.0, ChromaSampling::full, 1.0);
  EXPECT_GT(file->size(), 512U * 512U);
  EXPECT_EQ((*file)[file->size() - 2], 0xFF);
  EXPECT_EQ(file->back(), 0xD9);
  EXPECT_EQ(sizeOf(DecodedJPEG::decode(*file)), (Size{512, 512}));
}

TEST(PixelBufferJPEGEncoder, LocksAndUnlocksOnce) {
  FakeBuffer buffer(16, 16);
  encodeFile(buffer, std::nullopt, 0.5);
  EXPECT_EQ(buffer.locks, 1);
  EXPECT_EQ(buffer.unlocks, 1);
}

TEST(PixelBufferJPEGEncoder, AnotherPixelFormatFailsBeforeAnyLock) {
  FakeBuffer buffer(16, 16);
  buffer.format = pixelFormatCode('4', '2', '0', 'v');
  expectFailure(buffer, JPEGEncodeError::unsupportedPixelFormat(875704438));
  EXPECT_EQ(buffer.locks, 0);
  EXPECT_EQ(buffer.unlocks, 0);
}

TEST(PixelBufferJPEGEncoder, AFailedLockIsReportedAndNotUndone) {
  FakeBuffer buffer(16, 16);
  buffer.lockStatus = -6660;
  expectFailure(buffer, JPEGEncodeError::lockFailed(-6660));
  EXPECT_EQ(buffer.locks, 1);
  EXPECT_EQ(buffer.unlocks, 0);
}

TEST(PixelBufferJPEGEncoder, MissingMemoryFailsAndUnlocks) {
  FakeBuffer buffer(16, 16);
  buffer.hasMemory = false;
  expectFailure(buffer, JPEGEncodeError::contextFailed());
  EXPECT_EQ(buffer.unlocks, 1);
}

TEST(PixelBufferJPEGEncoder, APictureWithoutPixelsFailsAndUnlocks) {
  FakeBuffer buffer(0, 16);
  expectFailure(buffer, JPEGEncodeError::contextFailed());
  EXPECT_EQ(buffer.unlocks, 1);
}

TEST(PixelBufferJPEGEncoder, ImpossibleRowLengthsFailAndUnlock) {
  FakeBuffer narrow(16, 16);
  narrow.reportedRowLength = 63;
  expectFailure(narrow, JPEGEncodeError::contextFailed());
  EXPECT_EQ(narrow.unlocks, 1);
  FakeBuffer vast(16, 16);
  vast.reportedRowLength = std::numeric_limits<std::size_t>::max();
  expectFailure(vast, JPEGEncodeError::contextFailed());
  EXPECT_EQ(vast.unlocks, 1);
}

TEST(PixelBufferJPEGEncoder, APictureTooLargeForJPEGFailsQuietlyAndUnlocks) {
  FakeBuffer buffer(65501, 1);
  testing::internal::CaptureStderr();
  expectFailure(buffer, JPEGEncodeError::encodeFailed());
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  EXPECT_EQ(buffer.unlocks, 1);
  FakeBuffer largest(65500, 1);
  EXPECT_EQ(sizeOf(encoded(largest)), (Size{65500, 1}));
}

TEST(PixelBufferJPEGEncoder, APictureTooLargeToReduceFailsAndUnlocks) {
  FakeBuffer buffer(40000, 1);
  try {
    encodeFile(buffer, std::nullopt, 0.5);
    FAIL() << "encoded";
  } catch (const JPEGEncodeError& error) {
    EXPECT_EQ(error, JPEGEncodeError::contextFailed());
  }
  EXPECT_EQ(buffer.unlocks, 1);
}

TEST(PixelBufferJPEGEncoderDeathTest, AScaleThatIsNoNumberStopsTheProgram) {
  FakeBuffer buffer(16, 16);
  EXPECT_DEATH(encodeFile(buffer, std::nullopt, -infinity), "scaled picture size");
  EXPECT_DEATH(encodeFile(buffer, std::nullopt, -1e300), "scaled picture size");
}

}  // namespace
}  // namespace tarvinel
