#include "app/desktop/updates/FeedUpdateController.h"

#include "app/desktop/updates/AppcastFeed.h"

#include <utility>

namespace tarvinel {

FeedUpdateController::FeedUpdateController(Delegate& delegate, Environment environment)
    : delegate_(delegate),
      environment_(std::move(environment)),
      memory_({environment_.memory}, environment_.logger),
      schedule_({environment_.mainQueue, memory_, environment_.now},
                [this] { check(Check::scheduled); }) {}

std::optional<std::string> FeedUpdateController::feedURL() const {
  if (environment_.builtInFeed.empty()) return std::nullopt;
  return environment_.builtInFeed;
}

bool FeedUpdateController::canCheckForUpdates() const {
  return !download_ && feedInForce();
}

std::optional<std::string> FeedUpdateController::feedInForce() const {
  const auto replacement = delegate_.feedURLString();
  return replacement ? replacement : feedURL();
}

void FeedUpdateController::check(Check kind) {
  if (!canCheckForUpdates()) return;
  const auto permission = resultOf([&] { delegate_.mayPerform(kind); });
  if (permission.ok()) {
    begin(kind);
  } else if (kind == Check::userInitiated) {
    tellPresenter(permission.error());
  }
}

void FeedUpdateController::begin(Check kind) {
  schedule_.checkMade();
  download_ = std::make_unique<FeedDownload>(
      *feedInForce(), environment_.limits,
      [this, kind](const Result<std::string>& feed) { end(kind, feed); });
  changed();
}

void FeedUpdateController::end(Check kind, const Result<std::string>& feed) {
  const auto newest = resultOf([&feed] { return newestOf(AppcastFeed::parse(feed.value())); });
  log(newest);
  download_.reset();
  if (kind == Check::userInitiated) tellPresenter(newest);
  if (kind == Check::scheduled) tellNews(newest);
  changed();
}

void FeedUpdateController::log(const Result<AppcastItem>& newest) const {
  if (newest.ok()) {
    environment_.logger->debug("update feed: the newest version is {}", newest.value().version);
  } else {
    environment_.logger->debug("update check failed: {}", describe(newest.error()));
  }
}

/// Whatever came of it, since the presenter waits for it.
void FeedUpdateController::tellPresenter(const Result<AppcastItem>& newest) {
  if (!newest.ok()) return tell(UpdateNotice::failed(describe(newest.error())));
  const auto& item = newest.value();
  if (!isNews(item)) return tell(UpdateNotice::upToDate(environment_.version));
  toldVersion_ = item.version;
  tell(UpdateNotice::available(item.version, environment_.version));
  if (item.page) environment_.desktop.openInBrowser(*item.page);
}

/// Only what is new, once.
void FeedUpdateController::tellNews(const Result<AppcastItem>& newest) {
  if (!newest.ok() || !isNews(newest.value())) return;
  const auto& version = newest.value().version;
  if (std::exchange(toldVersion_, version) == version) return;
  tell(UpdateNotice::available(version, environment_.version));
}

void FeedUpdateController::tell(const UpdateNotice& notice) {
  environment_.desktop.notify(notice.title, notice.text);
}

bool FeedUpdateController::isNews(const AppcastItem& item) const {
  return VersionOrder::isNewer(item.version, environment_.version);
}

void FeedUpdateController::changed() const {
  if (onChange_) onChange_();
}

}  // namespace tarvinel
