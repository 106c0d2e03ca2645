#include "app/capture/x11/windows/Displays.h"
#include "app/x11/Error.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <xcb/randr.h>

#include <cstring>

namespace tarvinel::x11 {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr PixelRect root{0, 0, 3000, 1000};

/// The body of a monitor list as the server would send it.
struct MonitorList {
  std::vector<std::byte> body;
  std::size_t count = 0;

  MonitorList& add(std::uint32_t name, const PixelRect& area, bool primary = false,
                   std::uint16_t outputs = 0) {
    xcb_randr_monitor_info_t info{};
    info.name = name;
    info.primary = primary ? 1 : 0;
    info.nOutput = outputs;
    info.x = static_cast<std::int16_t>(area.x);
    info.y = static_cast<std::int16_t>(area.y);
    info.width = static_cast<std::uint16_t>(area.width);
    info.height = static_cast<std::uint16_t>(area.height);
    const auto* bytes = reinterpret_cast<const std::byte*>(&info);
    body.insert(body.end(), bytes, bytes + sizeof info);
    body.resize(body.size() + outputs * 4U);
    ++count;
    return *this;
  }

  std::vector<Display> parse() const { return parseMonitors(body, count, root); }
};

TEST(ParseMonitors, ThePrimaryOneIsTheMainOne) {
  MonitorList list;
  list.add(70, {0, 0, 1000, 800}, false, 2).add(71, {1000, 0, 2000, 1000}, true, 1);
  EXPECT_THAT(list.parse(), ElementsAre(Display{70, {0, 0, 1000, 800}, false},
                                        Display{71, {1000, 0, 2000, 1000}, true}));
}

TEST(ParseMonitors, WithoutAPrimaryOneTheFirstIsTheMainOne) {
  MonitorList list;
  list.add(70, {0, 0, 1000, 800}).add(71, {1000, 0, 2000, 1000});
  EXPECT_THAT(list.parse(), ElementsAre(Display{70, {0, 0, 1000, 800}, true},
                                        Display{71, {1000, 0, 2000, 1000}, false}));
}

TEST(ParseMonitors, OfTwoPrimaryOnesOneIsTheMainOne) {
  MonitorList list;
  list.add(70, {0, 0, 1000, 800}, true).add(71, {1000, 0, 2000, 1000}, true);
  EXPECT_TRUE(list.parse().at(0).isMain);
  EXPECT_FALSE(list.parse().at(1).isMain);
}

TEST(ParseMonitors, ThoseWithoutAnAreaOrOutsideTheRootWindowAreLeftOut) {
  MonitorList list;
  list.add(70, {0, 0, 0, 800}, true).add(71, {0, 0, 800, 0}).add(72, {3000, 0, 100, 100});
  EXPECT_THAT(list.parse(), IsEmpty());
  list.add(73, {2900, 900, 200, 200});
  EXPECT_THAT(list.parse(), ElementsAre(Display{73, {2900, 900, 100, 100}, true}));
}

TEST(ParseMonitors, NoneIsNone) {
  EXPECT_THAT(MonitorList().parse(), IsEmpty());
}

TEST(ParseMonitors, FewerBytesThanAnnouncedAreAnError) {
  MonitorList list;
  list.add(70, {0, 0, 1000, 800}, false, 3);
  for (std::size_t length = 0; length < list.body.size(); ++length) {
    EXPECT_THROW(parseMonitors({list.body.data(), length}, 1, root), Error);
  }
  list.count = 1000000;
  EXPECT_THROW(list.parse(), Error);
}

TEST(ShareableDisplay, IsMeasuredInPoints) {
  const auto display = shareableDisplay({70, {1920, 0, 3840, 2161}, true}, 2);
  EXPECT_EQ(display.displayID, 70U);
  EXPECT_EQ(display.frame, (Rect{960, 0, 1920, 1080.5}));
  EXPECT_TRUE(display.isMain);
}

}  // namespace
}  // namespace tarvinel::x11
