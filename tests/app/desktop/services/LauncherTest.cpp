#include "app/desktop/services/Launcher.h"
#include "tests/app/desktop/FakeProgram.h"
#include "tests/app/desktop/SpinUntil.h"

#include <gtest/gtest.h>

namespace tarvinel {
namespace {

using test::FakeProgram;
using test::spinUntil;

const QString address = QStringLiteral("http://192.0.2.1/help?a=b c");

TEST(Launcher, OpensWithTheDesktopsOpener) {
  const FakeProgram opener("xdg-open", R"(printf '%s' "$1" > "$0.out")");
  EXPECT_TRUE(openByDefault(address));
  EXPECT_TRUE(spinUntil([&] { return opener.output("xdg-open") == address.toStdString(); }));
}

TEST(Launcher, TakesTheNextWhenTheFirstIsNotThere) {
  const FakeProgram opener("gio", R"(printf '%s %s' "$1" "$2" > "$0.out")");
  EXPECT_TRUE(openByDefault(address));
  EXPECT_TRUE(spinUntil([&] { return opener.output("gio") == "open " + address.toStdString(); }));
}

TEST(Launcher, SaysWhenThereIsNothingToOpenWith) {
  const FakeProgram other("something-else", "");
  EXPECT_FALSE(openByDefault(address));
}

}  // namespace
}  // namespace tarvinel
