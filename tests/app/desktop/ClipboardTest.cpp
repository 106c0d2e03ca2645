#include "app/desktop/DesktopShell.h"
#include "tests/app/desktop/FakeProgram.h"
#include "tests/app/desktop/SpinUntil.h"

#include <QClipboard>
#include <QGuiApplication>
#include <gtest/gtest.h>

namespace tarvinel {
namespace {

using test::FakeProgram;
using test::spinUntil;

const QString copied = QStringLiteral("http://192.0.2.1/ü\n$(x) 'y'");

QString clipboardText() {
  return QGuiApplication::clipboard()->text();
}

class ClipboardTest : public testing::Test {
 protected:
  ClipboardTest() {
    QGuiApplication::clipboard()->setText(QStringLiteral("before"));
    qputenv("WAYLAND_DISPLAY", "wayland-9");
  }
  ~ClipboardTest() override { qunsetenv("WAYLAND_DISPLAY"); }
};

TEST_F(ClipboardTest, UnderWaylandTheHelperIsGivenTheText) {
  const FakeProgram helper("wl-copy", R"(cat > "$0.out")");
  copyToClipboard(copied);
  EXPECT_TRUE(spinUntil([&] { return helper.output("wl-copy") == copied.toStdString(); }));
  EXPECT_EQ(clipboardText(), QStringLiteral("before"));
}

TEST_F(ClipboardTest, WithoutTheHelperTheToolkitDoesIt) {
  const FakeProgram other("something-else", "");
  copyToClipboard(copied);
  EXPECT_EQ(clipboardText(), copied);
}

TEST_F(ClipboardTest, ElsewhereTheToolkitDoesIt) {
  qunsetenv("WAYLAND_DISPLAY");
  const FakeProgram helper("wl-copy", R"(cat > "$0.out")");
  copyToClipboard(copied);
  EXPECT_EQ(clipboardText(), copied);
}

}  // namespace
}  // namespace tarvinel
