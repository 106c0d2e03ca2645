#include "app/capture/CaptureServiceFactory.h"
#include "app/capture/pattern/Service.h"
#include "app/capture/portal/Service.h"
#include "app/capture/x11/Service.h"
#include "core/support/Log.h"
#include "tests/support/XServer.h"

#include <gtest/gtest.h>

namespace tarvinel {
namespace {

struct BackendCase {
  CaptureBackend wanted;
  CaptureEnvironment environment;
  bool answers;
  CaptureBackend backend;
  const char* reason;
};

class CaptureBackendDecision : public testing::TestWithParam<BackendCase> {};

TEST_P(CaptureBackendDecision, FollowsTheSession) {
  const BackendCase& given = GetParam();
  const auto decision = chooseCaptureBackend(given.wanted, given.environment,
                                             [&](const std::string&) { return given.answers; });
  EXPECT_EQ(decision.backend, given.backend);
  EXPECT_EQ(decision.reason, given.reason);
}

constexpr const char* waylandReason = "Capturing what this Wayland desktop's own dialog offers.";

INSTANTIATE_TEST_SUITE_P(
    All, CaptureBackendDecision,
    testing::Values(BackendCase{CaptureBackend::automatic,
                                {":0", "", "x11"},
                                true,
                                CaptureBackend::x11,
                                "Capturing the X11 screen :0."},
                    BackendCase{CaptureBackend::automatic,
                                {":0", "", ""},
                                true,
                                CaptureBackend::x11,
                                "Capturing the X11 screen :0."},
                    BackendCase{CaptureBackend::automatic,
                                {":0", "", "x11"},
                                false,
                                CaptureBackend::pattern,
                                "Showing the built-in picture: the X server :0 does not answer."},
                    BackendCase{CaptureBackend::automatic,
                                {"", "", "tty"},
                                true,
                                CaptureBackend::pattern,
                                "Showing the built-in picture: there is no screen here."},
                    BackendCase{CaptureBackend::automatic,
                                {":0", "wayland-0", ""},
                                true,
                                CaptureBackend::portal,
                                waylandReason},
                    BackendCase{CaptureBackend::automatic,
                                {":0", "", "wayland"},
                                true,
                                CaptureBackend::portal,
                                waylandReason},
                    BackendCase{CaptureBackend::x11,
                                {"", "wayland-0", "wayland"},
                                false,
                                CaptureBackend::x11,
                                "Capturing the X11 screen, as asked for."},
                    BackendCase{CaptureBackend::portal,
                                {":0", "", "x11"},
                                true,
                                CaptureBackend::portal,
                                "Capturing what the desktop's own dialog offers, as asked for."},
                    BackendCase{CaptureBackend::pattern,
                                {":0", "", "x11"},
                                true,
                                CaptureBackend::pattern,
                                "Showing the built-in picture, as asked for."}));

TEST(XServerAnswers, OnlyWhenThereIsOne) {
  XServer server;
  EXPECT_TRUE(xServerResponds(server.display()));
  server.crash();
  EXPECT_FALSE(xServerResponds(server.display()));
  EXPECT_FALSE(xServerResponds(""));
}

TEST(MakeCaptureService, MakesTheServiceOfTheRoad) {
  SerialQueue queue(".capture");
  const CaptureMeans means{std::make_shared<portal::RestoreTokens>(), nullptr};
  const Log log = Log::silent();
  const auto x11 = makeCaptureService(CaptureBackend::x11, {":0", "", ""}, means, log, queue);
  EXPECT_NE(dynamic_cast<x11::Service*>(x11.get()), nullptr);
  const auto portal = makeCaptureService(CaptureBackend::portal, {":0", "", ""}, means, log, queue);
  EXPECT_NE(dynamic_cast<portal::Service*>(portal.get()), nullptr);
  const auto pattern =
      makeCaptureService(CaptureBackend::pattern, {":0", "", ""}, means, log, queue);
  EXPECT_NE(dynamic_cast<pattern::Service*>(pattern.get()), nullptr);
}

}  // namespace
}  // namespace tarvinel
