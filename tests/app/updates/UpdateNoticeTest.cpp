#include "app/updates/UpdateNotice.h"

#include <gtest/gtest.h>

namespace tarvinel {
namespace {

TEST(UpdateNotice, SaysWhatBecameOfACheck) {
  EXPECT_EQ(UpdateNotice::available("1.2", "0.1.0"),
            (UpdateNotice{"Tarvinel 1.2 is available", "This is version 0.1.0."}));
  EXPECT_EQ(UpdateNotice::upToDate("0.1.0"),
            (UpdateNotice{"Tarvinel is up to date", "There is no newer version than 0.1.0."}));
  EXPECT_EQ(UpdateNotice::failed("The update feed is empty."),
            (UpdateNotice{"Tarvinel could not check for updates", "The update feed is empty."}));
}

}  // namespace
}  // namespace tarvinel
