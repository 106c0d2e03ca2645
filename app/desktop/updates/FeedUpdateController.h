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

/// An RSS feed whose items are versions of the program. Static and pure.
class AppcastFeed {
 public:
  AppcastFeed() = delete;

  /// The versions in a feed's bytes, in their order, at least one; items without a version are left
  /// out, as are pages that are not on the web. Throws FeedError.
  ///
  /// The bytes are UTF-8. An item has its versions as elements or as attributes of its enclosure,
  /// in whatever namespace: "shortVersionString", which counts, else "version". Its page is its
  /// "link", else its "releaseNotesLink".
  static std::vector<AppcastItem> parse(std::string_view bytes);
};

/// Finds new versions in a feed on the web, see AppcastFeed. It tells of them and shows their page
/// in a browser; getting and installing them is up to the presenter.
///
/// Lives on the main queue, which is a toolkit's loop.
class FeedUpdateController : public UpdateController {
 public:
  struct Environment {
    Desktop& desktop;
    MainQueue& mainQueue;
    Logger logger;
    std::filesystem::path memory;                 ///< the file with the time of the last check
    std::string builtInFeed = builtInUpdateFeed;  ///< empty for none
    std::string version = std::string(appVersion);
    FeedDownload::Limits limits = {};
    std::function<UpdateSchedule::Time()> now = std::chrono::system_clock::now;
  };

  FeedUpdateController(Delegate& delegate, Environment environment);

  std::optional<std::string> feedURL() const override;
  bool canCheckForUpdates() const override;
  void setOnChange(std::function<void()> onChange) override { onChange_ = std::move(onChange); }
  void checkForUpdates() override { check(Check::userInitiated); }

  /// Checks and tells nobody but the log.
  void probe() { check(Check::probe); }

 private:
  std::optional<std::string> feedInForce() const;
  void check(Check kind);
  void begin(Check kind);
  void end(Check kind, const Result<std::string>& feed);

  void log(const Result<AppcastItem>& newest) const;
  void notifyPresenter(const Result<AppcastItem>& newest);
  void reportNews(const Result<AppcastItem>& newest);
  void tell(const UpdateNotice& notice);
  bool isNews(const AppcastItem& item) const;
  void changed() const;

  Delegate& delegate_;
  const Environment environment_;
  std::function<void()> onChange_;
  UserDefaults memory_;
  UpdateSchedule schedule_;
  std::unique_ptr<FeedDownload> download_;  ///< of the check that is under way
  std::string toldVersion_;                 ///< of which the presenter knows
};

}  // namespace tarvinel
