#include "core/http/HTTPResponse.h"
#include "core/http/StreamServer.h"
#include "core/pages/HelpPage.h"
#include "core/pages/ViewerPage.h"
#include "tests/support/CapturedLog.h"
#include "tests/support/Eventually.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/TestClient.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/stat.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <future>
#include <memory>
#include <optional>
#include <string>
#include <system_error>
#include <vector>

namespace tarvinel {
namespace {

using test::CapturedLog;
using test::eventually;
using test::TemporaryFolder;
using test::TestClient;
using testing::Contains;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::Not;
using testing::StartsWith;

Frame frameOf(std::string_view content) {
  return std::make_shared<const Bytes>(bytesOf(content));
}

std::string bytes(const Bytes& response) {
  return std::string(textOf(response));
}

Result<std::uint16_t> started(StreamServer& server) {
  std::promise<Result<std::uint16_t>> outcome;
  server.start([&outcome](Result<std::uint16_t> port) { outcome.set_value(std::move(port)); });
  return outcome.get_future().get();
}

/// Runs a server on a free port of this computer.
class StreamServerTest : public testing::Test {
 protected:
  StreamServer::Options options(std::uint16_t onPort = 0) {
    return {.port = onPort,
            .status = [] { return StatusSnapshot{true, 99, "Display 1", 12, "1.2", "34"}; }};
  }

  void serve(const StreamServer::Options& with) {
    server = std::make_unique<StreamServer>(broadcaster, log.category("server"), with);
    port = started(*server).value();
  }
  void serve() { serve(options()); }

  TestClient requested(const std::string& head) const {
    TestClient client(port);
    client.send(head);
    return client;
  }

  std::string response(const std::string& head) const { return requested(head).readToEnd(); }

  /// Returns a viewer that has been counted and has read the head of the stream.
  TestClient viewer(int receiveBuffer = 0) {
    const std::size_t before = broadcaster.viewerCount();
    TestClient client(port, receiveBuffer);
    client.send("GET /stream HTTP/1.1\r\n\r\n");
    EXPECT_EQ(client.readUntil("\r\n\r\n"), bytes(HTTPResponse::mjpegHead()));
    EXPECT_TRUE(eventually([&] { return broadcaster.viewerCount() == before + 1; }));
    return client;
  }

  std::vector<std::string> linesWith(std::string_view text) const {
    std::vector<std::string> lines = log.lines();
    std::erase_if(lines,
                  [&](const std::string& line) { return line.find(text) == std::string::npos; });
    return lines;
  }

  /// Returns how many rejections some throttled lines stand for.
  static int refusedBy(const std::vector<std::string>& lines) {
    constexpr std::string_view before = "(the last of ";
    int count = 0;
    for (const std::string& line : lines) {
      const auto at = line.find(before);
      count += at == std::string::npos ? 1 : std::stoi(line.substr(at + before.size()));
    }
    return count;
  }

