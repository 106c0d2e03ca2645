#include "app/doctor/PortCheck.h"
#include "core/http/ListeningSocket.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>

namespace tarvinel {
namespace {

using enum Finding::State;
using Helper = PortProbe::Helper;

const std::string otherPort = R"(Or set "port" in config.json, or start with --port 8080.)";

TEST(PortCheck, AFreePort) {
  EXPECT_EQ(judge(PortProbe{.port = 8080}), (Findings{{fine, "Port 8080 is free.", {}}}));
  EXPECT_EQ(judge(PortProbe{.port = 80, .helper = Helper::listens}),
            (Findings{{fine, "Port 80 is free, and the helper may listen on it.", {}}}));
  EXPECT_EQ(judge(PortProbe{.port = 0}),
            (Findings{{fine, "Any free port will do, as asked for.", {}}}));
}

TEST(PortCheck, ATakenPortAndWhoHasIt) {
  EXPECT_EQ(judge(PortProbe{.port = 80, .error = EADDRINUSE}),
            (Findings{{needsAttention, "Port 80 is taken.", {otherPort}}}));
  EXPECT_EQ(
      judge(PortProbe{.port = 80, .error = EADDRINUSE, .holder = PortHolder{"www", "nginx", 42}}),
      (Findings{{needsAttention,
                 "Port 80 is taken by nginx (process 42, user www).",
                 {"End that program if it may end.", otherPort}}}));
  EXPECT_EQ(
      judge(PortProbe{.port = 80, .error = EADDRINUSE, .holder = PortHolder{"root", "", 0}}),
      (Findings{{needsAttention,
                 "Port 80 is taken by a program of the user root.",
                 {"See which: sudo ss -ltnp sport = :80. End it if it may end.", otherPort}}}));
}

TEST(PortCheck, ThatTarvinelRunsAlreadyIsWorthKnowing) {
  EXPECT_EQ(
      judge(PortProbe{.port = 80, .error = EADDRINUSE, .holder = PortHolder{"me", "tarvinel", 42}}),
      (Findings{{worthKnowing, "Tarvinel is running already and has port 80 (process 42).", {}}}));
}

TEST(PortCheck, APortThatThisUserMayNotHave) {
  EXPECT_EQ(judge(PortProbe{.port = 80,
                            .error = EACCES,
                            .helper = Helper::mayNot,
                            .helperPlace = "/usr/libexec/tarvinel/tarvinel-bind"}),
            (Findings{{needsAttention,
                       "This user may not listen on port 80.",
                       {"Let the helper: sudo setcap cap_net_bind_service=ep "
                        "/usr/libexec/tarvinel/tarvinel-bind",
                        otherPort}}}));
  EXPECT_EQ(judge(PortProbe{.port = 80,
                            .error = EACCES,
                            .helper = Helper::isMissing,
                            .helperPlace = "/usr/libexec/tarvinel/tarvinel-bind"}),
            (Findings{{needsAttention,
                       "This user may not listen on port 80.",
                       {"The helper that may is not at /usr/libexec/tarvinel/tarvinel-bind: "
                        "install Tarvinel again.",
                        otherPort}}}));
  EXPECT_EQ(judge(PortProbe{.port = 443, .error = EACCES}),
            (Findings{{needsAttention,
                       "This user may not listen on port 443.",
                       {R"(Set "port" in config.json to 80, which the helper may use, or to one )"
                        "above 1023."}}}));
}

TEST(PortCheck, AnyOtherRefusal) {
  EXPECT_EQ(judge(PortProbe{.port = 80, .error = EADDRNOTAVAIL}),
            (Findings{{needsAttention,
                       "Port 80 cannot be listened on: Cannot assign requested address.",
                       {}}}));
}

std::uint16_t portOf(const ListeningSocket& listening) {
  sockaddr_in6 address{};
  socklen_t size = sizeof address;
  EXPECT_EQ(::getsockname(listening.socket.get(), reinterpret_cast<sockaddr*>(&address), &size), 0);
  return ntohs(address.sin6_port);
}

TEST(PortProbe, OfARealPort) {
  std::uint16_t port = 0;
  {
    const ListeningSocket taken = listenOnAllAddresses(0);
    port = portOf(taken);
    const auto probe = PortProbe::of(port, "/nowhere");
    EXPECT_EQ(probe.error, EADDRINUSE);
    ASSERT_TRUE(probe.holder);
    EXPECT_EQ(probe.holder->process, ::getpid());
    EXPECT_EQ(probe.holder->program, "tarvinel_tests");
  }
  EXPECT_EQ(PortProbe::of(port, "/nowhere").error, 0);
  EXPECT_EQ(listenOnAllAddresses(port).error, 0) << "it was given back";
}

TEST(PortProbe, OfARefusalAreWhatTheDoctorWouldFind) {
  const test::TemporaryFolder folder;
  const auto helper = folder.write("tarvinel-bind", "");
  const auto refused = PortProbe::afterRefusal(80, EACCES, helper);
  EXPECT_EQ(judge(refused).front().advice.front(),
            "Let the helper: sudo setcap cap_net_bind_service=ep " + helper.string());
  EXPECT_EQ(PortProbe::afterRefusal(80, EACCES, folder / "none").helper, Helper::isMissing);
  EXPECT_EQ(PortProbe::afterRefusal(443, EACCES, helper).helper, Helper::notAsked);
  const ListeningSocket taken = listenOnAllAddresses(0);
  const auto probe = PortProbe::afterRefusal(portOf(taken), EADDRINUSE, helper);
  ASSERT_TRUE(probe.holder);
  EXPECT_EQ(probe.holder->process, ::getpid());
}

TEST(ListeningEntry, IsFoundInTheKernelsTable) {
  constexpr std::string_view table =
      "  sl  local_address rem_address   st tx_queue rx_queue tr tm->when retrnsmt   uid  timeout "
      "inode\n"
      "   0: 0100007F:0277 00000000:0000 0A 00000000:00000000 00:00000000 00000000     0        0 "
      "11 1 00000000aaaaaaaa 100 0 0 10 0\n"
      "   1: 00000000:0050 0A0B0C0D:1234 01 00000000:00000000 00:00000000 00000000     7        0 "
      "12 1 00000000aaaaaaaa 100 0 0 10 0\n"
      "   2: 00000000:0050 00000000:0000 0A 00000000:00000000 00:00000000 00000000    33        0 "
      "13 1 00000000aaaaaaaa 100 0 0 10 0\n";
  EXPECT_EQ(listeningEntry(table, 80), (ListeningEntry{33, 13}));
  EXPECT_EQ(listeningEntry(table, 631), (ListeningEntry{0, 11}));
  EXPECT_EQ(listeningEntry(table, 8080), std::nullopt);
}

TEST(ListeningEntry, RubbishIsPassedOver) {
  EXPECT_EQ(listeningEntry("", 80), std::nullopt);
  EXPECT_EQ(listeningEntry("0: 00000000:0050\n\n\xff :0050 x 0A\n", 80), std::nullopt);
  EXPECT_EQ(listeningEntry("0: 0:0050 0:0 0A 0 0 0 many 0 13\n", 80), std::nullopt);
}

TEST(PortHolder, IsNamelessWhereTheProcessCannotBeSeen) {
  const test::TemporaryFolder proc;
  proc.write("net/tcp", "0: 00000000:0050 00000000:0000 0A 0:0 0:0 0 4242424 0 13\n");
  proc.write("42/comm", "nginx\n");
  EXPECT_EQ(PortHolder::of(80, proc.path()), (PortHolder{"4242424", "", 0}));
  EXPECT_EQ(PortHolder::of(81, proc.path()), std::nullopt);
}

TEST(PortHolder, IsFoundByItsSocket) {
  const test::TemporaryFolder proc;
  proc.write("net/tcp6", "0: 00:0050 00:0000 0A 0:0 0:0 0 0 0 13\n");
  proc.write("42/comm", "nginx\n");
  std::filesystem::create_directories(proc / "42/fd");
  std::filesystem::create_symlink("socket:[13]", proc / "42/fd/5");
  EXPECT_EQ(PortHolder::of(80, proc.path()), (PortHolder{"root", "nginx", 42}));
}

}  // namespace
}  // namespace tarvinel
