#include "core/http/HTTPRequest.h"

#include <gtest/gtest.h>

#include <map>
#include <optional>
#include <string>

namespace tarvinel {
namespace {

using Headers = std::map<std::string, std::string>;

std::optional<HTTPRequest> parsedWithHeaders(const std::string& headers) {
  return HTTPRequest::parse("GET / HTTP/1.1\r\n" + headers + "\r\n");
}

HTTPRequest requestWithContentLength(const std::string& value) {
  return {"PUT", "/", {{"content-length", value}}, 0};
}

TEST(HTTPRequest, DropsTheQueryAndCountsTheHead) {
  const HTTPRequest expected{"GET", "/stream", {}, 28};
  EXPECT_EQ(HTTPRequest::parse("GET /stream?123 HTTP/1.1\r\n\r\n"), expected);
}

TEST(HTTPRequest, WaitsForTheBlankLine) {
  std::string buffer = "GET / HTTP/1.1\r\nHost: x\r\n";
  EXPECT_EQ(HTTPRequest::parse(buffer), std::nullopt);
  buffer += "\r\n";
  const HTTPRequest expected{"GET", "/", {{"host", "x"}}, 27};
  EXPECT_EQ(HTTPRequest::parse(buffer), expected);
}

TEST(HTTPRequest, UpperCasesTheMethod) {
  EXPECT_EQ(HTTPRequest::parse("get / HTTP/1.1\r\n\r\n")->method, "GET");
}

TEST(HTTPRequest, RunsOfSpacesAreOneSeparatorAndTheVersionIsNotRead) {
  EXPECT_EQ(HTTPRequest::parse("  GET   /a   b c d\r\n\r\n")->path, "/a");
  EXPECT_EQ(HTTPRequest::parse("GET /a\r\n\r\n")->path, "/a");
}

TEST(HTTPRequest, OnePieceOnTheRequestLineIsNoRequest) {
  EXPECT_EQ(HTTPRequest::parse("GET\r\n\r\n"), std::nullopt);
  EXPECT_EQ(HTTPRequest::parse("\r\n\r\n"), std::nullopt);
  EXPECT_EQ(HTTPRequest::parse("   \r\n\r\n"), std::nullopt);
}

TEST(HTTPRequest, APathNotBeginningWithASlashIsNoRequest) {
  EXPECT_EQ(HTTPRequest::parse("GET stream HTTP/1.1\r\n\r\n"), std::nullopt);
  EXPECT_EQ(HTTPRequest::parse("GET http://a/stream HTTP/1.1\r\n\r\n"), std::nullopt);
  EXPECT_EQ(HTTPRequest::parse("GET ?/stream HTTP/1.1\r\n\r\n"), std::nullopt);
}

TEST(HTTPRequest, CutsThePathAtTheFirstQuestionMark) {
  EXPECT_EQ(HTTPRequest::parse("GET /a?b?c HTTP/1.1\r\n\r\n")->path, "/a");
  EXPECT_EQ(HTTPRequest::parse("GET /a%3Fb HTTP/1.1\r\n\r\n")->path, "/a%3Fb");
}

TEST(HTTPRequest, TrimsAndLowerCasesNamesAndTrimsValues) {
  EXPECT_EQ(parsedWithHeaders("Content-Type :  text/plain  \r\n")->headers,
            (Headers{{"content-type", "text/plain"}}));
  EXPECT_EQ(parsedWithHeaders("\tX-A\t:\ta B\tc\t\r\n")->headers, (Headers{{"x-a", "a B\tc"}}));
}

TEST(HTTPRequest, TheLastOfEqualNamesWins) {
  EXPECT_EQ(parsedWithHeaders("X-A: 1\r\nx-a: 2\r\n")->headers, (Headers{{"x-a", "2"}}));
}

TEST(HTTPRequest, ALineWithoutAColonIsSkipped) {
  EXPECT_EQ(parsedWithHeaders("nonsense\r\nA: b\r\n folded\r\n")->headers, (Headers{{"a", "b"}}));
}

TEST(HTTPRequest, CutsAHeaderAtItsFirstColon) {
  EXPECT_EQ(parsedWithHeaders("Host: a:80\r\n")->headers, (Headers{{"host", "a:80"}}));
}

TEST(HTTPRequest, AnEmptyNameIsStoredLikeAnyOther) {
  EXPECT_EQ(parsedWithHeaders(": x\r\n")->headers, (Headers{{"", "x"}}));
}

TEST(HTTPRequest, ABareLineFeedIsNoLineEnd) {
  EXPECT_EQ(HTTPRequest::parse("GET / HTTP/1.1\n\n"), std::nullopt);
  EXPECT_EQ(parsedWithHeaders("A: b\nC: d\r\n")->headers, (Headers{{"a", "b\nC: d"}}));
}

TEST(HTTPRequest, TheBodyTakesNoPartInParsing) {
  const std::string head = "PUT /upload/a/b.jpg HTTP/1.1\r\nContent-Length: 3\r\n\r\n";
  const auto request = HTTPRequest::parse(head + "\xFF\xFE\r\n\r\nX: y\r\n\r\n");
  ASSERT_TRUE(request);
  EXPECT_EQ(request->headLength, static_cast<std::int64_t>(head.size()));
  EXPECT_EQ(request->headers, (Headers{{"content-length", "3"}}));
}

TEST(HTTPRequest, InvalidUTF8IsNoRequest) {
  EXPECT_EQ(HTTPRequest::parse("GET /\xFF HTTP/1.1\r\n\r\n"), std::nullopt);
  EXPECT_EQ(parsedWithHeaders("A: \xC3\r\n"), std::nullopt);
  EXPECT_EQ(parsedWithHeaders("A: \xED\xA0\x80\r\n"), std::nullopt);  // a surrogate
  EXPECT_EQ(parsedWithHeaders("A: \xC0\xAF\r\n"), std::nullopt);      // an overlong form
  EXPECT_EQ(parsedWithHeaders("A: \xC3\xA4\r\n")->headers, (Headers{{"a", "\xC3\xA4"}}));
}

TEST(HTTPRequest, KeepsANulByteInAValue) {
  EXPECT_EQ(parsedWithHeaders(std::string("A: b\0c\r\n", 8))->headers,
            (Headers{{"a", std::string("b\0c", 3)}}));
}

TEST(HTTPRequest, ContentLengthReadsDecimalDigits) {
  EXPECT_EQ(requestWithContentLength(" 42 ").contentLength(), 42);
  EXPECT_EQ(requestWithContentLength("007").contentLength(), 7);
  EXPECT_EQ(requestWithContentLength("0").contentLength(), 0);
  EXPECT_EQ(requestWithContentLength("9223372036854775807").contentLength(), INT64_MAX);
}

TEST(HTTPRequest, ContentLengthOfAnythingElseIsNothing) {
  for (const char* value : {"42abc", "-1", "+1", "", "  ", "4 2", "1.0", "0x10",
                            "9223372036854775808", "99999999999999999999"}) {
    EXPECT_EQ(requestWithContentLength(value).contentLength(), std::nullopt) << value;
  }
  EXPECT_EQ(HTTPRequest{}.contentLength(), std::nullopt);
}

TEST(HTTPRequest, EqualityComparesEveryField) {
  const HTTPRequest request{"GET", "/", {{"a", "b"}}, 20};
  EXPECT_NE(request, (HTTPRequest{"PUT", "/", {{"a", "b"}}, 20}));
  EXPECT_NE(request, (HTTPRequest{"GET", "/x", {{"a", "b"}}, 20}));
  EXPECT_NE(request, (HTTPRequest{"GET", "/", {}, 20}));
  EXPECT_NE(request, (HTTPRequest{"GET", "/", {{"a", "b"}}, 21}));
}

}  // namespace
}  // namespace tarvinel
