#include "core/support/Result.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <stdexcept>
#include <string>
#include <system_error>

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

TEST(Result, TheErrorIsGivenAsTheTypeThatItHas) {
  const auto error =
      resultOf([] { throw std::system_error(EPERM, std::generic_category()); }).error();
  EXPECT_EQ(errorAs<std::system_error>(error)->code(), std::errc::operation_not_permitted);
  EXPECT_TRUE(errorAs<std::runtime_error>(error));
  EXPECT_FALSE(errorAs<std::logic_error>(error));
  EXPECT_FALSE(errorAs<std::runtime_error>(resultOf([] { throw 3; }).error()));
  EXPECT_FALSE(errorAs<std::runtime_error>(Result<int>(7).error()));
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
