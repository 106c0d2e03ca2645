#include "app/platform/PortHelper.h"
#include "core/http/ListeningSocket.h"
#include "tests/support/NetworkNamespace.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/wait.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <filesystem>
#include <functional>
#include <string>
#include <system_error>

namespace tarvinel {
namespace {

using test::inNetworkNamespace;
using test::TemporaryFolder;

const std::error_code refusal(EACCES, std::system_category());

long openDescriptors() {
  return std::ranges::distance(std::filesystem::directory_iterator("/proc/self/fd"),
                               std::filesystem::directory_iterator());
}

bool hasChild() {
  return ::waitpid(-1, nullptr, WNOHANG) >= 0;
}

/// Runs a program in place of the helper, which replies over descriptor 3.
class PortHelperTest : public testing::Test {
 protected:
  std::filesystem::path program(const std::string& script) const {
    const auto file = folder.write("helper", script);
    std::filesystem::permissions(file, std::filesystem::perms::owner_all);
    return file;
  }

  /// Writes a Python script in which `channel` is its end of the channel; returns its path.
  std::filesystem::path python(const std::string& steps) const {
    return program(
        "#!/usr/bin/python3\n"
        "import array, os, socket, time\n"
        "channel = socket.socket(fileno=3)\n"
        "def listener(kind=socket.SOCK_STREAM):\n"
        "    s = socket.socket(socket.AF_INET, kind)\n"
        "    s.bind(('127.0.0.1', 0))\n"
        "    return s\n" +
        steps);
  }

  /// Expects that this program makes `listen` throw the refusal, and leaves no descriptor and no
  /// child behind.
  static void expectRefusal(const std::filesystem::path& program,
                            std::chrono::milliseconds limit = std::chrono::seconds(60)) {
    const long before = openDescriptors();
    try {
      PortHelper(program, limit).listen(refusal);
      ADD_FAILURE() << "a socket was taken";
    } catch (const std::system_error& error) {
      EXPECT_EQ(error.code(), refusal);
    }
    EXPECT_EQ(openDescriptors(), before);
    EXPECT_FALSE(hasChild());
  }

