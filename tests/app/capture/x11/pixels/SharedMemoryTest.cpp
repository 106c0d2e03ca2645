#include "app/capture/x11/pixels/SharedMemory.h"
#include "app/x11/Error.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <cerrno>
#include <limits>

namespace tarvinel::x11 {
namespace {

TEST(SharedMemory, IsZeroAndWritable) {
  SharedMemory memory(10000);
  EXPECT_EQ(memory.data()[0], 0);
  EXPECT_EQ(memory.data()[9999], 0);
  memory.data()[9999] = 7;
  EXPECT_EQ(memory.data()[9999], 7);
}

TEST(SharedMemory, CannotBeShrunkByWhoHoldsItsDescriptor) {
  const SharedMemory memory(10000);
  const int descriptor = memory.duplicateDescriptor();
  EXPECT_EQ(ftruncate(descriptor, 0), -1);
  EXPECT_EQ(errno, EPERM);
  close(descriptor);
}

TEST(SharedMemory, SaysWhenThereIsNotThatMuch) {
  for (const std::uint64_t size :
       {std::uint64_t{0}, std::uint64_t{1} << 62U, std::numeric_limits<std::uint64_t>::max()}) {
    try {
      const SharedMemory memory(size);
      ADD_FAILURE() << "got " << size;
    } catch (const Error& error) {
      EXPECT_EQ(error.kind(), Error::Case::outOfMemory);
    }
  }
}

}  // namespace
}  // namespace tarvinel::x11
