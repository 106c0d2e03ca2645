#include "core/support/UnicodeText.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <optional>
#include <string>

namespace tarvinel {
namespace {

/// Sets an environment variable for one test.
class ScopedVariable {
 public:
  ScopedVariable(const char* name, const char* value) : name_(name) {
    if (const char* old = std::getenv(name)) old_ = old;
    setenv(name, value, 1);
  }
  ~ScopedVariable() {
    if (old_) {
      setenv(name_, old_->c_str(), 1);
    } else {
      unsetenv(name_);
    }
  }
  ScopedVariable(const ScopedVariable&) = delete;
  ScopedVariable& operator=(const ScopedVariable&) = delete;

 private:
  const char* name_;
  std::optional<std::string> old_;
};

TEST(Collation, DigitsCompareByValue) {
  const Collation collation("en_US.UTF-8");
  EXPECT_LT(collation.compare("Window 2", "Window 10"), 0);
  EXPECT_GT(collation.compare("Window 10", "Window 2"), 0);
  EXPECT_LT(collation.compare("a 9", "a 10"), 0);
}

TEST(Collation, CaseDoesNotMatter) {
  const Collation collation("en_US.UTF-8");
  EXPECT_EQ(collation.compare("terminal", "Terminal"), 0);
  EXPECT_LT(collation.compare("apple", "Banana"), 0);
  EXPECT_LT(collation.compare("Apple", "banana"), 0);
}

TEST(Collation, AccentsMatterLessThanLetters) {
  const Collation collation("en_US.UTF-8");
  EXPECT_NE(collation.compare("resume", "résumé"), 0);
  EXPECT_LT(collation.compare("résumé", "resumf"), 0);
}

TEST(Collation, FollowsTheLocale) {
  EXPECT_LT(Collation("de_DE.UTF-8").compare("Öl", "Zug"), 0);
  EXPECT_GT(Collation("sv_SE.UTF-8").compare("Öl", "Zug"), 0);
}

TEST(Collation, LocalesWithoutALanguageGetTheNeutralOrder) {
  for (const char* name :
       {"", "C", "C.UTF-8", "POSIX", "xx_unknown", "@@@", "en_US_POSIX_garbage"}) {
    const Collation collation{name};
    EXPECT_LT(collation.compare("Window 2", "Window 10"), 0) << name;
    EXPECT_LT(collation.compare("apple", "Banana"), 0) << name;
  }
}

TEST(Collation, TheUsersLocaleComesFromTheEnvironment) {
  const ScopedVariable all("LC_ALL", "");
  const ScopedVariable collate("LC_COLLATE", "sv_SE.UTF-8");
  const ScopedVariable language("LANG", "de_DE.UTF-8");
  EXPECT_GT(Collation::ofUser().compare("Öl", "Zug"), 0);
  const ScopedVariable overridden("LC_ALL", "de_DE.UTF-8");
  EXPECT_LT(Collation::ofUser().compare("Öl", "Zug"), 0);
}

TEST(Collation, TextThatIsNotUTF8IsSafe) {
  const Collation collation("C");
  EXPECT_EQ(collation.compare("\xFF\xFE", "\xFF\xFE"), 0);
  EXPECT_NE(collation.compare("\xC3", "a"), 0);
  EXPECT_LT(collation.compare("a\xF0\x9F", "b"), 0);
  EXPECT_LT(collation.compare("", "a"), 0);
}

}  // namespace
}  // namespace tarvinel
