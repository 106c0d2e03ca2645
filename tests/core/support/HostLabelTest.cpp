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

TEST(HostName, IsLabelsWithDotsBetween) {
  for (const char* name : {"a", "a.b", "Screen.example-1.org", "1.2"}) {
    EXPECT_TRUE(isValidHostName(name)) << name;
  }
  for (const char* name : {"", ".", "a.", ".a", "a..b", "a.-b", "a b", "a:80", "*.a", "a/b"}) {
    EXPECT_FALSE(isValidHostName(name)) << name;
  }
}

TEST(HostName, Has253CharactersAtTheMost) {
  std::string name(1, 'a');
  while (name.size() < 253)
    name += ".a";
  EXPECT_TRUE(isValidHostName(name));
  EXPECT_FALSE(isValidHostName(name + ".a"));
}

}  // namespace
}  // namespace tarvinel
