#include "app/capture/CaptureSource.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

namespace tarvinel {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

WindowCandidate window(std::uint32_t number, const std::string& title,
                       const std::string& app = "Editor", std::int32_t processID = 100,
                       Rect frame = {0, 0, 800, 600}) {
  return {number, title, app, "org.example." + app, processID, 0, frame, true};
}

DisplayCandidate display(std::uint32_t number, Rect frame, bool isMain = false) {
  return {number, frame, isMain};
}

std::vector<std::string> ids(const std::vector<CaptureSource>& sources) {
  std::vector<std::string> result;
  std::transform(sources.begin(), sources.end(), std::back_inserter(result),
                 [](const CaptureSource& source) { return source.id; });
  return result;
}

std::vector<std::string> windowIDs(const std::vector<WindowCandidate>& windows,
                                   const std::optional<std::string>& excluding = std::nullopt) {
  return ids(CaptureSource::windowSources(windows, excluding));
}

const std::vector<DisplayCandidate> twoDisplays{display(1, {0, 0, 1512, 982}, true),
                                                display(2, {1512, 0, 1920, 1080})};

std::vector<AppSource> apps(const std::vector<WindowCandidate>& windows,
                            const std::vector<DisplayCandidate>& displays = twoDisplays,
                            const std::optional<std::string>& excluding = std::nullopt) {
  return CaptureSource::appSources(windows, displays, excluding);
}

TEST(CaptureSource, IdentifiersArePlainDecimal) {
  EXPECT_EQ(CaptureSource::displayID(4294967295U), "display-4294967295");
  EXPECT_EQ(CaptureSource::windowID(7), "window-7");
  EXPECT_EQ(CaptureSource::appID(-1), "app--1");
}

TEST(CaptureSource, DisplayEntriesTellPositionMainAndSize) {
  EXPECT_EQ(CaptureSource::displaySource(display(69, {0, 0, 1512, 982}, true), 1),
            (CaptureSource{"display-69",
                           CaptureSource::Kind::display,
                           "Display 1 (main) 1512\u00D7982",
                           {1512, 982}}));
  EXPECT_EQ(
      CaptureSource::displaySource(display(2, {1512, 0, 1920.5, 1080.9}), 2),
      (CaptureSource{
          "display-2", CaptureSource::Kind::display, "Display 2 1920×1080", {1920.5, 1080.9}}));
}

TEST(CaptureSource, WindowEntriesTellApplicationAndTitle) {
  EXPECT_THAT(CaptureSource::windowSources({window(5, "notes", "Editor", 1, {10, 20, 640, 480})},
                                           std::nullopt),
              ElementsAre(CaptureSource{
                  "window-5", CaptureSource::Kind::window, "Editor: notes", {640, 480}}));
}

TEST(CaptureSource, AWindowWithoutAnApplicationNameIsCalledApp) {
  WindowCandidate nameless = window(5, "notes");
  nameless.appName.reset();
  EXPECT_EQ(CaptureSource::windowSources({nameless}, std::nullopt).at(0).title, "App: notes");
  EXPECT_EQ(apps({nameless}).at(0).source.title, "App (app)");
}

TEST(CaptureSource, SmallWindowsAreLeftOut) {
  EXPECT_THAT(windowIDs({window(1, "a", "E", 1, {0, 0, 200, 150}),
                         window(2, "b", "E", 1, {0, 0, 199.5, 400}),
                         window(3, "c", "E", 1, {0, 0, 400, 149.5})}),
              ElementsAre("window-1"));
}

TEST(CaptureSource, UnusableWindowsAreLeftOutAlsoOfTheirApplication) {
  WindowCandidate untitled = window(1, "");
  WindowCandidate withoutTitle = window(2, "b");
  withoutTitle.title.reset();
  WindowCandidate panel = window(3, "c");
  panel.layer = 3;
  WindowCandidate ownerless = window(4, "d");
  ownerless.hasApp = false;
  const std::vector<WindowCandidate> windows{untitled, withoutTitle, panel, ownerless};
  EXPECT_THAT(windowIDs(windows), IsEmpty());
  EXPECT_THAT(apps(windows), IsEmpty());
}

TEST(CaptureSource, TheProgramsOwnWindowsAreLeftOut) {
  WindowCandidate unknown = window(3, "c", "Other", 3);
  unknown.bundleID.reset();
  const std::vector<WindowCandidate> windows{window(1, "a", "Own", 1), window(2, "b", "own", 2),
                                             unknown};
  EXPECT_THAT(windowIDs(windows, "org.example.Own"), ElementsAre("window-3", "window-2"));
  EXPECT_THAT(apps(windows, twoDisplays, "org.example.Own"), SizeIs(2));
  EXPECT_THAT(windowIDs(windows), SizeIs(3));
  EXPECT_THAT(apps(windows), SizeIs(3));
}

TEST(CaptureSource, WindowsAreSortedByApplicationTitleAndNumber) {
  EXPECT_THAT(windowIDs({window(1, "a 10"), window(2, "a 9"), window(9, "z", "browser"),
                         window(4, "same", "Zed"), window(3, "Same", "zed")}),
              ElementsAre("window-9", "window-2", "window-1", "window-3", "window-4"));
  EXPECT_THAT(windowIDs({window(8, "same"), window(7, "same")}),
              ElementsAre("window-7", "window-8"));
}

TEST(CaptureSource, AWindowWithoutAnApplicationNameSortsFirst) {
  WindowCandidate nameless = window(5, "z");
  nameless.appName.reset();
  EXPECT_THAT(windowIDs({window(1, "a", "Aardvark"), nameless}),
              ElementsAre("window-5", "window-1"));
}

TEST(CaptureSource, TitlesThatAreNotUTF8AreKeptAsTheyAre) {
  EXPECT_THAT(CaptureSource::windowSources({window(1, "\xFF\xC3")}, std::nullopt).at(0).title,
              "Editor: \xFF\xC3");
  EXPECT_THAT(windowIDs({window(2, "\xFF"), window(1, "\xFF"), window(3, "\xF0\x9F")}), SizeIs(3));
}

TEST(CaptureSource, AnApplicationIsCapturedOnTheDisplayOfItsWindows) {
  EXPECT_THAT(apps({window(1, "a", "Editor", 7, {1600, 100, 800, 600})}),
              ElementsAre(AppSource{
                  {"app-7", CaptureSource::Kind::app, "Editor (app)", {1920, 1080}}, 7, 2}));
}

TEST(CaptureSource, AStraddlingWindowBelongsToTheDisplayThatHoldsItsMiddle) {
  EXPECT_EQ(apps({window(1, "a", "E", 7, {1200, 0, 800, 600})}).at(0).displayID, 2U);
  EXPECT_EQ(apps({window(1, "a", "E", 7, {1000, 0, 800, 600})}).at(0).displayID, 1U);
}

TEST(CaptureSource, ThePointOnTheSharedEdgeBelongsToTheDisplayThatBeginsThere) {
  EXPECT_EQ(apps({window(1, "a", "E", 7, {1112, 0, 800, 600})}).at(0).displayID, 2U);
}

TEST(CaptureSource, AWindowOffEveryDisplayGoesToTheMainOne) {
  const WindowCandidate away = window(1, "a", "E", 7, {-5000, -5000, 800, 600});
  const Rect a{0, 0, 1000, 1000};
  const Rect b{1000, 0, 1000, 1000};
  EXPECT_EQ(apps({away}, {display(1, a), display(2, b, true)}).at(0).displayID, 2U);
  EXPECT_EQ(apps({away}, {display(1, a), display(2, b)}).at(0).displayID, 1U);
}

TEST(CaptureSource, TheLargestWindowDecidesTheDisplayTheFirstOfEquals) {
  const Rect onFirst{0, 0, 800, 600};
  const Rect onSecond{1600, 0, 800, 600};
  const Rect largerOnSecond{1600, 0, 801, 600};
  EXPECT_EQ(apps({window(1, "a", "E", 7, onFirst), window(2, "b", "E", 7, largerOnSecond)})
                .at(0)
                .displayID,
            2U);
  EXPECT_EQ(
      apps({window(1, "a", "E", 7, onFirst), window(2, "b", "E", 7, onSecond)}).at(0).displayID,
      1U);
  EXPECT_EQ(
      apps({window(2, "b", "E", 7, onSecond), window(1, "a", "E", 7, onFirst)}).at(0).displayID,
      2U);
}

TEST(CaptureSource, ApplicationsAreSortedByTitleAndProcess) {
  const auto sources =
      apps({window(1, "a", "zed", 1), window(2, "b", "Editor", 30), window(3, "c", "editor", 4),
            window(4, "d", "App 10", 5), window(5, "e", "App 9", 6)});
  std::vector<std::int32_t> processes;
  for (const AppSource& source : sources)
    processes.push_back(source.processID);
  EXPECT_THAT(processes, ElementsAre(6, 5, 4, 30, 1));
}

TEST(CaptureSource, WithoutDisplaysThereAreNoApplications) {
  EXPECT_THAT(apps({window(1, "a")}, {}), IsEmpty());
}

TEST(CaptureSource, TheMenuListsDisplaysThenApplicationsThenWindows) {
  using Kind = CaptureSource::Kind;
  const auto entry = [](const char* id, Kind kind) { return CaptureSource{id, kind, "", {}}; };
  EXPECT_THAT(ids(CaptureSource::menuOrder({entry("w1", Kind::window), entry("d1", Kind::display),
                                            entry("a1", Kind::app), entry("w2", Kind::window),
                                            entry("d2", Kind::display)})),
              ElementsAre("d1", "d2", "a1", "w1", "w2"));
}

}  // namespace
}  // namespace tarvinel
