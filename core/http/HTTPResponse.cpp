#include "core/http/HTTPResponse.h"

#include "core/http/MJPEGFramer.h"
#include "core/support/ContentType.h"

#include <nlohmann/json.hpp>

#include <string>

namespace tarvinel {

namespace {

constexpr std::string_view plainText = "text/plain; charset=utf-8";
constexpr std::string_view jsonType = "application/json";
constexpr std::string_view noCache = "no-cache";

struct Response {
  std::string_view status;
  std::string_view contentType;
  std::string_view cacheControl = noCache;
  std::string_view extraHeader = {};
};

std::string headOf(const Response& response, std::size_t bodyLength) {
  std::string head = "HTTP/1.1 ";
  head.append(response.status)
      .append("\r\nContent-Type: ")
      .append(response.contentType)
      .append("\r\nContent-Length: ")
      .append(std::to_string(bodyLength))
      .append("\r\nCache-Control: ")
      .append(response.cacheControl)
      .append("\r\nConnection: close\r\nX-Content-Type-Options: nosniff\r\nX-Frame-Options: DENY");
  if (!response.extraHeader.empty()) head.append("\r\n").append(response.extraHeader);
  return head.append("\r\n\r\n");
}

Bytes full(const Response& response, std::string_view body) {
  const std::string head = headOf(response, body.size());
  Bytes bytes;
  bytes.reserve(head.size() + body.size());
  bytes.insert(bytes.end(), head.begin(), head.end());
  bytes.insert(bytes.end(), body.begin(), body.end());
  return bytes;
}

std::string errorBody(std::string_view message) {
  try {
    return nlohmann::json{{"error", message}}.dump();
  } catch (const nlohmann::json::exception&) {
    return R"({"error":""})";  // the message is not UTF-8
  }
}

Bytes streamHead(std::string_view bodyHeaders) {
  std::string head = "HTTP/1.1 200 OK\r\n";
  head.append(bodyHeaders)
      .append(
          "\r\nCache-Control: no-cache, no-store, must-revalidate\r\nPragma: no-cache\r\n"
          "Connection: close\r\nX-Content-Type-Options: nosniff\r\n\r\n");
  return bytesOf(head);
}

}  // namespace

Bytes HTTPResponse::html(std::string_view text) {
  return full({"200 OK", "text/html; charset=utf-8"}, text);
}

Bytes HTTPResponse::json(std::string_view status, std::string_view body) {
  return full({status, jsonType}, body);
}

Bytes HTTPResponse::json(std::string_view body) {
  return json("200 OK", body);
}

Bytes HTTPResponse::jsonError(std::string_view status, std::string_view message) {
  return json(status, errorBody(message));
}

Bytes HTTPResponse::notFound() {
  return full({"404 Not Found", plainText}, "Not found\n");
}

Bytes HTTPResponse::temporaryRedirect(std::string_view location) {
  const std::string locationHeader = std::string("Location: ").append(location);
  return full({"307 Temporary Redirect", plainText, noCache, locationHeader},
              std::string("Look at ").append(location).append("\n"));
}

Bytes HTTPResponse::methodNotAllowed(std::string_view allow) {
  const std::string allowHeader = std::string("Allow: ").append(allow);
  return full({"405 Method Not Allowed", plainText, noCache, allowHeader}, "Method not allowed\n");
}

Bytes HTTPResponse::file(const Bytes& body, std::string_view contentType) {
  return full({"200 OK", contentType, "public, max-age=300",
               "Content-Security-Policy: default-src 'none'; style-src 'unsafe-inline'"},
              textOf(body));
}

Bytes HTTPResponse::mjpegHead() {
  return streamHead(std::string("Content-Type: multipart/x-mixed-replace; boundary=")
                        .append(MJPEGFramer::boundary));
}

Bytes HTTPResponse::scriptStreamHead() {
  return streamHead("Content-Type: application/octet-stream\r\nContent-Length: 9007199254740991");
}

std::optional<std::string_view> HTTPResponse::contentType(std::string_view forExtension) {
  return contentTypeForExtension(forExtension);
}

}  // namespace tarvinel
