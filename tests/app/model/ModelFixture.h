#pragma once

#include "app/model/AppModel.h"
#include "core/frames/PixelBuffer.h"
#include "tests/app/capture/FakeCaptureService.h"
#include "tests/support/CapturedLog.h"
#include "tests/support/Eventually.h"
#include "tests/support/FakeDesktop.h"
#include "tests/support/FakeNetwork.h"
#include "tests/support/ManualMainQueue.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/TestClient.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <random>
#include <utility>

namespace tarvinel {

/// A model with a fake screen with one display and a fake desktop, a real server on a free port and
/// a main queue that the test runs by hand.
class ModelFixture : public testing::Test {
 protected:
  ModelFixture() {
    config.port = 0;
    config.hostname = "";
    screen.content.displays = {{7, {0, 0, 1280, 720}, true}};
  }

  AppModel::Dependencies platform(MainQueue& queue) {
    return {.mainQueue = queue,
            .desktop = desktop,
            .log = log.log(),
            .captureService =
                [this](SerialQueue& captureQueue) {
                  screen.queue = &captureQueue;
                  return std::make_unique<FakeCaptureService>(screen);
                },
            .userDefaults = {folder / "preferences.json"},
            .sysfs = folder.path(),
            .networkPath = network.factory(),
            .updateController = updateController};
  }

  virtual void launch() { model = AppModel::create(config, platform(mainQueue), uploads); }

  /// Launches the model, and waits for the server and the list of sources.
  void launchAndWait() {
    launch();
    ASSERT_TRUE(
        mainQueue.runUntil([&] { return model->serverURL() && !model->sources().empty(); }));
  }

  void startSharing() {
    model->select("display-7");
    model->startSharing();
    ASSERT_TRUE(mainQueue.runUntil([&] { return model->isSharing(); }));
  }

  /// Completes the start of the latest stream, which is pending because of `screen.holdStarts`.
  void letStart(const Result<void>& outcome = {}) {
    onScreen([&] { screen.streams.back()->pendingStart(outcome); });
  }

  /// Returns a picture that JPEG cannot compress well.
  static std::shared_ptr<MemoryPixelBuffer> noise() {
    auto picture = std::make_shared<MemoryPixelBuffer>(640, 480);
    std::mt19937 random(1);
    std::generate_n(picture->pixels(), 640 * 480 * 4,
                    [&] { return static_cast<std::uint8_t>(random()); });
    return picture;
  }

  /// Delivers the next picture of the latest stream.
  void deliver(std::shared_ptr<MemoryPixelBuffer> picture) {
    onScreen(
        [&] { screen.streams.back()->handlers.onFrame({std::move(picture), {}, {}, {}, {}, {}}); });
  }

  /// Returns a viewer that has read the head of the stream.
  test::TestClient viewer() const {
    test::TestClient client(model->boundPort());
    client.send("GET /stream HTTP/1.1\r\n\r\n");
    client.readUntil("\r\n\r\n");
    return client;
  }

  /// Lets the model tick until it counts so many viewers; returns false if it never does.
  bool awaitViewers(std::int64_t count) {
    return test::eventually([&] {
      mainQueue.tick();
      return model->viewerCount() == count;
    });
  }

  /// Runs a step of the platform on the platform's queue.
  void onScreen(const std::function<void()>& step) { screen.queue->sync(step); }

  /// Lists the sources and runs the main queue until the model has handled the list.
  void refresh() {
    bool done = false;
    model->refreshSources([&done] { done = true; });
    ASSERT_TRUE(mainQueue.runUntil([&done] { return done; }));
  }

  /// Runs a command that opens the upload folder, which is `folderOfToday`, and returns when the
  /// model has handled the outcome, after which a file that a crash left behind on another day is
  /// removed.
  void thenOpensFolder(const std::function<void()>& command) {
    const auto leftOver = folder.write("Tarvinel Uploads/2026-11-14/.a.jpg.partial", "");
    command();
    ASSERT_TRUE(test::eventually([&] { return !std::filesystem::exists(leftOver); }));
    bool known = false;
    mainQueue.post([&known] { known = true; });
    ASSERT_TRUE(mainQueue.runUntil([&known] { return known; }));
  }

  test::TemporaryFolder folder;
  const std::filesystem::path folderOfToday = folder / "Tarvinel Uploads/2026-11-15";
  AppModel::UploadLaunch uploads{folder / "uploads", {}, false};
  test::CapturedLog log;
  test::ManualMainQueue mainQueue;
  test::FakeDesktop desktop;
  UpdateController::Factory updateController;
  FakeScreen screen;
  test::FakeNetwork network;
  TarvinelConfig config;
  std::shared_ptr<AppModel> model;
};

}  // namespace tarvinel
