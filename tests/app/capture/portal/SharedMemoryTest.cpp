#include "app/capture/portal/SharedMemory.h"
#include "tests/support/MemoryFile.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstdint>

namespace tarvinel {
namespace {

using test::MemoryFile;
using testing::ElementsAre;

TEST(SharedMemory, WhatIsSealedCannotShrink) {
  MemoryFile file({1, 2, 3}, MemoryFile::Seals::allowed);
  ASSERT_TRUE(file.seal());
  EXPECT_FALSE(SharedMemory(file.descriptor()).mayShrink());
  EXPECT_FALSE(file.resize(2));
}

TEST(SharedMemory, WhatCanBeSealedIsSealed) {
  MemoryFile file({1, 2, 3}, MemoryFile::Seals::allowed);
  EXPECT_FALSE(SharedMemory(file.descriptor()).mayShrink());
  EXPECT_FALSE(file.resize(2));
  EXPECT_TRUE(file.resize(4));
}

TEST(SharedMemory, WhatCannotBeSealedMayShrink) {
  MemoryFile file({1, 2, 3}, MemoryFile::Seals::refused);
  EXPECT_TRUE(SharedMemory(file.descriptor()).mayShrink());
  EXPECT_TRUE(file.resize(2));
}

TEST(SharedMemory, NoFileMayDoAnythingAndHasNothing) {
  const SharedMemory none(-1);
  std::uint8_t byte = 0;
  EXPECT_TRUE(none.mayShrink());
  EXPECT_EQ(none.bytesFrom(0), 0U);
  EXPECT_FALSE(none.read(0, &byte, 1));
}

TEST(SharedMemory, BytesAreCountedFromThere) {
  const MemoryFile file({1, 2, 3}, MemoryFile::Seals::refused);
  const SharedMemory memory(file.descriptor());
  EXPECT_EQ(memory.bytesFrom(0), 3U);
  EXPECT_EQ(memory.bytesFrom(2), 1U);
  EXPECT_EQ(memory.bytesFrom(3), 0U);
  EXPECT_EQ(memory.bytesFrom(4), 0U);
}

TEST(SharedMemory, ReadsWhatIsThere) {
  const MemoryFile file({1, 2, 3}, MemoryFile::Seals::refused);
  std::array<std::uint8_t, 2> bytes{};
  ASSERT_TRUE(SharedMemory(file.descriptor()).read(1, bytes.data(), bytes.size()));
  EXPECT_THAT(bytes, ElementsAre(2, 3));
}

TEST(SharedMemory, ReadsNothingByHalves) {
  const MemoryFile file({1, 2, 3}, MemoryFile::Seals::refused);
  std::array<std::uint8_t, 2> bytes{};
  const SharedMemory memory(file.descriptor());
  EXPECT_FALSE(memory.read(2, bytes.data(), bytes.size()));
  EXPECT_FALSE(memory.read(3, bytes.data(), bytes.size()));
  EXPECT_FALSE(memory.read(-1, bytes.data(), bytes.size()));
}

}  // namespace
}  // namespace tarvinel
