#include "app/x11/Error.h"
#include "tests/support/X11Capture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tarvinel::x11 {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

TEST(X11DisplayList, HasTheOneMonitorOfAPlainServer) {
  X11Capture x11("640x480x24");
  const auto content = x11.run.content();
  ASSERT_THAT(content.displays, SizeIs(1));
  EXPECT_EQ(content.displays[0].frame, (Rect{0, 0, 640, 480}));
  EXPECT_TRUE(content.displays[0].isMain);
  EXPECT_NE(content.displays[0].displayID, x11.client.root());
  EXPECT_THAT(content.windows, IsEmpty());
}

TEST(X11DisplayList, HasTwoMonitorsWithThePrimaryOneAsMain) {
  X11Capture x11;
  const auto left = x11.client.setMonitor("left", {0, 0, 160, 240}, false, true);
  const auto right = x11.client.setMonitor("right", {160, 0, 160, 200}, true, false);
  auto displays = x11.run.content().displays;
  ASSERT_THAT(displays, SizeIs(2));
  if (displays[0].displayID == right) std::swap(displays[0], displays[1]);
  EXPECT_EQ(displays[0].displayID, left);
  EXPECT_EQ(displays[0].frame, (Rect{0, 0, 160, 240}));
  EXPECT_FALSE(displays[0].isMain);
  EXPECT_EQ(displays[1].displayID, right);
  EXPECT_EQ(displays[1].frame, (Rect{160, 0, 160, 200}));
  EXPECT_TRUE(displays[1].isMain);
}

TEST(X11DisplayList, FallsBackToTheRootWindowWithoutMonitors) {
  X11Capture x11;
  x11.client.switchOutputOff();
  const auto displays = x11.run.content().displays;
  ASSERT_THAT(displays, SizeIs(1));
  EXPECT_EQ(displays[0].displayID, x11.client.root());
  EXPECT_EQ(displays[0].frame, (Rect{0, 0, 320, 240}));
  EXPECT_TRUE(displays[0].isMain);
}

TEST(X11DisplayList, FallsBackToTheRootWindowWithoutTheExtension) {
  X11Capture x11("320x240x24", {"-extension", "RANDR"});
  const auto displays = x11.run.content().displays;
  ASSERT_THAT(displays, SizeIs(1));
  EXPECT_EQ(displays[0].displayID, x11.client.root());
}

TEST(X11DisplayList, IsInPointsOfTheDesktopsScale) {
  X11Capture x11;
  x11.client.setResources("Xcursor.size:\t48\nXft.dpi:\t192\n");
  EXPECT_EQ(x11.run.content().displays.at(0).frame, (Rect{0, 0, 160, 120}));
}

TEST(X11DisplayList, FailsOnceTheServerIsGone) {
  XServer server;
  CaptureRun run(x11Service(server.display()));
  EXPECT_THAT(run.content().displays, SizeIs(1));
  server.crash();
  EXPECT_THROW(run.content(), Error);
}

TEST(X11DisplayList, SaysThatThereIsNoServerName) {
  CaptureRun run(x11Service(""));
  try {
    run.content();
    ADD_FAILURE();
  } catch (const Error& error) {
    EXPECT_EQ(error.kind(), Error::Case::noDisplayName);
    EXPECT_STREQ(error.what(), "there is no X server: DISPLAY is not set");
  }
}

TEST(X11DisplayList, SaysWhichServerIsNotThere) {
  for (const char* name : {":64000", "nonsense", "/nowhere:0", ":"}) {
    CaptureRun run(x11Service(name));
    try {
      run.content();
      ADD_FAILURE() << name;
    } catch (const Error& error) {
      EXPECT_EQ(error.kind(), Error::Case::cannotConnect);
      EXPECT_THAT(error.what(), HasSubstr(name));
    }
  }
}

}  // namespace
}  // namespace tarvinel::x11
