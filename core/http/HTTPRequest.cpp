#include "core/http/HTTPRequest.h"

#include "core/support/ASCII.h"
#include "core/support/UnicodeText.h"

#include <algorithm>
#include <charconv>

namespace tarvinel {

namespace {

constexpr std::string_view lineEnd = "\r\n";
constexpr std::string_view headEnd = "\r\n\r\n";

/// Cuts off and returns the text before the next `separator`, or all of `rest` if there is none.
std::string_view cut(std::string_view& rest, std::string_view separator) {
  const auto end = rest.find(separator);
  const std::string_view piece = rest.substr(0, end);
  rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + separator.size());
  return piece;
}

/// Cuts off and returns the next piece between runs of spaces; returns "" if none is left.
std::string_view cutWord(std::string_view& rest) {
  rest.remove_prefix(std::min(rest.find_first_not_of(' '), rest.size()));
  return cut(rest, " ");
}

void storeHeader(std::map<std::string, std::string>& headers, std::string_view line) {
  const auto colon = line.find(':');
  if (colon == std::string_view::npos) return;
  headers[asciiLowercased(trimmed(line.substr(0, colon)))] = trimmed(line.substr(colon + 1));
}

}  // namespace

std::optional<HTTPRequest> HTTPRequest::parse(std::string_view buffer) {
  const auto end = buffer.find(headEnd);
  if (end == std::string_view::npos) return std::nullopt;
  std::string_view rest = buffer.substr(0, end);
  if (!isValidUTF8(rest)) return std::nullopt;

  std::string_view requestLine = cut(rest, lineEnd);
  const std::string_view method = cutWord(requestLine);
  std::string_view target = cutWord(requestLine);
  const std::string_view path = cut(target, "?");
  if (method.empty() || !path.starts_with('/')) return std::nullopt;

  HTTPRequest request{asciiUppercased(method),
                      std::string(path),
                      {},
                      static_cast<std::int64_t>(end + headEnd.size())};
  while (!rest.empty())
    storeHeader(request.headers, cut(rest, lineEnd));
  return request;
}

std::optional<std::int64_t> HTTPRequest::contentLength() const {
  const std::string_view digits = trimmed(header("content-length"));
  const bool allDigits = std::ranges::all_of(digits, [](char c) { return c >= '0' && c <= '9'; });
  if (digits.empty() || !allDigits) return std::nullopt;
  std::int64_t length = 0;
  const auto outcome = std::from_chars(digits.data(), digits.data() + digits.size(), length);
  if (outcome.ec != std::errc{}) return std::nullopt;
  return length;
}

std::string_view HTTPRequest::header(const std::string& name) const {
  const auto found = headers.find(name);
  return found == headers.end() ? std::string_view{} : std::string_view(found->second);
}

}  // namespace tarvinel
