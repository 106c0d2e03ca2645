#include "app/capture/SourceCatalog.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tarvinel {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

ShareableContent desktop() {
  const ShareableApplication editor{100, "Editor", "org.example.Editor"};
  ShareableContent content;
  content.displays = {{1, {0, 0, 1512, 982}, true}, {2, {1512, 0, 1920, 1080}, false}};
  content.windows = {{7, "notes", editor, 0, {1600, 0, 800, 600}},
                     {8, "palette", editor, 3, {0, 0, 800, 600}},
                     {9, "nobody's", std::nullopt, 0, {0, 0, 800, 600}}};
  return content;
}

std::vector<std::string> titles(const SourceCatalog& catalog) {
  std::vector<std::string> result;
  for (const CaptureSource& source : catalog.sources())
    result.push_back(source.title);
  return result;
}

TEST(SourceCatalog, ListsDisplaysApplicationsAndWindows) {
  const SourceCatalog catalog(desktop(), std::nullopt);
  EXPECT_THAT(titles(catalog), ElementsAre("Display 1 (main) 1512×982", "Display 2 1920×1080",
                                           "Editor (app)", "Editor: notes"));
  EXPECT_EQ(catalog.count(CaptureSource::Kind::display), 2U);
  EXPECT_EQ(catalog.count(CaptureSource::Kind::window), 1U);
  EXPECT_EQ(catalog.count(CaptureSource::Kind::app), 1U);
}

TEST(SourceCatalog, ListsWhatTheDesktopsDialogSettlesAsItIs) {
  ShareableContent content;
  content.choices = {{ShareableChoice::Kind::window, 1, "Any window", {640, 480}},
                     {ShareableChoice::Kind::display, 1, "Any screen", {1920, 1080}}};
  const SourceCatalog catalog(content, "org.example.Editor");
  EXPECT_THAT(
      catalog.sources(),
      ElementsAre(
          CaptureSource{"display-1", CaptureSource::Kind::display, "Any screen", {1920, 1080}},
          CaptureSource{"window-1", CaptureSource::Kind::window, "Any window", {640, 480}}));
  EXPECT_EQ(catalog.filter("display-1")->kind, ContentFilter::Kind::display);
  EXPECT_EQ(catalog.filter("window-1")->kind, ContentFilter::Kind::window);
}

TEST(SourceCatalog, LeavesOutTheProgramItself) {
  const SourceCatalog catalog(desktop(), "org.example.Editor");
  EXPECT_EQ(catalog.count(CaptureSource::Kind::window), 0U);
  EXPECT_EQ(catalog.count(CaptureSource::Kind::app), 0U);
}

TEST(SourceCatalog, KnowsHowEachSourceIsCaptured) {
  const SourceCatalog catalog(desktop(), std::nullopt);
  const ContentFilter display = catalog.filter("display-2").value();
  EXPECT_EQ(display.kind, ContentFilter::Kind::display);
  EXPECT_EQ(display.displayID, 2U);
  const ContentFilter window = catalog.filter("window-7").value();
  EXPECT_EQ(window.kind, ContentFilter::Kind::window);
  EXPECT_EQ(window.windowID, 7U);
  const ContentFilter app = catalog.filter("app-100").value();
  EXPECT_EQ(app.kind, ContentFilter::Kind::application);
  EXPECT_EQ(app.processID, 100);
  EXPECT_EQ(app.displayID, 2U);
}

TEST(SourceCatalog, DoesNotKnowOtherSources) {
  const SourceCatalog catalog(desktop(), std::nullopt);
  for (const char* id : {"", "display-3", "window-70", "app-1", "window-"}) {
    EXPECT_FALSE(catalog.filter(id)) << id;
  }
}

TEST(SourceCatalog, KeepsWhatIsSharedForAsLongAsItExists) {
  const SourceCatalog before(desktop(), std::nullopt);
  std::vector<SourceCatalog::Entry> shared;
  for (const CaptureSource& source : before.sources())
    shared.push_back({source, before.filter(source.id).value()});
  ShareableContent content = desktop();
  content.displays.pop_back();
  content.windowsOutOfSight.push_back(content.windows.front());
  content.windows.clear();
  const SourceCatalog minimised(content, std::nullopt, shared);
  EXPECT_THAT(titles(minimised),
              ElementsAre("Display 1 (main) 1512×982", "Editor (app)", "Editor: notes"));
  EXPECT_EQ(minimised.filter("window-7")->windowID, 7U);
  EXPECT_EQ(minimised.filter("app-100")->processID, 100);
  EXPECT_THAT(titles(SourceCatalog(content, std::nullopt)),
              ElementsAre("Display 1 (main) 1512×982"))
      << "nothing else that is out of sight is listed";
  content.windowsOutOfSight.clear();
  EXPECT_THAT(titles(SourceCatalog(content, std::nullopt, shared)),
              ElementsAre("Display 1 (main) 1512×982"));
}

TEST(SourceCatalog, KeepsWhatIsSharedAlthoughItBecameTooSmallToBeOffered) {
  const SourceCatalog before(desktop(), std::nullopt);
  ShareableContent content = desktop();
  content.windows.front().frame = {1600, 0, 100, 100};
  content.windows.front().title = std::nullopt;
  const SourceCatalog catalog(content, std::nullopt,
                              {{before.sources().back(), before.filter("window-7").value()}});
  EXPECT_EQ(catalog.sources().back(), before.sources().back());
}

TEST(SourceCatalog, IsEmptyWithoutContent) {
  EXPECT_THAT(SourceCatalog({}, std::nullopt).sources(), IsEmpty());
  EXPECT_THAT(SourceCatalog().sources(), IsEmpty());
}

}  // namespace
}  // namespace tarvinel
