#include "app/desktop/updates/FeedDownload.h"

#include "app/updates/UpdateNotice.h"
#include "core/support/ASCII.h"
#include "core/support/UnicodeText.h"
#include "core/support/Version.h"

#include <QHostAddress>
#include <QNetworkReply>
#include <QNetworkRequest>

#include <exception>
#include <utility>

namespace tarvinel {

namespace {

constexpr int okStatus = 200;
constexpr std::size_t maxReasonCharacters = 160;

QNetworkRequest requestFor(const QUrl& url) {
  QNetworkRequest request(url);
  request.setRawHeader("User-Agent", "Tarvinel/" + QByteArray(appVersion.data()));
  // by default the toolkit requests compressed responses, and decompresses them whatever their size
  request.setRawHeader("Accept-Encoding", "identity");
  request.setAttribute(QNetworkRequest::RedirectPolicyAttribute,
                       QNetworkRequest::ManualRedirectPolicy);
  request.setAttribute(QNetworkRequest::CookieLoadControlAttribute, QNetworkRequest::Manual);
  request.setAttribute(QNetworkRequest::CookieSaveControlAttribute, QNetworkRequest::Manual);
  return request;
}

int statusOf(const QNetworkReply& reply) {
  return reply.attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
}

bool isRedirect(int status) {
  return status == 301 || status == 302 || status == 303 || status == 307 || status == 308;
}

FeedError unreachable(const QString& why) {
  const auto reason = withoutControls(why.toStdString());
  return FeedError(FeedError::Case::unreachable, firstCharacters(reason, maxReasonCharacters));
}

}  // namespace

FeedDownload::FeedDownload(const std::string& address, Limits limits, Completion<std::string> done)
    : limits_(limits), done_(std::move(done)) {
  deadline_.setSingleShot(true);
  QObject::connect(&deadline_, &QTimer::timeout, &context_,
                   [this] { attempt([] { throw FeedError(FeedError::Case::tooSlow); }); });
  deadline_.start(limits_.time);
  attempt([&] { get(FeedAddress::parse(address)); });
}

FeedDownload::~FeedDownload() = default;

void FeedDownload::get(const QUrl& url) {
  body_.clear();
  reply_ = network_.get(requestFor(url));
  reply_->setReadBufferSize(limits_.bytes + 1);
  QObject::connect(reply_, &QNetworkReply::readyRead, &context_,
                   [this] { attempt([this] { takeBytes(); }); });
  QObject::connect(reply_, &QNetworkReply::finished, &context_,
                   [this] { attempt([this] { answered(); }); });
}

void FeedDownload::takeBytes() {
  body_ += reply_->readAll();
  if (body_.size() > limits_.bytes) throw FeedError(FeedError::Case::tooLarge);
}

void FeedDownload::answered() {
  takeBytes();
  const int status = statusOf(*reply_);
  if (isRedirect(status)) return follow();
  if (status != 0 && status != okStatus) {
    throw FeedError(FeedError::Case::badStatus, std::to_string(status));
  }
  if (reply_->error() != QNetworkReply::NoError) throw unreachable(reply_->errorString());
  settle(body_.toStdString());
}

void FeedDownload::follow() {
  const QUrl to = FeedAddress::redirected(reply_->url(), reply_->rawHeader("Location"));
  if (++redirects_ > limits_.redirects) throw FeedError(FeedError::Case::tooManyRedirects);
  reply_->deleteLater();
  get(to);
}

/// Runs a step of the download; an error ends it.
void FeedDownload::attempt(const std::function<void()>& step) {
  if (settled_) return;
  try {
    step();
  } catch (const FeedError&) {
    settle(std::current_exception());
  }
}

/// Delivers the outcome later: this runs inside the reply's own signals, in which it must not be
/// destroyed.
void FeedDownload::settle(const Result<std::string>& outcome) {
  settled_ = true;
  deadline_.stop();
  if (reply_ != nullptr) reply_->abort();
  QMetaObject::invokeMethod(
      &context_,
      [this, outcome] {
        const auto done = std::move(done_);
        done(outcome);
      },
      Qt::QueuedConnection);
}

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
