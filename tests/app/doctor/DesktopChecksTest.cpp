#include "app/doctor/DesktopChecks.h"
#include "tests/support/XServer.h"

#include <gtest/gtest.h>

namespace tarvinel {
namespace {

using enum Finding::State;
using Extension = X11Facts::Extension;

const CaptureDecision x11{CaptureRoad::x11, "Capturing the X11 screen :0."};

ScreenFacts lacking(Extension extension) {
  return {CaptureRoad::automatic, x11, {"", 1920, 1080, 2, {extension}}};
}

TEST(ScreenCheck, TellsWhatIsCaptured) {
  EXPECT_EQ(judge(ScreenFacts{CaptureRoad::automatic, x11, {"", 1920, 1080, 1, {}}}),
            (Findings{{fine, "Capturing the X11 screen :0. 1920 × 1080 pixels, 1 display.", {}}}));
}

TEST(ScreenCheck, TellsWhatAMissingExtensionCosts) {
  const Finding screen{fine, "Capturing the X11 screen :0. 1920 × 1080 pixels, 2 displays.", {}};
  EXPECT_EQ(judge(lacking(Extension::damage)),
            (Findings{screen,
                      {toBeMended,
                       "The X server has no DAMAGE extension: its screen cannot be shared.",
                       {"Start the X server with the extension (+extension DAMAGE)."}}}));
  EXPECT_EQ(judge(lacking(Extension::composite)),
            (Findings{screen,
                      {worthKnowing,
                       "The X server has no Composite extension: only whole displays can be "
                       "shared.",
                       {"Start the X server with the extension (+extension Composite)."}}}));
  EXPECT_EQ(judge(lacking(Extension::fixes)).at(1).what,
            "The X server has no XFIXES extension: viewers see no pointer.");
  EXPECT_EQ(judge(lacking(Extension::randr)).at(1).what,
            "The X server has no RANDR extension: all monitors are one display.");
  EXPECT_EQ(judge(lacking(Extension::resources)).at(1).what,
            "The X server has no X-Resource extension: some applications may not be listed.");
  EXPECT_EQ(judge(lacking(Extension::sharedMemory)).at(1).what,
            "The X server has no MIT-SHM extension: pictures take more processor time.");
}

TEST(ScreenCheck, AnUnreachableServerIsToBeMended) {
  const std::vector<std::string> advice{
      "Look whether DISPLAY is right, and whether this user may use the display (xhost, "
      "XAUTHORITY)."};
  const X11Facts unreachable{.error = "cannot connect to the X server :9"};
  EXPECT_EQ(judge(ScreenFacts{CaptureRoad::automatic,
                              {CaptureRoad::pattern,
                               "Showing the built-in picture: the X server :9 does not answer."},
                              unreachable}),
            (Findings{{toBeMended, "Showing the built-in picture: the X server :9 does not answer.",
                       advice}}));
  EXPECT_EQ(judge(ScreenFacts{CaptureRoad::x11, x11, unreachable}),
            (Findings{{toBeMended,
                       "The X11 screen cannot be captured: cannot connect to the X server :9.",
                       advice}}));
}

TEST(ScreenCheck, TheBuiltInPictureIsFineOnlyIfItWasAskedFor) {
  EXPECT_EQ(judge(ScreenFacts::of(CaptureRoad::pattern, {})),
            (Findings{{fine, "Showing the built-in picture, as asked for.", {}}}));
  EXPECT_EQ(
      judge(ScreenFacts::of(CaptureRoad::automatic, {})),
      (Findings{{worthKnowing, "Showing the built-in picture: there is no screen here.", {}}}));
}

TEST(ScreenCheck, AWaylandSessionHasItsPortalWhateverXServerItHas) {
  const auto facts = ScreenFacts::of(CaptureRoad::automatic, {":4999", "wayland-0", "wayland"});
  EXPECT_EQ(facts.decision.road, CaptureRoad::portal);
  EXPECT_EQ(judge(facts),
            (Findings{{fine, "Capturing what this Wayland desktop's own dialog offers.", {}}}));
}

TEST(ScreenCheck, AsksARealServer) {
  const XServer server("320x240x24");
  const auto facts = ScreenFacts::of(CaptureRoad::automatic, {server.display(), "", ""});
  EXPECT_EQ(facts.decision.road, CaptureRoad::x11);
  EXPECT_EQ(facts.server.error, "");
  EXPECT_EQ(facts.server.width, 320);
  EXPECT_EQ(facts.server.height, 240);
  EXPECT_EQ(facts.server.displays, 1);
  EXPECT_TRUE(facts.server.missing.empty());
}

TEST(ScreenCheck, AsksARealServerForWhatItLacks) {
  const XServer server("320x240x24", {"-extension", "Composite", "-extension", "DAMAGE"});
  EXPECT_EQ(X11Facts::of(server.display()).missing,
            (std::vector{Extension::damage, Extension::composite}));
}

TEST(ScreenCheck, NoServer) {
  EXPECT_EQ(X11Facts::of(":4999").error, "cannot connect to the X server :4999");
  EXPECT_EQ(ScreenFacts::of(CaptureRoad::x11, {}).server.error,
            "there is no X server: DISPLAY is not set");
}

TEST(ScreenCheck, AServerThatHangsIsToBeMended) {
  const XServer server;
  server.freeze();
  const auto facts = X11Facts::of(server.display(), std::chrono::milliseconds(50));
  server.thaw();
  EXPECT_TRUE(facts.hangs);
  EXPECT_EQ(
      judge(ScreenFacts{.decision = {CaptureRoad::x11, ""}, .server = facts, .display = ":5"}),
      (Findings{{toBeMended,
                 "The X server :5 takes connections but does not answer.",
                 {"Look whether DISPLAY is right, or log in anew."}}}));
}

}  // namespace
}  // namespace tarvinel
