#pragma once

#include "app/desktop/updates/BuiltInFeed.h"
#include "app/desktop/updates/FeedDownload.h"
#include "app/platform/Desktop.h"
#include "app/platform/UserDefaults.h"
#include "app/updates/AppcastItem.h"
#include "app/updates/UpdateController.h"
#include "app/updates/UpdateNotice.h"
#include "core/support/Log.h"
#include "core/support/Version.h"

#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tarvinel {

/// An RSS feed in which each item is a version of the program. Static and pure.
class AppcastFeed {
 public:
  AppcastFeed() = delete;

  /// Returns the versions in a feed's bytes, in their order, at least one; skips items without a
  /// version, and pages that are not on the web. Throws FeedError.
  ///
  /// The bytes are UTF-8. An item has its versions as elements or as attributes of its enclosure,
  /// in any namespace: "shortVersionString" takes precedence over "version". Its page is its
  /// "link", else its "releaseNotesLink".
  static std::vector<AppcastItem> parse(std::string_view bytes);
};

/// Finds new versions in a feed on the web, see AppcastFeed. It notifies the presenter and shows a
/// version's page in a browser; the presenter downloads and installs it.
///
/// Lives on the main queue, which is a toolkit's loop.
class FeedUpdateController : public UpdateController {
 public:
  struct Environment {
    Desktop& desktop;
    MainQueue& mainQueue;
    Logger logger;
    std::filesystem::path memory;                 ///< the file with the time of the last check
    std::string builtInFeed = builtInUpdateFeed;  ///< empty if there is none
    std::string version = std::string(appVersion);
    FeedDownload::Limits limits = {};
    std::function<UpdateSchedule::Time()> now = std::chrono::system_clock::now;
  };

  FeedUpdateController(Delegate& delegate, Environment environment);

  std::optional<std::string> feedURL() const override;
  bool canCheckForUpdates() const override;
  void setOnChange(std::function<void()> onChange) override { onChange_ = std::move(onChange); }
  void checkForUpdates() override { check(Check::userInitiated); }

  /// Checks and only logs the outcome.
  void probe() { check(Check::probe); }

 private:
  std::optional<std::string> feedInForce() const;
  void check(Check kind);
  void begin(Check kind);
  void end(Check kind, const Result<std::string>& feed);

  void log(const Result<AppcastItem>& newest) const;
  void notifyPresenter(const Result<AppcastItem>& newest);
  void reportNews(const Result<AppcastItem>& newest);
  void notify(const UpdateNotice& notice);
  bool isNews(const AppcastItem& item) const;
  void changed() const;

  Delegate& delegate_;
  const Environment environment_;
  std::function<void()> onChange_;
  UserDefaults memory_;
  UpdateSchedule schedule_;
  std::unique_ptr<FeedDownload> download_;  ///< the check in progress, or null
  std::string notifiedVersion_;             ///< the latest one that the presenter was notified of
};

}  // namespace tarvinel
