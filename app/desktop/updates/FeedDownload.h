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

/// Which addresses may be read or shown. Static and pure.
class FeedAddress {
 public:
  FeedAddress() = delete;

  /// The address of a feed: https, or http of this very computer. Throws FeedError.
  static QUrl parse(const std::string& text);

  /// Where a redirection leads: to https, and from http of this very computer also to such. Throws
  /// FeedError.
  static QUrl redirected(const QUrl& from, const QByteArray& location);

  /// The address of a page to show in a browser: http or https; nothing for anything else.
  static std::optional<std::string> page(const QString& text);
};

/// Reads a feed over the network, once. Destroying it ends the reading without a word.
///
/// Lives on the thread of a toolkit's loop, and calls `done` there, later and once, with the feed's
/// bytes or a FeedError; it may be destroyed in that call.
class FeedDownload {
 public:
  struct Limits {
    std::chrono::milliseconds time = std::chrono::seconds(30);  ///< of all of it
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
  QObject context_;  ///< of all connections: the last member, so that none is left when others go
};

}  // namespace tarvinel
