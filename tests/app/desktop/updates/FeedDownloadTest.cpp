#include "app/desktop/updates/FeedDownload.h"
#include "app/updates/UpdateNotice.h"
#include "tests/app/desktop/SpinUntil.h"
#include "tests/app/desktop/updates/FeedServer.h"

#include <QTcpServer>
#include <QTcpSocket>
#include <gmock/gmock.h>

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <utility>

namespace tarvinel {
namespace {

using test::bytes;
using test::document;
using test::drip;
using test::endless;
using test::FeedServer;
using test::redirection;
using test::SecureFeedServer;
using test::silence;
using test::spinUntil;
using test::TrustInFeedServers;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::StartsWith;
using namespace std::chrono_literals;

constexpr const char* badRedirect =
    "The update feed leads to an address that is not an https address.";
constexpr const char* tooLarge = "The update feed is too large.";
constexpr const char* tooSlow = "The update feed's server did not answer in time.";
constexpr const char* wrongStatus = R"(The update feed's server answers with status [0-9]+\.)";

class FeedDownloadTest : public testing::Test {
 protected:
  void begin(const std::string& address) {
    outcomes = 0;
    download = std::make_unique<FeedDownload>(address, limits, [this](Result<std::string> result) {
      ++outcomes;
      outcome = std::move(result);
    });
  }

  /// Returns the feed at an address, or its error.
  std::string read(const std::string& address) {
    begin(address);
    if (!spinUntil([this] { return outcomes > 0; })) return "no outcome";
    return outcome->ok() ? outcome->value() : describe(outcome->error());
  }

  std::string readResponse(FeedServer::Answer answer) {
    server.answer("/feed.xml", std::move(answer));
    return read(server.url("/feed.xml"));
  }

