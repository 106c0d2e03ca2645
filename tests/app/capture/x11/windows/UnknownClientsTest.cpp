#include "tests/support/Colours.h"
#include "tests/support/NetworkNamespace.h"
#include "tests/support/X11Capture.h"
#include "tests/support/XWindow.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <functional>
#include <string>
#include <vector>

namespace tarvinel::x11 {
namespace {

constexpr std::int32_t claimed = 4321;
const XWindow::Look plainBlue{.background = blue};

/// Clients whose process the server does not know, but only their windows' claims.
class X11UnknownClients : public testing::Test {
 protected:
  struct Screen {
    Screen(const std::vector<std::string>& arguments, const std::string& host)
        : x11("800x600x24", arguments), client(host + x11.server.display()) {}

    std::int32_t listedProcess(const XWindow& window) {
      for (const ShareableWindow& each : x11.run.content().windows) {
        if (each.windowID == window.id() && each.application) return each.application->processID;
      }
      return 0;
    }

    SeenFrame frameWith(std::uint32_t colour, std::size_t x, std::size_t y) {
      return x11.run.log().frameWhere(0, [=](const SeenFrame& seen) {
        return x < seen.width && y < seen.height && seen.at(x, y) == colour;
      });
    }

    X11Capture x11;
    XClient client;
  };

  static void claim(XWindow& window, std::int32_t process) {
    window.setNumbers("_NET_WM_PID", "CARDINAL", {static_cast<std::uint32_t>(process)});
  }

  /// Runs the steps with a client that connects over the network.
  static void overNetwork(const std::function<void(Screen&)>& steps) {
    const bool permitted = test::inNetworkNamespace([&] {
      Screen screen({"-listen", "tcp", "-ac"}, "127.0.0.1");
      steps(screen);
    });
    if (!permitted) GTEST_SKIP() << "network namespaces need root";
  }

  /// Shares a window, and its program by the process that is listed.
  static void shareBoth(Screen& screen) {
    XWindow window(screen.client, {10, 20, 300, 200}, plainBlue);
    EXPECT_EQ(screen.listedProcess(window), 0);
    claim(window, claimed);
    ASSERT_EQ(screen.listedProcess(window), claimed);
    screen.x11.run.startWindow(window.id());
    screen.frameWith(blue, 299, 199);
    screen.x11.run.startApplication(claimed, screen.x11.onlyDisplay());
    screen.frameWith(blue, 309, 219);
    const XWindow second(screen.client, {400, 300, 50, 50}, {.background = green});
    screen.frameWith(green, 449, 349);
  }
};

TEST_F(X11UnknownClients, AreSharedAsTheyAreListed) {
  overNetwork(shareBoth);
}

TEST_F(X11UnknownClients, TheSameWithoutXRes) {
  Screen screen({"-extension", "X-Resource"}, "");
  shareBoth(screen);
}

TEST_F(X11UnknownClients, OneWindowTellsForTheOthersOfItsClient) {
  overNetwork([](Screen& screen) {
    XWindow window(screen.client, {10, 20, 300, 200}, plainBlue);
    const XWindow silent(screen.client, {400, 20, 300, 200}, {.background = red});
    claim(window, claimed);
    ASSERT_EQ(screen.listedProcess(silent), claimed);
    screen.x11.run.startWindow(silent.id());
    screen.frameWith(red, 299, 199);
    screen.x11.run.startApplication(claimed, screen.x11.onlyDisplay());
    EXPECT_EQ(screen.frameWith(red, 699, 219).at(10, 20), blue);
  });
}

TEST_F(X11UnknownClients, CannotPassForAClientThatTheServerKnows) {
  overNetwork([](Screen& screen) {
    XWindow stranger(screen.client, {10, 20, 300, 200}, {.background = red});
    const XWindow own(screen.x11.client, {400, 20, 300, 200}, plainBlue);
    claim(stranger, getpid());
    EXPECT_EQ(screen.listedProcess(stranger), 0);
    EXPECT_EQ(screen.listedProcess(own), getpid());
    screen.x11.run.startApplication(getpid(), screen.x11.onlyDisplay());
    EXPECT_EQ(screen.frameWith(blue, 699, 219).at(10, 20), 0U);
  });
}

}  // namespace
}  // namespace tarvinel::x11
