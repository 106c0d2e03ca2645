#include "app/doctor/DesktopChecks.h"

#include <gtest/gtest.h>

namespace tarvinel {
namespace {

using enum Finding::State;
using Bus = BusInquiry::State;

const SessionProbe desktop{{":0", "", "x11"}, ""};

TEST(TrayCheck, EitherKindOfPanelIsFine) {
  const Findings expected{{fine, "A panel shows Tarvinel's icon; the menu is behind it.", {}}};
  EXPECT_EQ(judge(TrayProbe{desktop, Bus::replies, true, false}), expected);
  EXPECT_EQ(judge(TrayProbe{desktop, Bus::isAbsent, false, true}), expected);
}

TEST(TrayCheck, WithoutAPanelTheMenuIsAWindow) {
  EXPECT_EQ(judge(TrayProbe{desktop, Bus::replies, false, false}),
            (Findings{{worthKnowing,
                       "No panel shows icons of programs: the menu opens as a window.",
                       {"In GNOME an extension gives one: AppIndicator and KStatusNotifierItem "
                        "Support."}}}));
}

TEST(TrayCheck, TheSessionBusIsMissed) {
  EXPECT_EQ(judge(TrayProbe{desktop, Bus::isAbsent, false, false}),
            (Findings{{worthKnowing,
                       "There is no session bus: the menu opens as a window.",
                       {"Start Tarvinel from within the desktop, not by su or sudo."}}}));
  EXPECT_EQ(judge(TrayProbe{desktop, Bus::isSilent, false, false}),
            (Findings{{worthKnowing,
                       "The session bus does not answer: the menu opens as a window.",
                       {"Log out and in again."}}}));
}

TEST(TrayCheck, WithoutADesktopThereIsNothingToLookFor) {
  EXPECT_EQ(judge(TrayProbe::of(SessionProbe{})),
            (Findings{{fine, "Without a desktop none is needed.", {}}}));
}

TEST(TrayCheck, ABuildForTheTerminalNeedsNone) {
  EXPECT_EQ(
      withoutTray(),
      (Findings{{fine, "This build is for the terminal only: start it with --headless.", {}}}));
}

}  // namespace
}  // namespace tarvinel
