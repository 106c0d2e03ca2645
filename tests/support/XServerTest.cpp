#include "tests/support/XServer.h"

#include <gtest/gtest.h>

namespace tarvinel {
namespace {

TEST(XServer, ItsDisplayIsNobodyElsesEvenAfterACrash) {
  int number = 0;
  {
    XServer server;
    number = server.number();
    EXPECT_FALSE(claimDisplay(number));
    server.crash();
    EXPECT_FALSE(claimDisplay(number));
  }
  EXPECT_TRUE(claimDisplay(number));
}

}  // namespace
}  // namespace tarvinel