  FeedServer server;
  FeedDownload::Limits limits;
  std::unique_ptr<FeedDownload> download;
  std::optional<Result<std::string>> outcome;
  int outcomes = 0;
};

TEST_F(FeedDownloadTest, TheLimitsAreThese) {
  EXPECT_EQ(limits.time, 30s);
  EXPECT_EQ(limits.bytes, 1'048'576);
  EXPECT_EQ(limits.redirects, 5);
}

TEST_F(FeedDownloadTest, ReadsAFeed) {
  EXPECT_EQ(readResponse(document("<rss/>")), "<rss/>");
  EXPECT_THAT(server.requests().front(), StartsWith("GET /feed.xml HTTP/1.1\r\n"));
  EXPECT_THAT(server.requests().front(), HasSubstr("user-agent: Tarvinel/"));
  EXPECT_EQ(server.requests().size(), 1U);
}

TEST_F(FeedDownloadTest, AnAddressThatMayNotBeReadIsNot) {
  for (const char* address : {"", "file:///etc/passwd", "http://updates.example/"}) {
    EXPECT_EQ(read(address), "The update feed's address is not an https address.") << address;
  }
}

TEST_F(FeedDownloadTest, TellsTheOutcomeOnceAndLater) {
  begin("file:///etc/passwd");
  EXPECT_EQ(outcomes, 0);
  ASSERT_TRUE(spinUntil([this] { return outcomes > 0; }));
  server.answer("/feed.xml", document("<rss/>"));
  begin(server.url("/feed.xml"));
  ASSERT_TRUE(spinUntil([this] { return outcomes > 0 && server.ended() == 1; }));
  EXPECT_EQ(outcomes, 1);
}

TEST_F(FeedDownloadTest, AnyStatusButOKIsAnError) {
  EXPECT_EQ(readResponse(document("<rss/>", "404 Not Found")),
            "The update feed's server answers with status 404.");
  for (const char* status :
       {"401 Unauthorized", "403 Forbidden", "500 Oh <b>dear</b>", "503 Later", "204 No Content",
        "206 Partial Content", "300 Choose", "304 Not Modified", "999 ?"}) {
    EXPECT_THAT(readResponse(document("", status)), MatchesRegex(wrongStatus)) << status;
  }
}

TEST_F(FeedDownloadTest, AsksForNoPassword) {
  const auto asking = readResponse(
      document("<rss/>", "401 Unauthorized", "WWW-Authenticate: Basic realm=\"x\"\r\n"));
  EXPECT_EQ(asking, "The update feed's server answers with status 401.");
  EXPECT_EQ(server.requests().size(), 1U);
}

TEST_F(FeedDownloadTest, KeepsNoCookies) {
  server.answer("/next", document("<rss/>"));
  EXPECT_EQ(readResponse(document("", "302 Found", "Location: /next\r\nSet-Cookie: a=b\r\n")),
            "<rss/>");
  EXPECT_THAT(server.requests().back(), testing::Not(HasSubstr("cookie")));
}

TEST_F(FeedDownloadTest, FollowsRedirections) {
  server.answer("/last", document("<rss/>"));
  for (const char* status : {"301 x", "302 x", "303 x", "307 x", "308 x"}) {
    EXPECT_EQ(readResponse(document("elsewhere", status, "Location: last\r\n")), "<rss/>")
        << status;
  }
}

TEST_F(FeedDownloadTest, FollowsFiveRedirectionsAndNoMore) {
  for (int i = 1; i <= 6; ++i) {
    server.answer("/" + std::to_string(i), redirection("/" + std::to_string(i - 1)));
  }
  server.answer("/0", document("<rss/>"));
  EXPECT_EQ(read(server.url("/5")), "<rss/>");
  EXPECT_EQ(server.requests().size(), 6U);
  EXPECT_EQ(read(server.url("/6")),
            "The update feed leads from one address to the next too often.");
  EXPECT_EQ(server.requests().size(), 12U);
}

TEST_F(FeedDownloadTest, ACircleOfRedirectionsEnds) {
  EXPECT_EQ(readResponse(redirection("/feed.xml")),
            "The update feed leads from one address to the next too often.");
}

TEST_F(FeedDownloadTest, FollowsNoUnsafeRedirection) {
  for (const char* location : {"file:///etc/passwd", "http://updates.example/", "ftp://127.0.0.1/",
                               "javascript:alert(1)", "data:text/xml,<rss/>", "", "https://"}) {
    EXPECT_EQ(readResponse(redirection(location)), badRedirect) << location;
  }
  EXPECT_EQ(readResponse(document("<rss/>", "302 Found")), badRedirect);
}

TEST_F(FeedDownloadTest, AnEmptyFeedIsRead) {
  EXPECT_EQ(readResponse(document("")), "");
}

TEST_F(FeedDownloadTest, ReadsAsMuchAsTheLimit) {
  limits.bytes = 1000;
  const std::string full(1000, 'x');
  EXPECT_EQ(readResponse(document(QByteArray::fromStdString(full))), full);
  EXPECT_EQ(readResponse(document(QByteArray::fromStdString(full + "x"))), tooLarge);
}

TEST_F(FeedDownloadTest, AFeedWithoutEndIsNotReadToTheEnd) {
  const auto more = QByteArray(65536, 'x');
  EXPECT_EQ(readResponse(endless("HTTP/1.1 200 OK\r\n\r\n", more)), tooLarge);
  EXPECT_TRUE(spinUntil([this] { return server.ended() == 1; }));
  EXPECT_EQ(readResponse(endless("HTTP/1.1 200 OK\r\nContent-Length: 104857600\r\n\r\n", more)),
            tooLarge);
  EXPECT_TRUE(spinUntil([this] { return server.ended() == 2; }));
  EXPECT_EQ(readResponse(endless("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n",
                                 "10000\r\n" + more + "\r\n")),
            tooLarge);
  EXPECT_TRUE(spinUntil([this] { return server.ended() == 3; }));
  EXPECT_EQ(outcomes, 1);
}

TEST_F(FeedDownloadTest, ARedirectionWithoutEndIsNotReadToTheEnd) {
  EXPECT_EQ(readResponse(
                endless("HTTP/1.1 302 Found\r\nLocation: /next\r\n\r\n", QByteArray(65536, 'x'))),
            tooLarge);
}

TEST_F(FeedDownloadTest, AHeadWithoutEndIsNotReadToTheEnd) {
  const TrustInFeedServers trust;
  SecureFeedServer secure;
  secure.answer("/feed.xml",
                endless("HTTP/1.1 200 OK\r\n", QByteArray("X: a line\r\n").repeated(1000)));
  limits.time = 200ms;
  EXPECT_EQ(read(secure.url("/feed.xml")), tooSlow);
}

TEST_F(FeedDownloadTest, CompressedFeedsAreNotUnpacked) {
  EXPECT_EQ(readResponse(document("\x1F\x8B\x08", "200 OK", "Content-Encoding: gzip\r\n")),
            "\x1F\x8B\x08");
  EXPECT_THAT(server.requests().front(), HasSubstr("accept-encoding: identity\r\n"));
}

TEST_F(FeedDownloadTest, AServerThatSaysNothingIsTooSlow) {
  limits.time = 50ms;
  EXPECT_EQ(readResponse(silence()), tooSlow);
}

TEST_F(FeedDownloadTest, ASlowDripIsTooSlow) {
  limits.time = 50ms;
  EXPECT_EQ(readResponse(drip("HTTP/1.1 200 OK\r\n\r\n<rss>")), tooSlow);
  EXPECT_EQ(readResponse(drip("HTTP/1.1 200 OK\r\nX: ")), tooSlow);
}

TEST_F(FeedDownloadTest, RedirectionsShareTheTime) {
  limits.time = 50ms;
  limits.redirects = 1'000'000;
  EXPECT_EQ(readResponse(redirection("/feed.xml")), tooSlow);
}

TEST_F(FeedDownloadTest, ABrokenAnswerIsAnError) {
  for (const auto& answer : std::vector<QByteArray>{
           "", "\r\n", QByteArray("\0\0\0\0\r\n\r\n", 8), "HTTP/1.1\r\n\r\n", "<rss/>\r\n\r\n",
           "HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\n<rss/>"}) {
    EXPECT_THAT(readResponse(bytes(answer)), StartsWith("The update feed cannot be read: "))
        << answer.toStdString();
  }
}

TEST_F(FeedDownloadTest, AServerThatIsNotThereIsAnError) {
  std::string gone;
  {
    const FeedServer other;
    gone = other.url("/feed.xml");
  }
  EXPECT_EQ(read(gone), "The update feed cannot be read: Connection refused");
}

TEST_F(FeedDownloadTest, AServerThatDoesNotSpeakTLSIsAnError) {
  QTcpServer plain;
  QObject::connect(&plain, &QTcpServer::newConnection, &plain, [&plain] {
    plain.nextPendingConnection()->write("HTTP/1.1 400 Bad Request\r\n\r\n");
  });
  ASSERT_TRUE(plain.listen(QHostAddress::LocalHost));
  EXPECT_THAT(read("https://127.0.0.1:" + std::to_string(plain.serverPort()) + "/feed.xml"),
              StartsWith("The update feed cannot be read: "));
}

TEST_F(FeedDownloadTest, ACertificateThatNobodyKnowsIsAnError) {
  SecureFeedServer secure;
  secure.answer("/feed.xml", document("<rss/>"));
  EXPECT_THAT(read(secure.url("/feed.xml")),
              StartsWith("The update feed cannot be read: SSL handshake failed"));
  EXPECT_EQ(secure.requests().size(), 0U);
}

TEST_F(FeedDownloadTest, ReadsAFeedOverTLS) {
  const TrustInFeedServers trust;
  SecureFeedServer secure;
  secure.answer("/feed.xml", document("<rss/>"));
  EXPECT_EQ(read(secure.url("/feed.xml")), "<rss/>");
}

TEST_F(FeedDownloadTest, FromTLSThereIsNoWayBack) {
  const TrustInFeedServers trust;
  SecureFeedServer secure;
  server.answer("/feed.xml", document("<rss/>"));
  secure.answer("/feed.xml", redirection(server.url("/feed.xml")));
  server.answer("/secure.xml", redirection(secure.url("/feed.xml")));
  EXPECT_EQ(read(secure.url("/feed.xml")), badRedirect);
  EXPECT_EQ(read(server.url("/secure.xml")), badRedirect);
  EXPECT_EQ(server.requests().size(), 1U);
  EXPECT_EQ(secure.requests().size(), 2U);
}

TEST_F(FeedDownloadTest, CanBeGivenUpAtAnyTime) {
  server.answer("/silent", silence());
  server.answer("/drip", drip("HTTP/1.1 200 OK\r\n\r\n"));
  server.answer("/feed.xml", document("<rss/>"));
  begin(server.url("/silent"));
  download.reset();
  for (const char* path : {"/silent", "/drip", "/feed.xml"}) {
    const auto before = server.requests().size();
    begin(server.url(path));
    ASSERT_TRUE(spinUntil([&] { return server.requests().size() > before; }));
    download.reset();
  }
  begin("file:///etc/passwd");
  download.reset();
  EXPECT_EQ(read(server.url("/feed.xml")), "<rss/>");
  EXPECT_EQ(outcomes, 1);
}

TEST_F(FeedDownloadTest, CanGoWhenItHasTold) {
  server.answer("/feed.xml", document("<rss/>"));
  bool reported = false;
  download = std::make_unique<FeedDownload>(server.url("/feed.xml"), limits,
                                            [&](const Result<std::string>& feed) {
                                              download.reset();
                                              EXPECT_EQ(feed.value(), "<rss/>");
                                              reported = true;
                                            });
  EXPECT_TRUE(spinUntil([&] { return reported; }));
}

}  // namespace
}  // namespace tarvinel
