#include "app/x11/Error.h"
#include "core/support/UniqueFd.h"
#include "tests/support/EnvironmentVariable.h"
#include "tests/support/SilentDisplay.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/X11Capture.h"
#include "tests/support/XWindow.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <unistd.h>

#include <array>
#include <chrono>
#include <filesystem>
#include <iterator>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace tarvinel::x11 {
namespace {

using namespace std::chrono_literals;

std::ptrdiff_t openDescriptors() {
  return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
}

/// Returns the kind of Error that an operation throws.
template <class Operation>
Error::Case failureOf(const Operation& operation) {
  try {
    operation();
  } catch (const Error& error) {
    return error.kind();
  }
  throw std::runtime_error("nothing failed");
}

/// Returns what xauth(1) writes: a cookie for every display of this computer.
std::string cookieFile(const std::string& cookie) {
  std::array<char, 256> host{};
  gethostname(host.data(), host.size() - 1);
  std::string file("\x01\0", 2);  // FamilyLocal
  for (const std::string& field :
       {std::string(host.data()), std::string(), std::string("MIT-MAGIC-COOKIE-1"), cookie}) {
    file += {'\0', static_cast<char>(field.size())};
    file += field;
  }
  return file;
}

TEST(X11Failure, AServerThatDiesEndsTheStreamOnceAndLeavesNothingOpen) {
  const auto before = openDescriptors();
  {
    XServer server;
    CaptureRun run(x11Service(server.display()));
    run.startDisplay(run.content().displays.at(0).displayID, true);
    run.log().frame(0);
    const auto whileOpen = openDescriptors();
    server.crash();
    EXPECT_EQ(describe(run.log().stopReason()), "the connection to the X server was lost");
    // the connection and the stream's duplicate are closed; the kept frame holds its descriptor
    EXPECT_EQ(openDescriptors(), whileOpen - 2);
    run.stop();
    EXPECT_EQ(run.log().stopCount(), 1U);
  }
  EXPECT_EQ(openDescriptors(), before);
}

TEST(X11Failure, AServerThatDiedBeforeTheStartFailsTheStart) {
  XServer server;
  CaptureRun run(x11Service(server.display()));
  const auto display = run.content().displays.at(0).displayID;
  server.crash();
  EXPECT_EQ(failureOf([&] { run.startDisplay(display); }), Error::Case::cannotConnect);
  EXPECT_EQ(run.log().stopCount(), 0U);
}

TEST(X11Failure, ARequestToADeadServerSaysSoAndTheProcessLives) {
  XServer server;
  const Connection connection(server.display());
  server.crash();
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(failureOf([&] { connection.rootArea(); }), Error::Case::connectionLost);
  }
  EXPECT_EQ(failureOf([&] { connection.pollEvent(); }), Error::Case::connectionLost);
}

TEST(X11Failure, AServerThatDoesNotAnswerIsNotWaitedForWithoutEnd) {
  const XServer server;
  const Connection connection(server.display(), {true, 50ms});
  server.freeze();
  EXPECT_EQ(failureOf([&] { connection.rootArea(); }), Error::Case::notResponding);
  server.thaw();
}

TEST(X11Failure, AServerThatHangsIsNotConnectedToWithoutEnd) {
  const XServer server;
  server.freeze();
  EXPECT_EQ(failureOf([&] { Connection(server.display(), {true, 50ms}); }),
            Error::Case::notResponding);
  server.thaw();
}

TEST(X11Failure, ASocketThatTakesNoMoreConnectionsIsNotWaitedForWithoutEnd) {
  const test::SilentDisplay silent;
  std::vector<UniqueFd> waiting;
  while (UniqueFd next = silent.connect())
    waiting.push_back(std::move(next));
  EXPECT_EQ(failureOf([&] { Connection(silent.name(), {true, 50ms}); }),
            Error::Case::notResponding);
}

TEST(X11Failure, WhatSaysNothingAtAllIsNotWaitedForWithoutEnd) {
  const test::SilentDisplay silent;
  EXPECT_EQ(failureOf([&] { Connection(silent.name(), {true, 50ms}); }),
            Error::Case::notResponding);
}

