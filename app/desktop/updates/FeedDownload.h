#pragma once
class QNetworkReply;

#include "core/support/Result.h"

#include <QByteArray>
#include <QNetworkAccessManager>
#include <QObject>
#include <QString>
#include <QTimer>
#include <QUrl>

#include <chrono>
#include <functional>
#include <optional>
#include <string>

namespace tarvinel {

/// The addresses that may be read or shown. Static and pure.
class FeedAddress {
 public:
  FeedAddress() = delete;

  /// Returns the address of a feed: https, or http on this computer. Throws FeedError.
  static QUrl parse(const std::string& text);

  /// Returns a redirect's target: https, or from http on this computer also http on it. Throws
  /// FeedError.
  static QUrl redirected(const QUrl& from, const QByteArray& location);

  /// Returns the http or https address of a page to show in a browser, or nullopt for any other.
  static std::optional<std::string> page(const QString& text);
};

/// Downloads a feed once. Destroying it cancels the download silently.
///
/// Lives on the thread of a toolkit's loop and calls `done` there, later and once, with the feed's
/// bytes or a FeedError; it may be destroyed in that call.
class FeedDownload {
 public:
  struct Limits {
    std::chrono::milliseconds time = std::chrono::seconds(30);  ///< for the whole download
    qsizetype bytes = qsizetype{1} << 20U;
    int redirects = 5;
  };

  FeedDownload(const std::string& address, Limits limits, Completion<std::string> done);
  ~FeedDownload();
  FeedDownload(const FeedDownload&) = delete;
  FeedDownload& operator=(const FeedDownload&) = delete;

 private:
  void get(const QUrl& url);
  void answered();
  void follow();
  void takeBytes();
  void attempt(const std::function<void()>& step);
  void settle(const Result<std::string>& outcome);

  const Limits limits_;
  Completion<std::string> done_;
  int redirects_ = 0;
  bool settled_ = false;
  QByteArray body_;
  QNetworkAccessManager network_;
  QNetworkReply* reply_ = nullptr;  ///< owned by network_
  QTimer deadline_;
  QObject context_;  ///< of all connections: the last member, so that they end first
};

}  // namespace tarvinel
