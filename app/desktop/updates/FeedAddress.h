#pragma once

#include <QByteArray>
#include <QString>
#include <QUrl>

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

}  // namespace tarvinel
