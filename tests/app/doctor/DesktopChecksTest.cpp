#include "app/doctor/DesktopChecks.h"
#include "tests/support/XServer.h"

#include <gtest/gtest.h>

namespace tarvinel {
namespace {

using enum Finding::State;
using Extension = DisplayProbe::Extension;

const CaptureDecision x11{CaptureBackend::x11, "Capturing the X11 screen :0."};

ScreenProbe lacking(Extension extension) {
  return {CaptureBackend::automatic, x11, {"", 1920, 1080, 2, {extension}}};
}

TEST(ScreenCheck, TellsWhatIsCaptured) {
  EXPECT_EQ(judge(ScreenProbe{CaptureBackend::automatic, x11, {"", 1920, 1080, 1, {}}}),
            (Findings{{fine, "Capturing the X11 screen :0. 1920 × 1080 pixels, 1 display.", {}}}));
}

TEST(ScreenCheck, TellsWhatAMissingExtensionCosts) {
  const Finding screen{fine, "Capturing the X11 screen :0. 1920 × 1080 pixels, 2 displays.", {}};
  EXPECT_EQ(judge(lacking(Extension::damage)),
            (Findings{screen,
                      {needsAttention,
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
  const DisplayProbe unreachable{.error = "cannot connect to the X server :9"};
  EXPECT_EQ(judge(ScreenProbe{CaptureBackend::automatic,
                              {CaptureBackend::pattern,
                               "Showing the built-in picture: the X server :9 does not answer."},
                              unreachable}),
            (Findings{{needsAttention,
                       "Showing the built-in picture: the X server :9 does not answer.", advice}}));
  EXPECT_EQ(judge(ScreenProbe{CaptureBackend::x11, x11, unreachable}),
            (Findings{{needsAttention,
                       "The X11 screen cannot be captured: cannot connect to the X server :9.",
                       advice}}));
}

TEST(ScreenCheck, TheBuiltInPictureIsFineOnlyIfItWasAskedFor) {
  EXPECT_EQ(judge(ScreenProbe::of(CaptureBackend::pattern, {})),
            (Findings{{fine, "Showing the built-in picture, as asked for.", {}}}));
  EXPECT_EQ(
      judge(ScreenProbe::of(CaptureBackend::automatic, {})),
      (Findings{{worthKnowing, "Showing the built-in picture: there is no screen here.", {}}}));
}

TEST(ScreenCheck, AWaylandSessionHasItsPortalWhateverXServerItHas) {
  const auto probe = ScreenProbe::of(CaptureBackend::automatic, {":4999", "wayland-0", "wayland"});
  EXPECT_EQ(probe.decision.backend, CaptureBackend::portal);
  EXPECT_EQ(judge(probe),
            (Findings{{fine, "Capturing what this Wayland desktop's own dialog offers.", {}}}));
}

TEST(ScreenCheck, AsksARealServer) {
  const XServer server("320x240x24");
  const auto probe = ScreenProbe::of(CaptureBackend::automatic, {server.display(), "", ""});
  EXPECT_EQ(probe.decision.backend, CaptureBackend::x11);
  EXPECT_EQ(probe.server.error, "");
  EXPECT_EQ(probe.server.width, 320);
  EXPECT_EQ(probe.server.height, 240);
  EXPECT_EQ(probe.server.displays, 1);
  EXPECT_TRUE(probe.server.missing.empty());
}

TEST(ScreenCheck, AsksARealServerForWhatItLacks) {
  const XServer server("320x240x24", {"-extension", "Composite", "-extension", "DAMAGE"});
  EXPECT_EQ(DisplayProbe::of(server.display()).missing,
            (std::vector{Extension::damage, Extension::composite}));
}

TEST(ScreenCheck, NoServer) {
  EXPECT_EQ(DisplayProbe::of(":4999").error, "cannot connect to the X server :4999");
  EXPECT_EQ(ScreenProbe::of(CaptureBackend::x11, {}).server.error,
            "there is no X server: DISPLAY is not set");
}

TEST(ScreenCheck, AServerThatHangsIsToBeMended) {
  const XServer server;
  server.freeze();
  const auto probe = DisplayProbe::of(server.display(), std::chrono::milliseconds(50));
  server.thaw();
  EXPECT_TRUE(probe.hangs);
  EXPECT_EQ(
      judge(ScreenProbe{.decision = {CaptureBackend::x11, ""}, .server = probe, .display = ":5"}),
      (Findings{{needsAttention,
                 "The X server :5 takes connections but does not answer.",
                 {"Look whether DISPLAY is right, or log in again."}}}));
}

}  // namespace
}  // namespace tarvinel
