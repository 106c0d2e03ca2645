#include "core/frames/JPEGWriter.h"

#include <gtest/gtest.h>

namespace tarvinel {
namespace {

TEST(JPEGEncodeError, TextIsTheCaseAndItsCode) {
  EXPECT_STREQ(JPEGEncodeError::unsupportedPixelFormat(875704438).what(),
               "unsupportedPixelFormat(875704438)");
  EXPECT_STREQ(JPEGEncodeError::lockFailed(-6660).what(), "lockFailed(-6660)");
  EXPECT_STREQ(JPEGEncodeError::contextFailed().what(), "contextFailed");
  EXPECT_STREQ(JPEGEncodeError::encodeFailed().what(), "encodeFailed");
}

TEST(JPEGEncodeError, EqualityComparesCaseAndCode) {
  EXPECT_EQ(JPEGEncodeError::lockFailed(1), JPEGEncodeError::lockFailed(1));
  EXPECT_NE(JPEGEncodeError::lockFailed(1), JPEGEncodeError::lockFailed(2));
  EXPECT_NE(JPEGEncodeError::lockFailed(1), JPEGEncodeError::unsupportedPixelFormat(1));
  EXPECT_NE(JPEGEncodeError::contextFailed(), JPEGEncodeError::encodeFailed());
  EXPECT_EQ(JPEGEncodeError::lockFailed(7).kind(), JPEGEncodeError::Case::lockFailed);
  EXPECT_EQ(JPEGEncodeError::lockFailed(7).code(), 7);
}

}  // namespace
}  // namespace tarvinel
