#include "app/doctor/PortalCheck.h"

#include <gtest/gtest.h>

namespace tarvinel {
namespace {

using enum Finding::State;
using Bus = BusInquiry::State;
using Portal = PortalProbe::Portal;

const std::vector<std::string> install{
    "Install xdg-desktop-portal and the part for your desktop: xdg-desktop-portal-gnome, -kde or "
    "-wlr."};

PortalProbe running() {
  return {.portal = Portal::runs,
          .version = 4,
          .sourceTypes = PortalProbe::monitors | PortalProbe::windows,
          .pipeWireSocket = "/run/pipewire-0",
          .pipeWireAnswers = true};
}

Finding portalOf(const PortalProbe& probe) {
  return judge(probe).at(0);
}

TEST(PortalCheck, WhatThePortalOffers) {
  auto probe = running();
  EXPECT_EQ(judge(probe), (Findings{{fine,
                                     "The desktop's portal offers displays and windows (screen "
                                     "cast, version 4).",
                                     {}},
                                    {fine, "PipeWire answers at /run/pipewire-0.", {}}}));
  probe.sourceTypes = PortalProbe::monitors;
  EXPECT_EQ(portalOf(probe).what,
            "The desktop's portal offers displays only (screen cast, version 4).");
  probe.sourceTypes = PortalProbe::windows;
  EXPECT_EQ(portalOf(probe).what,
            "The desktop's portal offers windows only (screen cast, version 4).");
  probe.sourceTypes = 0;
  EXPECT_EQ(
      portalOf(probe),
      (Finding{
          needsAttention, "The desktop's portal offers nothing (screen cast, version 4).", {}}));
}

TEST(PortalCheck, APortalThatDoesNotRunYet) {
  auto probe = running();
  probe.portal = Portal::startsWhenNeeded;
  EXPECT_EQ(portalOf(probe),
            (Finding{fine, "The desktop's portal starts when the screen is shared.", {}}));
}

TEST(PortalCheck, NoPortalOrOneThatCannotCapture) {
  auto probe = running();
  probe.version = std::nullopt;
  EXPECT_EQ(
      portalOf(probe),
      (Finding{needsAttention,
               "The screen cannot be shared: the desktop's portal has no screen cast.", install}));
  probe.portal = Portal::isMissing;
  EXPECT_EQ(portalOf(probe),
            (Finding{needsAttention, "The screen cannot be shared: the desktop has no portal.",
                     install}));
}

TEST(PortalCheck, NoWayToThePortal) {
  auto probe = running();
  probe.bus = Bus::isAbsent;
  EXPECT_EQ(portalOf(probe),
            (Finding{needsAttention,
                     "The screen cannot be shared: there is no session bus to reach the desktop's "
                     "portal by.",
                     {"Start Tarvinel from within the desktop, not by su or sudo."}}));
  probe.bus = Bus::isSilent;
  EXPECT_EQ(portalOf(probe),
            (Finding{needsAttention,
                     "The screen cannot be shared: the session bus, or the desktop's portal, does "
                     "not answer.",
                     {"Log out and in again."}}));
}

TEST(PortalCheck, NoPipeWire) {
  auto probe = running();
  probe.pipeWireAnswers = false;
  EXPECT_EQ(judge(probe).at(1),
            (Finding{needsAttention,
                     "PipeWire, which brings the pictures, does not answer at /run/pipewire-0.",
                     {"Install pipewire and wireplumber, or start them: systemctl --user start "
                      "pipewire wireplumber"}}));
}

}  // namespace
}  // namespace tarvinel
