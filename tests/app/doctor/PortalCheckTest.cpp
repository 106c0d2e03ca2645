#include "app/doctor/PortalCheck.h"

#include <gtest/gtest.h>

namespace tarvinel {
namespace {

using enum Finding::State;
using Bus = BusInquiry::State;
using Portal = PortalFacts::Portal;

const std::vector<std::string> install{
    "Install xdg-desktop-portal and the part for your desktop: xdg-desktop-portal-gnome, -kde or "
    "-wlr."};

PortalFacts running() {
  return {.portal = Portal::runs,
          .version = 4,
          .sourceTypes = PortalFacts::monitors | PortalFacts::windows,
          .pipeWireSocket = "/run/pipewire-0",
          .pipeWireAnswers = true};
}

Finding portalOf(const PortalFacts& facts) {
  return judge(facts).at(0);
}

TEST(PortalCheck, WhatThePortalOffers) {
  auto facts = running();
  EXPECT_EQ(judge(facts), (Findings{{fine,
                                     "The desktop's portal offers displays and windows (screen "
                                     "cast, version 4).",
                                     {}},
                                    {fine, "PipeWire answers at /run/pipewire-0.", {}}}));
  facts.sourceTypes = PortalFacts::monitors;
  EXPECT_EQ(portalOf(facts).what,
            "The desktop's portal offers displays only (screen cast, version 4).");
  facts.sourceTypes = PortalFacts::windows;
  EXPECT_EQ(portalOf(facts).what,
            "The desktop's portal offers windows only (screen cast, version 4).");
  facts.sourceTypes = 0;
  EXPECT_EQ(
      portalOf(facts),
      (Finding{toBeMended, "The desktop's portal offers nothing (screen cast, version 4).", {}}));
}

TEST(PortalCheck, APortalThatDoesNotRunYet) {
  auto facts = running();
  facts.portal = Portal::startsWhenNeeded;
  EXPECT_EQ(portalOf(facts),
            (Finding{fine, "The desktop's portal starts when the screen is shared.", {}}));
}

TEST(PortalCheck, NoPortalOrOneThatCannotCapture) {
  auto facts = running();
  facts.version = std::nullopt;
  EXPECT_EQ(
      portalOf(facts),
      (Finding{toBeMended, "The screen cannot be shared: the desktop's portal has no screen cast.",
               install}));
  facts.portal = Portal::isMissing;
  EXPECT_EQ(
      portalOf(facts),
      (Finding{toBeMended, "The screen cannot be shared: the desktop has no portal.", install}));
}

TEST(PortalCheck, NoWayToThePortal) {
  auto facts = running();
  facts.bus = Bus::isAbsent;
  EXPECT_EQ(portalOf(facts),
            (Finding{toBeMended,
                     "The screen cannot be shared: there is no session bus to reach the desktop's "
                     "portal by.",
                     {"Start Tarvinel from within the desktop, not by su or sudo."}}));
  facts.bus = Bus::isSilent;
  EXPECT_EQ(portalOf(facts),
            (Finding{toBeMended,
                     "The screen cannot be shared: the session bus, or the desktop's portal, does "
                     "not answer.",
                     {"Log out and in again."}}));
}

TEST(PortalCheck, NoPipeWire) {
  auto facts = running();
  facts.pipeWireAnswers = false;
  EXPECT_EQ(judge(facts).at(1),
            (Finding{toBeMended,
                     "PipeWire, which brings the pictures, does not answer at /run/pipewire-0.",
                     {"Install pipewire and wireplumber, or start them: systemctl --user start "
                      "pipewire wireplumber"}}));
}

}  // namespace
}  // namespace tarvinel
