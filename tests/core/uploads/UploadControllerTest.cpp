#include "core/uploads/UploadController.h"
#include "tests/support/CapturedLog.h"
#include "tests/support/HangingDisk.h"
#include "tests/support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace tarvinel {
namespace {

using test::CapturedLog;
using test::TemporaryFolder;
using testing::ElementsAre;
using testing::IsEmpty;
using Admission = UploadController::Admission;

constexpr std::int64_t gib = std::int64_t{1} << 30U;

class UploadControllerTest : public testing::Test {
 protected:
  std::shared_ptr<UploadStore> storeIn(std::string_view name) {
    return std::make_shared<UploadStore>(folder / name, false, log.category("upload"));
  }

  std::shared_ptr<UploadController> controllerWith(bool enabled, std::optional<std::int64_t> free) {
    return std::make_shared<UploadController>(storeIn("uploads"), enabled,
                                              UploadController::Limits{}, log.category("upload"),
                                              [free] { return free; });
  }

  TemporaryFolder folder;
  CapturedLog log;
};

TEST_F(UploadControllerTest, HasTheLimitsOfTheProgram) {
  const auto controller = controllerWith(false, std::nullopt);
  EXPECT_EQ(controller->limits().maxInFlight, 8);
  EXPECT_EQ(controller->limits().maxBytes, 2147483648);
  EXPECT_EQ(controller->limits().stall.timeout.count(), 30.0);
  EXPECT_EQ(controller->limits().stall.minBytesPerSecond, 20000);
  EXPECT_FALSE(controller->isEnabled());
}

TEST_F(UploadControllerTest, WhileClosedEveryRequestIsDisabled) {
  const auto controller = controllerWith(false, 100 * gib);
  EXPECT_EQ(controller->admit(1), Admission::disabled);
  EXPECT_EQ(controller->admit(1000 * gib), Admission::disabled);
  EXPECT_EQ(controller->debugInFlight(), 0);
  controller->setEnabled(true);
  EXPECT_EQ(controller->admit(1), Admission::admitted);
}

TEST_F(UploadControllerTest, TheNinthAtOnceIsBusyUntilOneEnds) {
  const auto controller = controllerWith(true, 100 * gib);
  for (int i = 0; i < 8; ++i)
    EXPECT_EQ(controller->admit(1), Admission::admitted);
  EXPECT_EQ(controller->admit(1), Admission::busy);
  EXPECT_EQ(controller->debugInFlight(), 8);
  controller->release(1);
  EXPECT_EQ(controller->admit(1), Admission::admitted);
  EXPECT_EQ(controller->admit(1), Admission::busy);
}

class UploadPlacesTest : public UploadControllerTest {
 protected:
  /// Requests a place for one byte; an upload that yields is recorded by its address and number.
  Admission ask(const std::string& address) {
    const std::string name = address + " " + std::to_string(++asked);
    const auto place = std::make_shared<const UploadPlace>(
        UploadPlace{address, [this, name] { gaveWay.push_back(name); }});
    const Admission admission = controller->admit(1, place);
    if (admission == Admission::admitted) places[name] = place;
    return admission;
  }

  void release(const std::string& name) { controller->release(1, places.at(name)); }

