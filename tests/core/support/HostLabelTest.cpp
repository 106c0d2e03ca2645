#include "core/support/HostLabel.h"

#include <gtest/gtest.h>

#include <string>

namespace tarvinel {
namespace {

TEST(HostLabel, LettersDigitsAndInnerHyphensAreValid) {
  for (const char* label : {"studio-3", "A", "7", "a--b", "xn--bro-hoa"}) {
    EXPECT_TRUE(isValidHostLabel(label)) << label;
  }
  EXPECT_TRUE(isValidHostLabel(std::string(63, 'a')));
}

TEST(HostLabel, EverythingElseIsNot) {
  for (const char* label :
       {"-studio", "studio-", "-", "", "my_mac", "b\xC3\xBCro", "host.name", "a b", "a\n"}) {
    EXPECT_FALSE(isValidHostLabel(label)) << label;
  }
  EXPECT_FALSE(isValidHostLabel(std::string(64, 'a')));
  EXPECT_FALSE(isValidHostLabel(std::string_view("a\0b", 3)));
}

}  // namespace
}  // namespace tarvinel
