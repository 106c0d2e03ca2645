#include "app/desktop/updates/FeedAddress.h"

#include "app/updates/FeedError.h"

#include <QHostAddress>

namespace tarvinel {

namespace {

constexpr qsizetype maxPageLength = 2048;

bool isWeb(const QUrl& url, const char* scheme) {
  return url.isValid() && url.scheme() == QLatin1String(scheme) && !url.host().isEmpty();
}

bool isOfThisComputer(const QUrl& url) {
  return url.host() == QLatin1String("localhost") || QHostAddress(url.host()).isLoopback();
}

bool isReadable(const QUrl& url) {
  return isWeb(url, "https") || (isWeb(url, "http") && isOfThisComputer(url));
}

}  // namespace

QUrl FeedAddress::parse(const std::string& text) {
  QUrl url(QString::fromStdString(text), QUrl::StrictMode);
  if (!isReadable(url)) throw FeedError(FeedError::Case::badAddress);
  return url;
}

QUrl FeedAddress::redirected(const QUrl& from, const QByteArray& location) {
  const QUrl relative = QUrl::fromEncoded(location, QUrl::StrictMode);
  QUrl to = from.resolved(relative);
  const bool isSafe = isReadable(to) && (isWeb(to, "https") || isWeb(from, "http"));
  if (!relative.isValid() || !isSafe) throw FeedError(FeedError::Case::badRedirect);
  return to;
}

std::optional<std::string> FeedAddress::page(const QString& text) {
  const QUrl url(text.trimmed(), QUrl::StrictMode);
  if (text.size() > maxPageLength || !(isWeb(url, "https") || isWeb(url, "http"))) {
    return std::nullopt;
  }
  return url.toEncoded().toStdString();
}

}  // namespace tarvinel
