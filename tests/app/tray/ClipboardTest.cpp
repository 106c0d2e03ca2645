#include "app/tray/Clipboard.h"
#include "tests/app/tray/FakeProgram.h"
#include "tests/app/tray/SpinUntil.h"

#include <QClipboard>
#include <QGuiApplication>
#include <gtest/gtest.h>

namespace tarvinel {
namespace {

using test::FakeProgram;
using test::spinUntil;

const QString text = QStringLiteral("http://192.0.2.1/ü\n$(x) 'y'");

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
  copyToClipboard(text);
  EXPECT_TRUE(spinUntil([&] { return helper.output("wl-copy") == text.toStdString(); }));
  EXPECT_EQ(clipboardText(), QStringLiteral("before"));
}

TEST_F(ClipboardTest, WithoutTheHelperTheToolkitDoesIt) {
  const FakeProgram other("something-else", "");
  copyToClipboard(text);
  EXPECT_EQ(clipboardText(), text);
}

TEST_F(ClipboardTest, ElsewhereTheToolkitDoesIt) {
  qunsetenv("WAYLAND_DISPLAY");
  const FakeProgram helper("wl-copy", R"(cat > "$0.out")");
  copyToClipboard(text);
  EXPECT_EQ(clipboardText(), text);
}

}  // namespace
}  // namespace tarvinel
