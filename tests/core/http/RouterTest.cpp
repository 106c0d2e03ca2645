#include "core/http/Router.h"

#include <gtest/gtest.h>

#include <string>

namespace tarvinel {
namespace {

using Kind = Route::Kind;

Route routed(const std::string& method, const std::string& path) {
  return Router::route({method, path, {}, 0});
}

Route uploadFile(const std::string& participant, const std::string& filename) {
  return {Kind::uploadFile, participant, filename};
}

TEST(Router, PagesByExactPath) {
  EXPECT_EQ(routed("GET", "/").kind, Kind::index);
  EXPECT_EQ(routed("GET", "/index.html").kind, Kind::index);
  EXPECT_EQ(routed("GET", "/stream").kind, Kind::stream);
  EXPECT_EQ(routed("GET", "/status").kind, Kind::status);
  EXPECT_EQ(routed("GET", "/brand/image").kind, Kind::brandImage);
  EXPECT_EQ(routed("GET", "/brand/font").kind, Kind::brandFont);
  EXPECT_EQ(routed("GET", "/upload").kind, Kind::uploadPage);
  EXPECT_EQ(routed("GET", "/upload/").kind, Kind::uploadPage);
  EXPECT_EQ(routed("GET", "/upload/status").kind, Kind::uploadStatus);
  EXPECT_EQ(routed("GET", "/help").kind, Kind::help);
  EXPECT_EQ(routed("GET", "/help/").kind, Kind::help);
}

TEST(Router, NothingIsNormalised) {
  for (const char* path : {"/INDEX.HTML", "//", "/stream/", "/%73tream", "/index.html/",
                           "/upload//", "/status ", "/upload/ann/a.jpg", ""}) {
    EXPECT_EQ(routed("GET", path).kind, Kind::notFound) << path;
  }
}

TEST(Router, TheQueryIsGoneBeforeRouting) {
  const auto request = HTTPRequest::parse("GET /stream?1699999999 HTTP/1.1\r\n\r\n");
  ASSERT_TRUE(request);
  EXPECT_EQ(Router::route(*request).kind, Kind::stream);
}

TEST(Router, HEADIsRoutedLikeGET) {
  EXPECT_EQ(routed("HEAD", "/status").kind, Kind::status);
  EXPECT_EQ(routed("HEAD", "/nowhere").kind, Kind::notFound);
}

TEST(Router, OtherMethodsAreNotAllowedAnywhere) {
  for (const char* method : {"POST", "DELETE", "OPTIONS", "PATCH", "get", "X"}) {
    EXPECT_EQ(routed(method, "/").kind, Kind::methodNotAllowed) << method;
    EXPECT_EQ(routed(method, "/nowhere").kind, Kind::methodNotAllowed) << method;
  }
}

TEST(Router, PUTOfAFileBelowAParticipant) {
  EXPECT_EQ(routed("PUT", "/upload/ann/a.jpg"), uploadFile("ann", "a.jpg"));
  EXPECT_EQ(routed("PUT", "/upload/Ann%20Lee/IMG%201.jpg"), uploadFile("Ann Lee", "IMG 1.jpg"));
  EXPECT_EQ(routed("PUT", "/upload/%C3%84/%2e%2E%2Fa.jpg"), uploadFile("Ä", "../a.jpg"));
}

TEST(Router, APieceThatDoesNotDecodeStaysAsSent) {
  EXPECT_EQ(routed("PUT", "/upload/a%ZZ/x.jpg"), uploadFile("a%ZZ", "x.jpg"));
  EXPECT_EQ(routed("PUT", "/upload/a%/x%2.jpg"), uploadFile("a%", "x%2.jpg"));
  EXPECT_EQ(routed("PUT", "/upload/%FF/%20.jpg"), uploadFile("%FF", " .jpg"));
  EXPECT_EQ(routed("PUT", "/upload/%+1/%-1"), uploadFile("%+1", "%-1"));
}

TEST(Router, PUTOfAnythingElseIsNotAllowed) {
  for (const char* path : {"/", "/upload", "/upload/", "/upload/status", "/upload/ann",
                           "/upload//a.jpg", "/upload/ann/", "/upload/ann/b/a.jpg",
                           "/upload/ann//a.jpg", "/uploads/ann/a.jpg", "/nowhere"}) {
    EXPECT_EQ(routed("PUT", path).kind, Kind::methodNotAllowed) << path;
  }
}

}  // namespace
}  // namespace tarvinel