  std::shared_ptr<UploadController> controller = controllerWith(true, 100 * gib);
  int asked = 0;
  std::map<std::string, std::shared_ptr<const UploadPlace>> places;
  std::vector<std::string> gaveWay;
};

TEST_F(UploadPlacesTest, OneAddressMayHoldAllWhileNobodyElseAsks) {
  for (int i = 0; i < 8; ++i)
    EXPECT_EQ(ask("a"), Admission::admitted);
  EXPECT_EQ(ask("a"), Admission::busy);
  EXPECT_THAT(gaveWay, IsEmpty());
}

TEST_F(UploadPlacesTest, BeyondHalfItYieldsToOthersTheNewestFirst) {
  for (int i = 0; i < 8; ++i)
    ask("a");
  for (const char* other : {"b", "c", "b", "d"})
    EXPECT_EQ(ask(other), Admission::admitted);
  EXPECT_THAT(gaveWay, ElementsAre("a 8", "a 7", "a 6", "a 5"));
  for (const char* anybody : {"a", "b", "e"})
    EXPECT_EQ(ask(anybody), Admission::busy) << anybody;
  EXPECT_EQ(controller->debugInFlight(), 8);
}

TEST_F(UploadPlacesTest, WithHalfOfThemNobodyIsYieldedTo) {
  for (const char* address : {"a", "a", "a", "a", "b", "b", "b", "b"})
    ask(address);
  EXPECT_EQ(ask("c"), Admission::busy);
  EXPECT_THAT(gaveWay, IsEmpty());
}

TEST_F(UploadPlacesTest, WhatHasYieldedKeepsItsRoomOnTheDiskUntilItsEnd) {
  for (int i = 0; i < 8; ++i)
    ask("a");
  ask("b");
  EXPECT_EQ(controller->debugReservedBytes(), 9);
  release("a 8");
  EXPECT_EQ(controller->debugReservedBytes(), 8);
  EXPECT_EQ(controller->debugInFlight(), 8);
  release("a 1");
  EXPECT_EQ(controller->debugInFlight(), 7);
}

TEST_F(UploadPlacesTest, WithoutRoomNobodyGivesWay) {
  controller = controllerWith(true, gib + 8);
  for (int i = 0; i < 8; ++i)
    EXPECT_EQ(ask("a"), Admission::admitted);
  EXPECT_EQ(ask("b"), Admission::noSpace);
  EXPECT_THAT(gaveWay, IsEmpty());
}

TEST_F(UploadControllerTest, ClosedComesBeforeBusyAndBusyBeforeFull) {
  bool asked = false;
  UploadController controller(storeIn("uploads"), true, {.maxInFlight = 0, .stall = {}},
                              log.category("upload"), [&asked] {
                                asked = true;
                                return std::optional<std::int64_t>(0);
                              });
  EXPECT_EQ(controller.admit(1), Admission::busy);
  EXPECT_FALSE(asked);
  controller.setEnabled(false);
  EXPECT_EQ(controller.admit(1), Admission::disabled);
}

TEST_F(UploadControllerTest, AGigabyteIsKeptFree) {
  const auto controller = controllerWith(true, 5 * gib / 2);
  EXPECT_EQ(controller->admit(16 * gib / 10), Admission::noSpace);
  EXPECT_EQ(controller->admit(3 * gib / 2 + 1), Admission::noSpace);
  EXPECT_EQ(controller->admit(14 * gib / 10), Admission::admitted);
  EXPECT_EQ(controllerWith(true, 5 * gib / 2)->admit(3 * gib / 2), Admission::admitted);
}

TEST_F(UploadControllerTest, AnUploadThatLeavesExactlyAGigabyteIsAdmitted) {
  EXPECT_EQ(controllerWith(true, gib + 1)->admit(1), Admission::admitted);
  EXPECT_EQ(controllerWith(true, gib + 1)->admit(2), Admission::noSpace);
  const auto controller = controllerWith(true, 4 * gib);
  EXPECT_EQ(controller->admit(3 * gib / 2), Admission::admitted);
  EXPECT_EQ(controller->admit(3 * gib / 2), Admission::admitted);  // 4 - 1.5 is 1.5 + 1
  EXPECT_EQ(controller->admit(1), Admission::noSpace);
}

TEST_F(UploadControllerTest, WhatOthersWereGivenIsNotGivenAgain) {
  const auto controller = controllerWith(true, 4 * gib);
  EXPECT_EQ(controller->admit(3 * gib / 2), Admission::admitted);
  EXPECT_EQ(controller->admit(3 * gib / 2 + 1), Admission::noSpace);
  EXPECT_EQ(controller->debugReservedBytes(), 3 * gib / 2);
  EXPECT_EQ(controller->debugInFlight(), 1);
}

TEST_F(UploadControllerTest, AVolumeThatCannotBeReadIsFull) {
  EXPECT_EQ(controllerWith(true, std::nullopt)->admit(1), Admission::noSpace);
  UploadController controller(storeIn("gone"), true, {}, log.category("upload"));
  EXPECT_EQ(controller.admit(1), Admission::admitted);
  std::filesystem::remove(folder / "gone");
  EXPECT_EQ(controller.admit(1), Admission::noSpace);
}

TEST_F(UploadControllerTest, AReleaseTooManyIsHarmless) {
  const auto controller = controllerWith(true, 100 * gib);
  EXPECT_EQ(controller->admit(10), Admission::admitted);
  controller->release(10);
  controller->release(10);
  EXPECT_EQ(controller->debugInFlight(), 0);
  EXPECT_EQ(controller->debugReservedBytes(), 0);
}

TEST_F(UploadControllerTest, ASlotIsGivenBackExactlyOnce) {
  const auto controller = controllerWith(true, 100 * gib);
  ASSERT_EQ(controller->admit(10), Admission::admitted);
  ASSERT_EQ(controller->admit(20), Admission::admitted);
  {
    UploadSlot slot(controller, 10);
    UploadSlot moved(std::move(slot));
    moved.release();
    EXPECT_EQ(controller->debugInFlight(), 1);
  }
  EXPECT_EQ(controller->debugInFlight(), 1);
  EXPECT_EQ(controller->debugReservedBytes(), 20);
}

TEST_F(UploadControllerTest, ADiskThatHangsHoldsUpNothingButAdmission) {
  HangingDisk disk(100 * gib);
  UploadController controller(storeIn("uploads"), true, {}, log.category("upload"),
                              [&] { return disk.freeSpace(); });
  std::thread admission([&] { EXPECT_EQ(controller.admit(1), Admission::disabled); });
  disk.waitUntilAsked();
  EXPECT_TRUE(controller.snapshot().enabled);
  controller.release(1);
  controller.setStore(storeIn("elsewhere"));
  controller.setEnabled(false);  // also applies to the request that waits
  disk.release();
  admission.join();
  EXPECT_EQ(controller.debugInFlight(), 0);
}

TEST_F(UploadControllerTest, ANewStoreCountsAtOnce) {
  const auto controller = controllerWith(true, 100 * gib);
  folder.write("elsewhere/a.jpg", "123");
  controller->setStore(storeIn("elsewhere"));
  EXPECT_EQ(controller->snapshot(), (UploadStatus{true, 1, 3, 0, std::nullopt, 0}));
}

TEST(UploadStatus, WithoutAFileTheLastParticipantIsLeftOut) {
  EXPECT_EQ(UploadStatus{}.json(),
            R"({"enabled":false,"files":0,"bytes":0,"participants":0,"lastParticipantFiles":0})");
  EXPECT_EQ((UploadStatus{true, 2, 30, 1, "Zoë", 2}).json(),
            R"({"enabled":true,"files":2,"bytes":30,"participants":1,"lastParticipant":"Zoë",)"
            R"("lastParticipantFiles":2})");
}

}  // namespace
}  // namespace tarvinel
