#include "core/http/MJPEGFramer.h"

#include <gtest/gtest.h>

namespace tarvinel {
namespace {

TEST(MJPEGFramer, PartByteForByte) {
  const std::string jpeg(1000, '\xD8');
  EXPECT_EQ(textOf(MJPEGFramer::part(bytesOf(jpeg))),
            "--tarvinelframe\r\nContent-Type: image/jpeg\r\nContent-Length: 1000\r\n\r\n" + jpeg +
                "\r\n");
}

TEST(MJPEGFramer, AnEmptyJPEGIsStillAWholePart) {
  EXPECT_EQ(textOf(MJPEGFramer::part({})),
            "--tarvinelframe\r\nContent-Type: image/jpeg\r\nContent-Length: 0\r\n\r\n\r\n");
}

TEST(MJPEGFramer, EveryPartHeadBeginsWithTheOpening) {
  EXPECT_EQ(MJPEGFramer::partOpening, "--" + std::string(MJPEGFramer::boundary));
  EXPECT_TRUE(MJPEGFramer::partHead(7).starts_with(MJPEGFramer::partOpening));
}

}  // namespace
}  // namespace tarvinel