  CapturedLog log;
  FrameBroadcaster broadcaster;
  std::unique_ptr<StreamServer> server;
  std::uint16_t port = 0;
};

// Listening

TEST_F(StreamServerTest, Port0GivesThePortThatIsListenedOnAndLogsIt) {
  serve();
  EXPECT_NE(port, 0);
  EXPECT_THAT(response("GET /nowhere HTTP/1.1\r\n\r\n"), StartsWith("HTTP/1.1 404 Not Found\r\n"));
  EXPECT_THAT(log.lines(), Contains("server|info|listening on port " + std::to_string(port)));
}

TEST_F(StreamServerTest, ASecondStartIsRefusedAndTheFirstGoesOn) {
  serve();
  const auto again = started(*server);
  ASSERT_FALSE(again.ok());
  try {
    again.value();
  } catch (const StreamServerError& error) {
    EXPECT_EQ(error.kind(), StreamServerError::Case::alreadyRunning);
  }
  EXPECT_THAT(response("GET / HTTP/1.1\r\n\r\n"), StartsWith("HTTP/1.1 200 OK\r\n"));
}

TEST_F(StreamServerTest, APortInUseFailsWithThePlatformsErrorAndALaterStartIsAllowed) {
  serve();
  StreamServer second(broadcaster, log.category("server"), options(port));
  for (int attempt = 0; attempt < 2; ++attempt) {
    const auto outcome = started(second);
    ASSERT_FALSE(outcome.ok());
    try {
      outcome.value();
    } catch (const StreamServerError& error) {
      EXPECT_EQ(error.kind(), StreamServerError::Case::bindFailed);
      EXPECT_EQ(error.code(), std::errc::address_in_use);
      EXPECT_STREQ(error.what(), "Address already in use");
    }
  }
  EXPECT_THAT(log.lines(), Contains("server|error|listener failed: Address already in use"));
  server->stop();
  EXPECT_EQ(started(second).value(), port);
}

TEST_F(StreamServerTest, AfterStopTheSamePortCanBeListenedOnAtOnce) {
  serve();
  const TestClient watching = viewer();  // leaves a connection behind in the kernel
  server->stop();
  serve(options(port));
  EXPECT_THAT(response("GET / HTTP/1.1\r\n\r\n"), StartsWith("HTTP/1.1 200 OK\r\n"));
}

TEST_F(StreamServerTest, StopClosesViewersAndIdleConnectionsAndReportsNothing) {
  serve();
  TestClient watching = viewer();
  TestClient idle(port);
  ASSERT_TRUE(eventually([&] { return server->debugConnectionCount() == 2; }));
  server->stop();
  EXPECT_EQ(server->debugConnectionCount(), 0U);
  EXPECT_EQ(broadcaster.viewerCount(), 0U);
  EXPECT_EQ(watching.readToEnd(), "");
  EXPECT_EQ(idle.readToEnd(), "");
  EXPECT_THAT(log.lines(), Not(Contains(HasSubstr("failed"))));
  server->stop();
}

TEST_F(StreamServerTest, OverTheCapAConnectionIsClosedWithoutAByteUntilOneIsFree) {
  auto with = options();
  with.maxConnections = 2;
  serve(with);
  TestClient first(port);
  TestClient second(port);
  ASSERT_TRUE(eventually([&] { return server->debugConnectionCount() == 2; }));
  TestClient third(port);
  EXPECT_EQ(third.readToEnd(), "");
  EXPECT_THAT(log.lines(),
              Contains(MatchesRegex(
                  "server\\|info\\|connection cap \\(2\\) reached; refusing 127\\.0\\.0\\.1:.*")));
  first.close();
  ASSERT_TRUE(eventually([&] { return server->debugConnectionCount() == 1; }));
  EXPECT_THAT(response("GET / HTTP/1.1\r\n\r\n"), StartsWith("HTTP/1.1 200 OK\r\n"));
}

// Responses

TEST_F(StreamServerTest, AFloodOfRefusedConnectionsIsLoggedOnceASecondWithACount) {
  auto limited = options();
  limited.maxConnections = 1;
  serve(limited);
  const TestClient admitted(port);
  constexpr int refused = 500;
  const auto begin = std::chrono::steady_clock::now();
  for (int i = 0; i < refused; ++i)
    TestClient(port).readToEnd();
  server->stop();  // logs the pending lines
  const auto end = std::chrono::steady_clock::now();
  const auto lines = linesWith("connection cap (1) reached; refusing 127.0.0.1:");
  EXPECT_EQ(refusedBy(lines), refused);
  EXPECT_LE(static_cast<std::int64_t>(lines.size()),
            std::chrono::ceil<std::chrono::seconds>(end - begin).count() + 1);
}

TEST_F(StreamServerTest, ASingleRefusalIsLoggedAtOnceAndTheNextOneToo) {
  auto limited = options();
  limited.maxConnections = 1;
  serve(limited);
  const TestClient admitted(port);
  for (std::size_t count = 1; count < 3; ++count) {
    TestClient(port).readToEnd();
    EXPECT_TRUE(eventually(
        [&] { return linesWith("connection cap (1) reached; refusing 127").size() == count; }));
  }
}

TEST_F(StreamServerTest, AFloodOfTooLongHeadsIsLoggedOnceASecondWithACount) {
  serve();
  constexpr int flood = 200;
  const auto begin = std::chrono::steady_clock::now();
  for (int i = 0; i < flood; ++i) {
    TestClient client(port);
    client.trySend("GET / HTTP/1.1\r\nX: " + std::string(20000, 'a'));
    client.readToEnd();
  }
  server->stop();
  const auto end = std::chrono::steady_clock::now();
  const auto lines = linesWith("request head over 16 KiB from 127.0.0.1:");
  EXPECT_EQ(refusedBy(lines), flood);
  EXPECT_LE(static_cast<std::int64_t>(lines.size()),
            std::chrono::ceil<std::chrono::seconds>(end - begin).count() + 1);
}

TEST_F(StreamServerTest, WhatAClientSentCannotBeginALineOfTheLogOrSteerATerminal) {
  serve();
  response("G\x1bT /a\nserver|info|\u009b31m HTTP/1.1\r\n\r\n");
  EXPECT_THAT(linesWith("server|debug|"),
              ElementsAre(StartsWith(
                  R"(server|debug|G\x1bT /a\x0aserver|info|\u009b31m from 127.0.0.1:)")));
}

TEST_F(StreamServerTest, ServesTheViewerPage) {
  serve();
  EXPECT_EQ(response("GET / HTTP/1.1\r\nHost: a\r\n\r\n"),
            bytes(HTTPResponse::html(ViewerPage::html())));
  EXPECT_EQ(response("GET /index.html?x HTTP/1.1\r\n\r\n"),
            bytes(HTTPResponse::html(ViewerPage::html())));
}

TEST_F(StreamServerTest, ServesThePagesWithTheBrandAndTheHelpPageWithTheHostName) {
  const BrandConfig brand{.name = "A&B", .waiting = "Soon"};
  auto branded = options();
  branded.brand = brand;
  branded.hostname = "studio";
  serve(branded);
  EXPECT_EQ(response("GET / HTTP/1.1\r\n\r\n"), bytes(HTTPResponse::html(ViewerPage::html(brand))));
  const std::string help = bytes(HTTPResponse::html(HelpPage::html(brand, "studio")));
  EXPECT_EQ(response("GET /help HTTP/1.1\r\n\r\n"), help);
  EXPECT_EQ(response("HEAD /help/ HTTP/1.1\r\n\r\n"), help);
}

TEST_F(StreamServerTest, ServesTheBrandsFiles) {
  const TemporaryFolder folder;
  auto branded = options();
  branded.brand = BrandConfig{.image = folder.write("logo.svg", "<svg/>").native(),
                              .font = folder.write("brand.woff2", "wOF2").native()};
  serve(branded);
  EXPECT_EQ(response("GET /brand/image HTTP/1.1\r\n\r\n"),
            "HTTP/1.1 200 OK\r\nContent-Type: image/svg+xml\r\nContent-Length: 6\r\n"
            "Cache-Control: public, max-age=300\r\nConnection: close\r\n"
            "X-Content-Type-Options: nosniff\r\nX-Frame-Options: DENY\r\n"
            "Content-Security-Policy: default-src 'none'; style-src 'unsafe-inline'\r\n\r\n<svg/>");
  EXPECT_EQ(response("HEAD /brand/font HTTP/1.1\r\n\r\n"),
            "HTTP/1.1 200 OK\r\nContent-Type: font/woff2\r\nContent-Length: 4\r\n"
            "Cache-Control: public, max-age=300\r\nConnection: close\r\n"
            "X-Content-Type-Options: nosniff\r\nX-Frame-Options: DENY\r\n"
            "Content-Security-Policy: default-src 'none'; style-src 'unsafe-inline'\r\n\r\nwOF2");
}

TEST_F(StreamServerTest, ServesALargeLogoAndNotALargerOne) {
  const TemporaryFolder folder;
  const auto logo = folder.write("logo.png", "");
  auto branded = options();
  branded.brand = BrandConfig{.image = logo.native()};
  std::filesystem::resize_file(logo, 10485760);
  serve(branded);
  EXPECT_THAT(response("GET /brand/image HTTP/1.1\r\n\r\n"),
              EndsWith("\r\n\r\n" + std::string(10485760, '\0')));
  std::filesystem::resize_file(logo, 10485761);
  serve(branded);
  EXPECT_EQ(response("GET /brand/image HTTP/1.1\r\n\r\n"), bytes(HTTPResponse::notFound()));
}

TEST_F(StreamServerTest, ReadsTheBrandsFilesOnlyWhenItStarts) {
  const TemporaryFolder folder;
  auto branded = options();
  branded.brand = BrandConfig{.image = folder.write("logo.png", "one").native()};
  serve(branded);
  folder.write("logo.png", "two");
  EXPECT_THAT(response("GET /brand/image HTTP/1.1\r\n\r\n"), EndsWith("\r\n\r\none"));
  server->stop();
  port = started(*server).value();
  EXPECT_THAT(response("GET /brand/image HTTP/1.1\r\n\r\n"), EndsWith("\r\n\r\ntwo"));
}

TEST_F(StreamServerTest, AStopWhileTheBrandsFilesAreReadEndsTheStart) {
  const TemporaryFolder folder;
  const auto logo = folder.write("logo.png", "");
  std::filesystem::resize_file(logo, 10485760);
  auto branded = options();
  branded.brand = BrandConfig{.image = logo.native(), .font = logo.native()};
  server = std::make_unique<StreamServer>(broadcaster, log.category("server"), branded);
  std::promise<Result<std::uint16_t>> outcome;
  server->start([&](Result<std::uint16_t> result) { outcome.set_value(std::move(result)); });
  server->stop();
  const auto first = outcome.get_future().get();
  // a start that was faster than the stop succeeded; either way nothing is left running
  if (!first.ok()) {
    EXPECT_EQ(describe(first.error()), "the server was stopped before it was ready");
  }
  EXPECT_TRUE(started(*server).ok());
}

TEST_F(StreamServerTest, FilesOfTheBrandThatCannotBeReadAreNotFoundAndHoldNothingUp) {
  const TemporaryFolder folder;
  ASSERT_EQ(::mkfifo((folder / "pipe.png").c_str(), 0600), 0);
  auto branded = options();
  branded.brand = BrandConfig{.image = (folder / "pipe.png").native(), .font = "/dev/zero.woff2"};
  serve(branded);
  EXPECT_EQ(response("GET /brand/image HTTP/1.1\r\n\r\n"), bytes(HTTPResponse::notFound()));
  EXPECT_EQ(response("GET /brand/font HTTP/1.1\r\n\r\n"), bytes(HTTPResponse::notFound()));
}

TEST_F(StreamServerTest, HEADIsAnsweredLikeGETBodyIncluded) {
  serve();
  EXPECT_EQ(response("HEAD / HTTP/1.1\r\n\r\n"), bytes(HTTPResponse::html(ViewerPage::html())));
}

TEST_F(StreamServerTest, StatusCountsTheBroadcastersViewers) {
  serve();
  const TestClient one = viewer();
  const TestClient two = viewer();
  EXPECT_EQ(
      response("GET /status HTTP/1.1\r\n\r\n"),
      bytes(HTTPResponse::json(
          R"({"sharing":true,"viewers":2,"source":"Display 1","fps":12,"version":"1.2","build":"34"})")));
}

TEST_F(StreamServerTest, UnknownPathsAndAbsentPartsAreNotFound) {
  serve();
  const std::string notFound = bytes(HTTPResponse::notFound());
  for (const char* path :
       {"/nowhere", "/brand/image", "/brand/font", "/upload", "/upload/status"}) {
    EXPECT_EQ(response(std::string("GET ") + path + " HTTP/1.1\r\n\r\n"), notFound) << path;
  }
  EXPECT_EQ(response("PUT /upload/ann/a.jpg HTTP/1.1\r\nContent-Length: 1\r\n\r\nx"), notFound);
}

TEST_F(StreamServerTest, OtherMethodsAreNotAllowed) {
  serve();
  const std::string refused = bytes(HTTPResponse::methodNotAllowed());
  EXPECT_EQ(response("POST / HTTP/1.1\r\n\r\n"), refused);
  EXPECT_EQ(response("PUT / HTTP/1.1\r\n\r\n"), refused);
}

TEST_F(StreamServerTest, ALargeBodyThatNobodyReadsDoesNotCostTheClientItsAnswer) {
  serve();
  TestClient client = requested("POST / HTTP/1.1\r\nContent-Length: 4000000\r\n\r\n");
  client.trySend(std::string(4000000, 'x'));
  EXPECT_EQ(client.readToEnd(), bytes(HTTPResponse::methodNotAllowed()));
}

TEST_F(StreamServerTest, BytesAfterTheHeadAreIgnored) {
  serve();
  EXPECT_EQ(response("GET /nowhere HTTP/1.1\r\n\r\nGET / HTTP/1.1\r\n\r\n"),
            bytes(HTTPResponse::notFound()));
}

TEST_F(StreamServerTest, AHeadMayComeByteByByte) {
  serve();
  TestClient client(port);
  for (const char character : std::string_view("GET /nowhere HTTP/1.1\r\nA: b\r\n\r\n")) {
    client.send({&character, 1});
  }
  EXPECT_EQ(client.readToEnd(), bytes(HTTPResponse::notFound()));
}

TEST_F(StreamServerTest, AnAnsweredConnectionIsNoLongerCounted) {
  serve();
  TestClient client = requested("GET / HTTP/1.1\r\n\r\n");
  EXPECT_TRUE(eventually([&] { return server->debugConnectionCount() == 0; }));
  client.readToEnd();
}

// Foreign names

TEST_F(StreamServerTest, UnderAForeignNameEverythingIsRedirectedToTheAddressByNumber) {
  serve();
  const std::string here = "http://127.0.0.1:" + std::to_string(port);
  for (const char* path : {"/", "/status", "/stream", "/nowhere", "/upload/Sam/a.jpg"}) {
    for (const char* method : {"GET", "HEAD", "PUT", "POST"}) {
      EXPECT_EQ(response(std::string(method) + " " + path +
                         "?query HTTP/1.1\r\nHost: evil.example\r\n\r\n"),
                bytes(HTTPResponse::temporaryRedirect(here + path)));
    }
  }
}

TEST_F(StreamServerTest, UnderItsOwnNamesAndWithoutAnyItAnswers) {
  auto named = options();
  named.allowedHosts = {"screen.example.org"};
  serve(named);
  for (const char* host : {"Host: 127.0.0.1\r\n", "Host: tarvinel.local:8080\r\n", "Host:\r\n", "",
                           "Host: Screen.Example.org\r\n", "host:  localhost  \r\n"}) {
    EXPECT_EQ(response(std::string("GET /nowhere HTTP/1.1\r\n") + host + "\r\n"),
              bytes(HTTPResponse::notFound()))
        << host;
  }
}

TEST_F(StreamServerTest, OfSeveralHostLinesTheLastOneCounts) {
  serve();
  const std::string request = "GET /nowhere HTTP/1.1\r\n";
  const std::string own = "Host: localhost\r\n";
  const std::string foreign = "Host: evil.example\r\n";
  EXPECT_EQ(response(request + foreign + own + "\r\n"), bytes(HTTPResponse::notFound()));
  EXPECT_THAT(response(request + own + foreign + "\r\n"), StartsWith("HTTP/1.1 307 "));
}

TEST_F(StreamServerTest, AnAbsoluteTargetIsNoRequest) {
  serve();
  TestClient client = requested("GET http://localhost/status HTTP/1.1\r\nHost: localhost\r\n\r\n");
  client.shutdownSend();
  EXPECT_EQ(client.readToEnd(), "");
}

TEST_F(StreamServerTest, ARedirectCarriesNothingButAPath) {
  serve();
  const std::string here = "http://127.0.0.1:" + std::to_string(port);
  const auto redirected = [&](const std::string& path) {
    return response("GET " + path + " HTTP/1.1\r\nHost: evil.example\r\n\r\n");
  };
  EXPECT_EQ(
      redirected("/a\nSet-Cookie:\tb\rc\u00e9\x7f<>%41"),
      bytes(HTTPResponse::temporaryRedirect(here + "/a%0ASet-Cookie:%09b%0Dc%C3%A9%7F%3C%3E%41")));
  EXPECT_EQ(redirected("//evil.example/"),
            bytes(HTTPResponse::temporaryRedirect(here + "//evil.example/")));
}

// Bad heads

TEST_F(StreamServerTest, ASilentClientIsClosedAfterTheHeadTimeout) {
  auto with = options();
  with.headTimeout = std::chrono::milliseconds(50);
  serve(with);
  TestClient silent(port);
  EXPECT_EQ(silent.readToEnd(), "");
  EXPECT_THAT(log.lines(),
              Contains(MatchesRegex("server\\|info\\|request head not received in 0\\.050000s from "
                                    "127\\.0\\.0\\.1:.*; closing")));
}

TEST_F(StreamServerTest, AViewerOutlivesTheHeadTimeout) {
  auto with = options();
  with.headTimeout = std::chrono::milliseconds(50);
  serve(with);
  TestClient watching = viewer();
  TestClient silent(port);
  EXPECT_EQ(silent.readToEnd(), "");  // accepted later, and closed by now
  broadcaster.publish(frameOf("a"));
  EXPECT_EQ(watching.readPart(), "a");
}

TEST_F(StreamServerTest, AHeadOver16KiBIsClosedWithoutAnAnswer) {
  serve();
  TestClient client(port);
  client.trySend("GET / HTTP/1.1\r\nX: " + std::string(20000, 'x'));
  EXPECT_EQ(client.readToEnd(), "");
  EXPECT_THAT(log.lines(), Contains(MatchesRegex("server\\|error\\|request head over 16 KiB from "
                                                 "127\\.0\\.0\\.1:.*; closing")));
}

TEST_F(StreamServerTest, AHeadOfExactly16KiBWithoutItsEndIsWaitedOn) {
  serve();
  TestClient client(port);
  std::string head = "GET /nowhere HTTP/1.1\r\nX: ";
  head.append(ClientConnection::maxHeadBytes - head.size() - 3, 'x').append("\r\n\r");
  client.send(head);
  client.send("\n");
  EXPECT_EQ(client.readToEnd(), bytes(HTTPResponse::notFound()));
}

TEST_F(StreamServerTest, GarbageIsHeldUntilTheClientEnds) {
  serve();
  TestClient client(port);
  client.send(std::string("\0\xFF garbage\r\n\r\nmore\r\n\r\n", 22));
  client.shutdownSend();
  EXPECT_EQ(client.readToEnd(), "");
  EXPECT_TRUE(eventually([&] { return server->debugConnectionCount() == 0; }));
}

TEST_F(StreamServerTest, AClientThatResetsAtAnyPointLeavesNothingBehind) {
  serve();
  const std::string head = "GET /stream HTTP/1.1\r\n\r\n";
  for (std::size_t sent = 0; sent <= head.size(); ++sent) {
    TestClient client(port);
    client.send(head.substr(0, sent));
    client.reset();
  }
  EXPECT_TRUE(eventually(
      [&] { return server->debugConnectionCount() == 0 && broadcaster.viewerCount() == 0; }));
}

// Streaming

TEST_F(StreamServerTest, ANewViewerGetsTheHeadAndThenTheRetainedFrameAtOnce) {
  serve();
  broadcaster.publish(frameOf("retained"));
  TestClient watching = viewer();
  EXPECT_EQ(watching.readPart(), "retained");
}

TEST_F(StreamServerTest, EveryViewerGetsEveryFrameOfASlowSequence) {
  serve();
  TestClient one = viewer();
  TestClient two = viewer();
  for (const char* content : {"a", "bb", "ccc"}) {
    broadcaster.publish(frameOf(content));
    EXPECT_EQ(one.readPart(), content);
    EXPECT_EQ(two.readPart(), content);
  }
}

TEST_F(StreamServerTest, AScriptThatAsksForAnOctetStreamGetsTheSamePartsUnderThatType) {
  serve();
  broadcaster.publish(frameOf("a"));
  TestClient script = requested("GET /stream HTTP/1.1\r\nAccept: application/octet-stream\r\n\r\n");
  EXPECT_EQ(script.readUntil("\r\n\r\n"), bytes(HTTPResponse::scriptStreamHead()));
  EXPECT_EQ(script.readPart(), "a");
}

TEST_F(StreamServerTest, AnyOtherAcceptHeaderGetsTheMultipartStream) {
  serve();
  for (const char* accept : {"*/*", "application/octet-stream, */*", "Application/Octet-Stream",
                             "image/webp,*/*;q=0.8"}) {
    TestClient client =
        requested(std::string("GET /stream HTTP/1.1\r\nAccept: ") + accept + "\r\n\r\n");
    EXPECT_EQ(client.readUntil("\r\n\r\n"), bytes(HTTPResponse::mjpegHead())) << accept;
  }
}

TEST_F(StreamServerTest, OfThreeFramesThatComeWhileOneIsInFlightOnlyTheLastIsSent) {
  serve();
  TestClient slow = viewer(4096);
  const std::string large(8'000'000, 'L');  // more than the kernel accepts for a stopped reader
  broadcaster.publish(frameOf(large));
  broadcaster.publish(frameOf("first"));
  broadcaster.publish(frameOf("second"));
  broadcaster.publish(frameOf("third"));
  EXPECT_TRUE(eventually([&] { return server->debugMaxPendingFrames() == 1; }));
  EXPECT_TRUE(slow.readPart() == large);
  EXPECT_EQ(slow.readPart(), "third");
  EXPECT_EQ(server->debugMaxPendingFrames(), 0U);
  broadcaster.publish(frameOf("fourth"));
  EXPECT_EQ(slow.readPart(), "fourth");
}

TEST_F(StreamServerTest, AViewerThatNeverReadsHoldsOneFrameAndDisturbsNobody) {
  serve();
  const TestClient stuck = viewer(4096);
  TestClient reading = viewer();
  std::vector<std::weak_ptr<const Bytes>> frames;
  // few, because one that reads nothing is closed after half a minute
  for (int i = 0; i < 6; ++i) {
    const Frame frame = frameOf(std::string(8'000'000, static_cast<char>('a' + i)));
    frames.push_back(frame);
    broadcaster.publish(frame);
    EXPECT_EQ(reading.readPart().front(), 'a' + i);
  }
  // alive are the one in flight to the stuck viewer and the newest, which is pending and retained
  EXPECT_TRUE(eventually([&] {
    return std::ranges::count_if(frames, [](const auto& frame) { return !frame.expired(); }) == 2;
  }));
  EXPECT_FALSE(frames.front().expired());
  EXPECT_FALSE(frames.back().expired());
}

// Viewers that leave while nothing is sent

TEST_F(StreamServerTest, AViewerThatClosesIsGoneFromTheCount) {
  serve();
  broadcaster.publish(frameOf("retained"));
  TestClient leaving = viewer();
  leaving.readPart();
  leaving.close();
  EXPECT_TRUE(eventually([&] { return broadcaster.viewerCount() == 0; }));
  EXPECT_TRUE(eventually([&] { return server->debugConnectionCount() == 0; }));
}

TEST_F(StreamServerTest, AViewerThatClosesBeforeAnythingWasSharedIsGoneFromTheCount) {
  serve();
  viewer().close();
  EXPECT_TRUE(eventually([&] { return broadcaster.viewerCount() == 0; }));
}

TEST_F(StreamServerTest, AViewerThatResetsIsGoneFromTheCount) {
  serve();
  viewer().reset();
  EXPECT_TRUE(eventually([&] { return broadcaster.viewerCount() == 0; }));
}

TEST_F(StreamServerTest, AViewerThatOnlyEndsItsSendingSideIsSentTheRetainedFrameOnceMoreAndStays) {
  serve();
  broadcaster.publish(frameOf("retained"));
  TestClient halfClosed = viewer();
  EXPECT_EQ(halfClosed.readPart(), "retained");
  halfClosed.shutdownSend();
  EXPECT_EQ(halfClosed.readPart(), "retained");
  broadcaster.publish(frameOf("next"));
  EXPECT_EQ(halfClosed.readPart(), "next");
  EXPECT_EQ(broadcaster.viewerCount(), 1U);
}

TEST_F(StreamServerTest, HalfClosedBeforeAnythingWasSharedTheStreamStillHoldsWholeParts) {
  serve();
  TestClient halfClosed = viewer();
  halfClosed.shutdownSend();
  EXPECT_EQ(halfClosed.read(15), "--tarvinelframe");
  broadcaster.publish(frameOf("first"));
  EXPECT_EQ(halfClosed.readUntil("\r\n\r\n"),
            "\r\nContent-Type: image/jpeg\r\nContent-Length: 5\r\n\r\n");
  EXPECT_EQ(halfClosed.read(7), "first\r\n");
  broadcaster.publish(frameOf("second"));
  EXPECT_EQ(halfClosed.readPart(), "second");
}

TEST_F(StreamServerTest, AViewerThatHalfClosedAndThenLeavesIsGoneWithTheNextFrame) {
  serve();
  broadcaster.publish(frameOf("retained"));
  TestClient leaving = viewer();
  leaving.readPart();
  leaving.shutdownSend();
  leaving.readPart();
  leaving.close();
  EXPECT_TRUE(eventually([&] {
    broadcaster.publish(frameOf("next"));
    return broadcaster.viewerCount() == 0;
  }));
}

// A second of silence suffices here, so that a viewer of a still screen counts as vanished.
TEST_F(StreamServerTest, AVanishedViewerIsNoLongerServedAndItsConnectionIsKept) {
  StreamServer::Options impatient = options();
  impatient.silenceLimit = std::chrono::seconds(1);
  serve(impatient);
  TestClient quiet = viewer();
  EXPECT_TRUE(eventually([this] { return server->debugConnectionCount() == 0; }));
  EXPECT_EQ(broadcaster.viewerCount(), 0U);
  server.reset();
  EXPECT_EQ(quiet.readToEnd(), "");
}

}  // namespace
}  // namespace tarvinel
