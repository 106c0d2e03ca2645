#include "app/desktop/updates/FeedDownload.h"
#include "app/updates/UpdateNotice.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>

namespace tarvinel {
namespace {

std::string parsed(const std::string& text) {
  try {
    return FeedAddress::parse(text).toString().toStdString();
  } catch (const FeedError& error) {
    return error.what();
  }
}

std::string redirected(const char* from, const char* location) {
  try {
    return FeedAddress::redirected(QUrl(QString::fromLatin1(from)), location)
        .toString()
        .toStdString();
  } catch (const FeedError& error) {
    return error.what();
  }
}

std::optional<std::string> page(const char* text) {
  return FeedAddress::page(QString::fromUtf8(text));
}

constexpr const char* notHTTPS = "The update feed's address is not an https address.";
constexpr const char* unsafe = "The update feed leads to an address that is not an https address.";

TEST(FeedAddress, AFeedIsReadOverHTTPS) {
  EXPECT_EQ(parsed("https://updates.example/feed.xml?x=1"), "https://updates.example/feed.xml?x=1");
  EXPECT_EQ(parsed("HTTPS://updates.example:8443/"), "https://updates.example:8443/");
}

TEST(FeedAddress, PlainHTTPIsForThisComputerOnly) {
  for (const char* text : {"http://127.0.0.1:8000/f", "http://127.1.2.3/f", "http://localhost/f",
                           "http://[::1]:8000/f"}) {
    EXPECT_EQ(parsed(text), text);
  }
  for (const char* text :
       {"http://updates.example/f", "http://localhost.example/f", "http://127.0.0.1.example/f",
        "http://192.168.1.1/f", "http://0.0.0.0/f", "http://user@updates.example/localhost"}) {
    EXPECT_EQ(parsed(text), notHTTPS) << text;
  }
}

TEST(FeedAddress, NothingElseIsAFeed) {
  for (const char* text :
       {"", " ", "feed.xml", "//updates.example/f", "https:", "https:///f", "https://",
        "file:///etc/passwd", "ftp://updates.example/f", "javascript:alert(1)",
        "data:text/xml,<rss/>", "https://a b/", "https://updates.example/\n", "qrc:/feed.xml"}) {
    EXPECT_EQ(parsed(text), notHTTPS) << text;
  }
}

TEST(FeedAddress, ARedirectionMayLeadToHTTPS) {
  EXPECT_EQ(redirected("https://a.example/x/f", "https://b.example/g"), "https://b.example/g");
  EXPECT_EQ(redirected("https://a.example/x/f", "/g"), "https://a.example/g");
  EXPECT_EQ(redirected("https://a.example/x/f", "g?h"), "https://a.example/x/g?h");
  EXPECT_EQ(redirected("https://a.example/x/f", "//b.example/g"), "https://b.example/g");
  EXPECT_EQ(redirected("http://127.0.0.1/f", "https://b.example/g"), "https://b.example/g");
}

TEST(FeedAddress, OnThisComputerARedirectionMayStay) {
  EXPECT_EQ(redirected("http://127.0.0.1:80/f", "/g"), "http://127.0.0.1:80/g");
  EXPECT_EQ(redirected("http://127.0.0.1/f", "http://localhost:81/g"), "http://localhost:81/g");
}

TEST(FeedAddress, ARedirectionMayLeadNowhereElse) {
  for (const char* location :
       {"", "file:///etc/passwd", "http://b.example/", "http://127.0.0.1/", "http://a.example/x/f",
        "ftp://b.example/", "javascript:alert(1)", "data:text/xml,<rss/>", "https://", "https:///",
        "https://b example/", "qrc:/feed.xml"}) {
    EXPECT_EQ(redirected("https://a.example/x/f", location), unsafe) << location;
  }
  for (const char* location : {"", "file:///etc/passwd", "http://b.example/", "file:f"}) {
    EXPECT_EQ(redirected("http://127.0.0.1/f", location), unsafe) << location;
  }
}

TEST(FeedAddress, APageIsOnTheWeb) {
  EXPECT_EQ(page("https://tarvinel.example/1.2"), "https://tarvinel.example/1.2");
  EXPECT_EQ(page("http://tarvinel.example/1.2?a=b&c#d"), "http://tarvinel.example/1.2?a=b&c#d");
  EXPECT_EQ(page("\n  https://tarvinel.example/\t"), "https://tarvinel.example/");
  EXPECT_EQ(page("https://tarvinel.example/\xC3\xA4"), "https://tarvinel.example/%C3%A4");
}

TEST(FeedAddress, NothingElseIsAPage) {
  for (const char* text :
       {"", "1.2", "/download", "//tarvinel.example/", "file:///etc/passwd", "javascript:alert(1)",
        "https:", "https://", "http:///etc/passwd", "mailto:sam@tarvinel.example", "ssh://a/",
        "https://a b/", "https://a/\x1b[2J", "-https://a/", "--help"}) {
    EXPECT_EQ(page(text), std::nullopt) << text;
  }
  EXPECT_EQ(page(("https://a/" + std::string(3000, 'x')).c_str()), std::nullopt);
}

}  // namespace
}  // namespace tarvinel