  TemporaryFolder folder;
};

TEST_F(PortHelperTest, OneThatIsNotThereChangesNothing) {
  expectRefusal(folder / "nothing");
  expectRefusal(folder.path());
  expectRefusal(folder.write("not executable", "#!/bin/sh\n"));
  expectRefusal("");
}

TEST_F(PortHelperTest, OneThatEndsWithoutAnAnswerChangesNothing) {
  expectRefusal(program("#!/bin/sh\nexit 0\n"));
  expectRefusal(program("#!/bin/sh\nexit 1\n"));
}

TEST_F(PortHelperTest, OneThatCrashesChangesNothing) {
  expectRefusal(program("#!/bin/sh\nkill -SEGV $$\n"));
}

TEST_F(PortHelperTest, OneThatHangsIsEnded) {
  expectRefusal(program("#!/bin/sh\nexec sleep 1000\n"), std::chrono::milliseconds(200));
}

TEST_F(PortHelperTest, OneThatHangsAfterItsAnswerIsEnded) {
  expectRefusal(program("#!/bin/sh\nprintf '\\r\\0\\0\\0' >&3\nexec sleep 1000\n"));
}

TEST_F(PortHelperTest, RubbishIsNoAnswer) {
  expectRefusal(program("#!/bin/sh\nprintf x >&3\n"));
  expectRefusal(program("#!/bin/sh\nprintf 'far more than an answer has' >&3\n"));
  expectRefusal(program("#!/bin/sh\nprintf '\\377\\377\\377\\377' >&3\n"));
}

TEST_F(PortHelperTest, SuccessWithoutASocketIsNoAnswer) {
  expectRefusal(program("#!/bin/sh\nprintf '\\0\\0\\0\\0' >&3\n"));
}

TEST_F(PortHelperTest, AnotherDescriptorThanAListenerOnThePortIsNoAnswer) {
  expectRefusal(python("socket.send_fds(channel, [bytes(4)], [0])\n"));
  expectRefusal(python("socket.send_fds(channel, [bytes(4)], [listener().fileno()])\n"));
  expectRefusal(
      python("s = listener(); s.listen()\n"
             "socket.send_fds(channel, [bytes(4)], [s.fileno()])\n"));
  expectRefusal(
      python("s = listener(socket.SOCK_DGRAM)\n"
             "socket.send_fds(channel, [bytes(4)], [s.fileno()])\n"));
}

TEST_F(PortHelperTest, ManyDescriptorsAreClosed) {
  expectRefusal(python("socket.send_fds(channel, [bytes(4)], [0] * 100)\n"));
  expectRefusal(python("socket.send_fds(channel, [b'rubbish'], [0, 1])\n"));
}

TEST_F(PortHelperTest, ThatItMayNotEitherIsTheRefusal) {
  expectRefusal(program("#!/bin/sh\nprintf '\\r\\0\\0\\0' >&3\n"));  // EACCES
}

TEST_F(PortHelperTest, ThatThePortIsTakenIsReported) {
  try {
    PortHelper(program("#!/bin/sh\nprintf 'b\\0\\0\\0' >&3\n")).listen(refusal);
    ADD_FAILURE() << "a socket was taken";
  } catch (const std::system_error& error) {
    EXPECT_EQ(error.code(), std::errc::address_in_use);
  }
}

TEST_F(PortHelperTest, ItStartsWithTheChannelAloneAndWithoutAnEnvironment) {
  const auto report = folder / "report";
  expectRefusal(
      program("#!/usr/bin/python3\nimport os\n"
              "with open('" +
              report.string() +
              "', 'w') as report:\n"
              "    own = report.fileno()\n"
              "    open_ones = [n for n in map(int, os.listdir('/proc/self/fd'))\n"
              "                 if n < 100 and os.path.exists(f'/proc/self/fd/{n}')\n"
              "                 and n != own]\n"
              "    environment = open('/proc/self/environ').read()\n"
              "    print(open_ones, repr(environment), file=report)\n"));
  EXPECT_EQ(test::contentOf(report), "[0, 1, 2, 3] ''\n");
}

// Runs the real helper. It needs root or the capability, which the system tests give it.

class RealPortHelper : public testing::Test {
 protected:
  static void inNetwork(const std::function<void()>& steps) {
    if (!inNetworkNamespace(steps)) GTEST_SKIP() << "network namespaces need root";
  }

  const PortHelper helper{TARVINEL_BIND_HELPER};
};

TEST_F(RealPortHelper, PassesAListenerOnPort80ThatNoChildOfThisProgramInherits) {
  inNetwork([this] {
    const long before = openDescriptors();
    UniqueFd listener = helper.listen(refusal);
    sockaddr_in6 address{};
    address.sin6_family = AF_INET6;
    address.sin6_port = htons(80);
    address.sin6_addr = in6addr_loopback;
    const UniqueFd client(::socket(AF_INET6, SOCK_STREAM, 0));
    EXPECT_EQ(::connect(client.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address),
              0);
    EXPECT_TRUE(UniqueFd(::accept(listener.get(), nullptr, nullptr)));
    EXPECT_EQ(::fcntl(listener.get(), F_GETFD), FD_CLOEXEC);
    listener.reset();
    EXPECT_EQ(openDescriptors(), before + 1);
    EXPECT_FALSE(hasChild());
  });
}

TEST_F(RealPortHelper, SaysThatThePortIsTaken) {
  inNetwork([this] {
    const ListeningSocket holder = listenOnAllAddresses(80);
    ASSERT_EQ(holder.error, 0);
    try {
      helper.listen(refusal);
      ADD_FAILURE() << "a socket was taken";
    } catch (const std::system_error& error) {
      EXPECT_EQ(error.code(), std::errc::address_in_use);
    }
  });
}

TEST(PortHelperPlace, IsBesideTheProgramOrInLibexec) {
  const TemporaryFolder folder;
  EXPECT_EQ(PortHelper::placeFor(folder / "bin/tarvinel"),
            folder / "libexec/tarvinel/tarvinel-bind");
  folder.write("bin/tarvinel-bind", "");
  EXPECT_EQ(PortHelper::placeFor(folder / "bin/tarvinel"), folder / "bin/tarvinel-bind");
}

}  // namespace
}  // namespace tarvinel