TEST(X11Failure, AnInterruptionEndsEveryWaitForGood) {
  const XServer server;
  const auto interrupt = std::make_shared<Interrupt>();
  const Options options{.replyTimeout = 10min, .interrupt = interrupt};
  const Connection before(server.display(), options);
  server.freeze();
  const std::jthread interrupting([&] { interrupt->interrupt(); });
  EXPECT_EQ(failureOf([&] { before.rootArea(); }), Error::Case::connectionLost);
  EXPECT_EQ(failureOf([&] { Connection(server.display(), options); }), Error::Case::cannotConnect);
  server.thaw();
}

TEST(X11Failure, TheCookieOfTheServerIsShown) {
  const test::TemporaryFolder folder;
  const std::string right = folder.write("right", cookieFile("0123456789abcdef"));
  const std::string wrong = folder.write("wrong", cookieFile("fedcba9876543210"));
  const XServer server("320x240x24", {"-auth", right});
  {
    const test::EnvironmentVariable variable("XAUTHORITY", wrong);
    EXPECT_EQ(failureOf([&] { Connection(server.display()); }), Error::Case::cannotConnect);
  }
  const test::EnvironmentVariable variable("XAUTHORITY", right);
  EXPECT_NO_THROW(Connection(server.display()).rootArea());
}

TEST(X11Failure, SixteenBitColourIsRefused) {
  X11Capture x11("320x240x16");
  const auto display = x11.onlyDisplay();
  EXPECT_EQ(failureOf([&] { x11.run.startDisplay(display); }), Error::Case::unsupportedPixels);
  const XWindow window(x11.client, {0, 0, 200, 150}, {.background = 0});
  EXPECT_EQ(failureOf([&] { x11.run.startWindow(window.id()); }), Error::Case::unsupportedPixels);
  EXPECT_EQ(failureOf([&] { x11.run.startApplication(getpid(), display); }),
            Error::Case::unsupportedPixels);
}

TEST(X11Failure, AServerThatCannotTellOfDamageIsRefused) {
  X11Capture x11("320x240x24", {"-extension", "DAMAGE"});
  const auto display = x11.onlyDisplay();
  EXPECT_EQ(failureOf([&] { x11.run.startDisplay(display); }), Error::Case::noDamageExtension);
}

TEST(X11Failure, AServerThatKeepsNoWindowsApartIsRefused) {
  X11Capture x11("320x240x24", {"-extension", "Composite"});
  const XWindow window(x11.client, {0, 0, 200, 150}, {.background = 0});
  const auto display = x11.onlyDisplay();
  EXPECT_EQ(failureOf([&] { x11.run.startWindow(window.id()); }),
            Error::Case::noCompositeExtension);
  EXPECT_EQ(failureOf([&] { x11.run.startApplication(getpid(), display); }),
            Error::Case::noCompositeExtension);
}

TEST(X11Failure, ARefusedRequestCarriesItsCode) {
  XServer server;
  const Connection connection(server.display());
  try {
    connection.check(xcb_destroy_window_checked(connection.get(), 0xDEAD));
    ADD_FAILURE();
  } catch (const Error& error) {
    EXPECT_EQ(error.kind(), Error::Case::requestRefused);
    EXPECT_EQ(error.code(), XCB_WINDOW);
    EXPECT_STREQ(error.what(), "the X server refused a request (error 3)");
  }
}

TEST(X11Failure, StartingAndStoppingOftenLeavesNothingOpen) {
  XServer server;
  const XClient client(server.display());
  const auto before = openDescriptors();
  {
    CaptureRun run(x11Service(server.display()));
    const auto display = run.content().displays.at(0).displayID;
    // each remembered frame keeps the descriptor of its memory
    const auto open = [&] {
      return openDescriptors() - static_cast<std::ptrdiff_t>(run.log().frameCount());
    };
    std::ptrdiff_t afterTheFirst = 0;
    for (int i = 0; i < 30; ++i) {
      run.startDisplay(display, true);
      if (i % 2 == 0) run.stop();
      run.drop();
      EXPECT_ANY_THROW(run.startDisplay(99999));
      run.drop();
      if (i == 0) afterTheFirst = open();
    }
    EXPECT_EQ(open(), afterTheFirst);
  }
  EXPECT_EQ(openDescriptors(), before);
}

}  // namespace
}  // namespace tarvinel::x11
