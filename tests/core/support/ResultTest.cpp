#include "core/support/Result.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

namespace tarvinel {
namespace {

TEST(Result, HoldsAValue) {
  const Result<int> result = resultOf([] { return 7; });
  EXPECT_TRUE(result.ok());
  EXPECT_EQ(result.value(), 7);
  EXPECT_EQ(result.error(), nullptr);
}

TEST(Result, HoldsWhatWasThrownWithItsType) {
  const Result<int> result = resultOf([]() -> int { throw std::out_of_range("too far"); });
  EXPECT_FALSE(result.ok());
  EXPECT_THROW(result.value(), std::out_of_range);
  EXPECT_EQ(describe(result.error()), "too far");
}

TEST(Result, OfNothingIsOkOrAnError) {
  const Result<void> fine = resultOf([] {});
  const Result<void> failed = resultOf([] { throw std::runtime_error("no"); });
  EXPECT_TRUE(fine.ok());
  EXPECT_NO_THROW(fine.value());
  EXPECT_FALSE(failed.ok());
  EXPECT_THROW(failed.value(), std::runtime_error);
}

TEST(Result, DescribesWhatIsNoException) {
  EXPECT_EQ(describe(nullptr), "no error");
  EXPECT_EQ(describe(resultOf([] { throw 3; }).error()), "unknown error");
}

}  // namespace
}  // namespace tarvinel
