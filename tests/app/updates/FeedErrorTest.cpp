#include "app/updates/UpdateNotice.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

namespace tarvinel {
namespace {

using Case = FeedError::Case;

TEST(FeedError, SaysWhatIsWrong) {
  EXPECT_STREQ(FeedError(Case::badStatus, "404").what(),
               "The update feed's server answers with status 404.");
  EXPECT_STREQ(FeedError(Case::unreachable, "Connection refused").what(),
               "The update feed cannot be read: Connection refused");
  EXPECT_STREQ(FeedError(Case::notXML, "7").what(), "The update feed is not well-formed, line 7.");
}

TEST(FeedError, EveryCaseHasATextOfItsOwn) {
  std::set<std::string> texts;
  for (int kind = 0; kind <= static_cast<int>(Case::noVersion); ++kind) {
    const FeedError error(static_cast<Case>(kind));
    EXPECT_EQ(static_cast<int>(error.kind()), kind);
    EXPECT_TRUE(texts.insert(error.what()).second) << error.what();
  }
}

}  // namespace
}  // namespace tarvinel
