#include "core/http/HTTPResponse.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>

namespace tarvinel {
namespace {

std::string text(const Bytes& bytes) {
  return std::string(textOf(bytes));
}

TEST(HTTPResponse, NotFoundByteForByte) {
  EXPECT_EQ(text(HTTPResponse::notFound()),
            "HTTP/1.1 404 Not Found\r\n"
            "Content-Type: text/plain; charset=utf-8\r\n"
            "Content-Length: 10\r\n"
            "Cache-Control: no-cache\r\n"
            "Connection: close\r\n"
            "X-Content-Type-Options: nosniff\r\n"
            "X-Frame-Options: DENY\r\n\r\n"
            "Not found\n");
}

TEST(HTTPResponse, TemporaryRedirectByteForByte) {
  EXPECT_EQ(text(HTTPResponse::temporaryRedirect("http://10.0.0.1/help")),
            "HTTP/1.1 307 Temporary Redirect\r\n"
            "Content-Type: text/plain; charset=utf-8\r\n"
            "Content-Length: 29\r\n"
            "Cache-Control: no-cache\r\n"
            "Connection: close\r\n"
            "X-Content-Type-Options: nosniff\r\n"
            "X-Frame-Options: DENY\r\n"
            "Location: http://10.0.0.1/help\r\n\r\n"
            "Look at http://10.0.0.1/help\n");
}

TEST(HTTPResponse, MethodNotAllowedCarriesOneExtraLine) {
  EXPECT_EQ(text(HTTPResponse::methodNotAllowed()),
            "HTTP/1.1 405 Method Not Allowed\r\n"
            "Content-Type: text/plain; charset=utf-8\r\n"
            "Content-Length: 19\r\n"
            "Cache-Control: no-cache\r\n"
            "Connection: close\r\n"
            "X-Content-Type-Options: nosniff\r\n"
            "X-Frame-Options: DENY\r\n"
            "Allow: GET\r\n\r\n"
            "Method not allowed\n");
}

TEST(HTTPResponse, MethodNotAllowedNamesTheGivenMethods) {
  EXPECT_NE(text(HTTPResponse::methodNotAllowed("GET, PUT")).find("\r\nAllow: GET, PUT\r\n\r\n"),
            std::string::npos);
}

TEST(HTTPResponse, HTMLByteForByte) {
  EXPECT_EQ(text(HTTPResponse::html("<p>ä")),
            "HTTP/1.1 200 OK\r\n"
            "Content-Type: text/html; charset=utf-8\r\n"
            "Content-Length: 5\r\n"
            "Cache-Control: no-cache\r\n"
            "Connection: close\r\n"
            "X-Content-Type-Options: nosniff\r\n"
            "X-Frame-Options: DENY\r\n\r\n"
            "<p>ä");
}

TEST(HTTPResponse, AnEmptyBodyGivesLengthZeroAndTheHeadAlone) {
  EXPECT_EQ(text(HTTPResponse::json("")),
            "HTTP/1.1 200 OK\r\n"
            "Content-Type: application/json\r\n"
            "Content-Length: 0\r\n"
            "Cache-Control: no-cache\r\n"
            "Connection: close\r\n"
            "X-Content-Type-Options: nosniff\r\n"
            "X-Frame-Options: DENY\r\n\r\n");
}

TEST(HTTPResponse, JSONTakesAnyStatus) {
  const std::string response = text(HTTPResponse::json("201 Created", "{}"));
  EXPECT_TRUE(response.starts_with("HTTP/1.1 201 Created\r\n"));
  EXPECT_TRUE(response.ends_with("\r\n\r\n{}"));
}

TEST(HTTPResponse, JSONErrorByteForByte) {
  EXPECT_EQ(text(HTTPResponse::jsonError("503 Service Unavailable", "busy")),
            "HTTP/1.1 503 Service Unavailable\r\n"
            "Content-Type: application/json\r\n"
            "Content-Length: 16\r\n"
            "Cache-Control: no-cache\r\n"
            "Connection: close\r\n"
            "X-Content-Type-Options: nosniff\r\n"
            "X-Frame-Options: DENY\r\n\r\n"
            R"({"error":"busy"})");
}

TEST(HTTPResponse, JSONErrorEscapesTheMessage) {
  EXPECT_TRUE(text(HTTPResponse::jsonError("400 Bad Request", "a \"b\" \\ \n"))
                  .ends_with(R"({"error":"a \"b\" \\ \n"})"));
}

TEST(HTTPResponse, JSONErrorOfAMessageThatIsNotUTF8IsEmpty) {
  EXPECT_TRUE(text(HTTPResponse::jsonError("400 Bad Request", "\xFF"))
                  .ends_with("Content-Length: 12\r\n"
                             "Cache-Control: no-cache\r\n"
                             "Connection: close\r\n"
                             "X-Content-Type-Options: nosniff\r\n"
                             "X-Frame-Options: DENY\r\n\r\n"
                             R"({"error":""})"));
}

TEST(HTTPResponse, FileByteForByte) {
  EXPECT_EQ(text(HTTPResponse::file(bytesOf("abc"), "image/svg+xml")),
            "HTTP/1.1 200 OK\r\n"
            "Content-Type: image/svg+xml\r\n"
            "Content-Length: 3\r\n"
            "Cache-Control: public, max-age=300\r\n"
            "Connection: close\r\n"
            "X-Content-Type-Options: nosniff\r\n"
            "X-Frame-Options: DENY\r\n"
            "Content-Security-Policy: default-src 'none'; style-src 'unsafe-inline'\r\n\r\n"
            "abc");
}

TEST(HTTPResponse, MJPEGHeadByteForByte) {
  EXPECT_EQ(text(HTTPResponse::mjpegHead()),
            "HTTP/1.1 200 OK\r\n"
            "Content-Type: multipart/x-mixed-replace; boundary=tarvinelframe\r\n"
            "Cache-Control: no-cache, no-store, must-revalidate\r\n"
            "Pragma: no-cache\r\n"
            "Connection: close\r\n"
            "X-Content-Type-Options: nosniff\r\n\r\n");
}

TEST(HTTPResponse, ScriptStreamHeadHasAnotherContentTypeAndALength) {
  EXPECT_EQ(text(HTTPResponse::scriptStreamHead()),
            "HTTP/1.1 200 OK\r\n"
            "Content-Type: application/octet-stream\r\n"
            "Content-Length: 9007199254740991\r\n"
            "Cache-Control: no-cache, no-store, must-revalidate\r\n"
            "Pragma: no-cache\r\n"
            "Connection: close\r\n"
            "X-Content-Type-Options: nosniff\r\n\r\n");
}

TEST(HTTPResponse, ContentTypeOfExtensions) {
  EXPECT_EQ(HTTPResponse::contentType("png"), "image/png");
  EXPECT_EQ(HTTPResponse::contentType("PNG"), "image/png");
  EXPECT_EQ(HTTPResponse::contentType("jpg"), "image/jpeg");
  EXPECT_EQ(HTTPResponse::contentType("jpeg"), "image/jpeg");
  EXPECT_EQ(HTTPResponse::contentType("gif"), "image/gif");
  EXPECT_EQ(HTTPResponse::contentType("webp"), "image/webp");
  EXPECT_EQ(HTTPResponse::contentType("svg"), "image/svg+xml");
  EXPECT_EQ(HTTPResponse::contentType("woff2"), "font/woff2");
  EXPECT_EQ(HTTPResponse::contentType("woff"), "font/woff");
  EXPECT_EQ(HTTPResponse::contentType("ttf"), "font/ttf");
  EXPECT_EQ(HTTPResponse::contentType("otf"), "font/otf");
  EXPECT_EQ(HTTPResponse::contentType("bmp"), std::nullopt);
  EXPECT_EQ(HTTPResponse::contentType(""), std::nullopt);
  EXPECT_EQ(HTTPResponse::contentType(".png"), std::nullopt);
}

}  // namespace
}  // namespace tarvinel
