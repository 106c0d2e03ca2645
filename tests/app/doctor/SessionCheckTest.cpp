#include "app/doctor/SessionCheck.h"

#include <gtest/gtest.h>

namespace tarvinel {
namespace {

using enum Finding::State;

TEST(SessionCheck, NamesTheKindOfSession) {
  EXPECT_EQ(judge(SessionProbe{{":0", "", "x11"}, "XFCE"}),
            (Findings{{fine, "An X11 session (XFCE), display :0.", {}}}));
  EXPECT_EQ(judge(SessionProbe{{":7", "", ""}, ""}),
            (Findings{{fine, "An X11 session, display :7.", {}}}));
  EXPECT_EQ(judge(SessionProbe{{":0", "wayland-0", "wayland"}, "GNOME"}),
            (Findings{{fine, "A Wayland session (GNOME).", {}}}));
  EXPECT_EQ(judge(SessionProbe{{":0", "", "wayland"}, ""}),
            (Findings{{fine, "A Wayland session.", {}}}));
}

TEST(SessionCheck, SaysHowToStartWithoutADesktop) {
  EXPECT_EQ(
      judge(SessionProbe{}),
      (Findings{{worthKnowing,
                 "No desktop: neither DISPLAY nor WAYLAND_DISPLAY is set.",
                 {"Start with --headless. It shows a built-in picture, as there is no screen to "
                  "share.",
                  "To share a screen, start in a terminal on it, or set DISPLAY to it."}}}));
}

}  // namespace
}  // namespace tarvinel
