#include "app/capture/x11/windows/ClientProcesses.h"
#include "app/x11/Connection.h"
#include "app/x11/Error.h"
#include "app/x11/Property.h"
#include "tests/support/XClient.h"
#include "tests/support/XServer.h"
#include "tests/support/XWindow.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <unistd.h>

namespace tarvinel::x11 {
namespace {

using testing::Pair;
using testing::UnorderedElementsAre;
using Words = std::vector<std::uint32_t>;

std::span<const std::byte> bytesOf(const Words& words) {
  return std::as_bytes(std::span(words));
}

TEST(ParseClientProcesses, ReadsEachClientsProcess) {
  const Words words{0x200000, 2, 4, 1234, 0x400000, 2, 0, 0x600000, 2, 8, 5678, 9};
  EXPECT_THAT(parseClientProcesses(bytesOf(words), 3),
              UnorderedElementsAre(Pair(0x200000U, 1234), Pair(0x600000U, 5678)));
}

TEST(ParseClientProcesses, RefusesWhatIsCutOff) {
  for (const Words& words : {Words{}, Words{1}, Words{1, 2}, Words{1, 2, 4}, Words{1, 2, 4000, 5},
                             Words{1, 2, 0xFFFFFFFF, 5}}) {
    EXPECT_THROW(parseClientProcesses(bytesOf(words), 1), Error);
  }
}

TEST(X11ClientProcesses, KnowsWhoMadeAWindow) {
  const XServer server;
  const XClient client(server.display());
  const Connection connection(server.display());
  const ClientProcesses processes(connection, Atoms(connection), {});
  EXPECT_EQ(processes.processOf(xcb_generate_id(client.get())), getpid());
  EXPECT_EQ(processes.processOf(0x1FE00001), 0);
}

TEST(X11ClientProcesses, BelievesNoClaimAgainstTheServer) {
  const XServer server;
  XClient client(server.display());
  XWindow window(client, {0, 0, 10, 10}, {});
  window.setNumbers("_NET_WM_PID", "CARDINAL", {4321});
  const Connection connection(server.display());
  const ClientProcesses processes(connection, Atoms(connection), {window.id()});
  EXPECT_EQ(processes.processOf(window.id()), getpid());
}

TEST(X11ClientProcesses, WithoutTheExtensionAWindowTellsForItsClient) {
  const XServer server("320x240x24", {"-extension", "X-Resource"});
  XClient client(server.display());
  XClient other(server.display());
  XWindow window(client, {0, 0, 10, 10}, {});
  const XWindow sibling(client, {0, 0, 10, 10}, {});
  const XWindow ofAnother(other, {0, 0, 10, 10}, {});
  const Connection connection(server.display());
  const Atoms atoms(connection);
  const std::vector<xcb_window_t> windows{sibling.id(), window.id(), ofAnother.id()};
  EXPECT_EQ(ClientProcesses(connection, atoms, windows).processOf(window.id()), 0);
  window.setNumbers("_NET_WM_PID", "CARDINAL", {4321});
  const ClientProcesses processes(connection, atoms, windows);
  EXPECT_EQ(processes.processOf(window.id()), 4321);
  EXPECT_EQ(processes.processOf(sibling.id()), 4321);
  EXPECT_EQ(processes.processOf(ofAnother.id()), 0);
}

}  // namespace
}  // namespace tarvinel::x11
