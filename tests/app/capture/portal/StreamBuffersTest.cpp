#include "app/capture/portal/StreamBuffer.h"

#include <gtest/gtest.h>

#include <pipewire/stream.h>
#include <spa/buffer/meta.h>

#include <array>
#include <cstdint>

namespace tarvinel::portal {
namespace {

constexpr VideoFormat onePixel{PixelOrder::bgr, 1, 1};
constexpr std::uint32_t bytesOfAPicture = 4;

/// A stream's buffer that no media server has made.
class FakeBuffer {
 public:
  FakeBuffer() {
    data_.type = SPA_DATA_MemPtr;
    data_.maxsize = bytesOfAPicture;
    data_.data = memory_.data();
    data_.chunk = &chunk_;
    header_.type = SPA_META_Header;
    header_.size = sizeof facts_;
    header_.data = &facts_;
    inner_.n_datas = 1;
    inner_.datas = &data_;
    inner_.metas = &header_;
    buffer_.buffer = &inner_;
  }
  FakeBuffer(const FakeBuffer&) = delete;
  FakeBuffer& operator=(const FakeBuffer&) = delete;
  ~FakeBuffer() = default;

  void fill() { chunk_.size = bytesOfAPicture; }
  void fillAt(std::int64_t time, std::uint64_t number) {
    fill();
    inner_.n_metas = 1;
    facts_.pts = time;
    facts_.seq = number;
  }
  void takeMemory() { data_.data = nullptr; }
  void corrupt() { chunk_.flags = SPA_CHUNK_FLAG_CORRUPTED; }

  const pw_buffer& buffer() const { return buffer_; }

 private:
  std::array<std::uint8_t, bytesOfAPicture> memory_{};
  spa_chunk chunk_{};
  spa_data data_{};
  spa_meta_header facts_{};
  spa_meta header_{};
  spa_buffer inner_{};
  pw_buffer buffer_{};
};

class StreamBuffersTest : public testing::Test {
 protected:
  StreamBuffersTest() {
    for (const FakeBuffer* fake : {&first, &second, &third})
      buffers.add(fake->buffer());
  }

  const pw_buffer* newest() const { return buffers.newest(onePixel); }

  FakeBuffer first;
  FakeBuffer second;
  FakeBuffer third;
  StreamBuffers buffers;
};

TEST_F(StreamBuffersTest, ThereIsNoneWithoutAPicture) {
  EXPECT_EQ(newest(), nullptr);
  EXPECT_EQ(StreamBuffers().newest(onePixel), nullptr);
}

TEST_F(StreamBuffersTest, TheOnlyOneIsTheNewest) {
  second.fillAt(1, 0);
  EXPECT_EQ(newest(), &second.buffer());
}

TEST_F(StreamBuffersTest, WithoutATimeThePictureMayNotBeThereYet) {
  first.fill();
  second.fillAt(0, 0);
  EXPECT_EQ(newest(), nullptr);
  third.fillAt(0, 1);
  EXPECT_EQ(newest(), &third.buffer());
}

TEST_F(StreamBuffersTest, TheLatestIsTheNewest) {
  first.fillAt(5, 0);
  second.fillAt(7, 0);
  third.fillAt(6, 0);
  EXPECT_EQ(newest(), &second.buffer());
}

TEST_F(StreamBuffersTest, OfTheSameTimeTheLastIsTheNewest) {
  first.fillAt(-1, 1);
  second.fillAt(-1, 3);
  third.fillAt(-1, 2);
  EXPECT_EQ(newest(), &second.buffer());
  third.fillAt(-1, 3);
  EXPECT_EQ(newest(), nullptr);
}

TEST_F(StreamBuffersTest, WhatIsCorruptedOrOfAnotherSizeIsPassedOver) {
  first.fillAt(2, 0);
  second.fillAt(1, 0);
  first.corrupt();
  EXPECT_EQ(newest(), &second.buffer());
  EXPECT_EQ(buffers.newest({PixelOrder::bgr, 2, 1}), nullptr);
}

TEST_F(StreamBuffersTest, WhatWasTakenAwayIsNoMore) {
  first.fillAt(1, 0);
  buffers.remove(first.buffer());
  EXPECT_EQ(newest(), nullptr);
}

TEST_F(StreamBuffersTest, TheyLackMemoryWhenNoneHasAny) {
  first.takeMemory();
  second.takeMemory();
  EXPECT_FALSE(buffers.lackMemory());
  third.takeMemory();
  EXPECT_TRUE(buffers.lackMemory());
  EXPECT_FALSE(StreamBuffers().lackMemory());
}

}  // namespace
}  // namespace tarvinel::portal
