#include "app/desktop/updates/FeedUpdateController.h"

#include "app/desktop/updates/FeedDownload.h"
#include "app/updates/UpdateNotice.h"
#include "core/support/UnicodeText.h"

#include <QString>

#include <expat.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <memory>
#include <new>
#include <optional>
#include <span>
#include <string>
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
    notifyPresenter(permission.error());
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
  if (kind == Check::userInitiated) notifyPresenter(newest);
  if (kind == Check::scheduled) reportNews(newest);
  changed();
}

void FeedUpdateController::log(const Result<AppcastItem>& newest) const {
  if (newest.ok()) {
    environment_.logger->debug("update feed: the newest version is {}", newest.value().version);
  } else {
    environment_.logger->debug("update check failed: {}", describe(newest.error()));
  }
}

/// Shows the outcome, whatever it is, since the presenter waits for it.
void FeedUpdateController::notifyPresenter(const Result<AppcastItem>& newest) {
  if (!newest.ok()) return notify(UpdateNotice::failed(describe(newest.error())));
  const auto& item = newest.value();
  if (!isNews(item)) return notify(UpdateNotice::upToDate(environment_.version));
  notifiedVersion_ = item.version;
  notify(UpdateNotice::available(item.version, environment_.version));
  if (item.page) environment_.desktop.openInBrowser(*item.page);
}

/// Notifies the presenter of a new version, once.
void FeedUpdateController::reportNews(const Result<AppcastItem>& newest) {
  if (!newest.ok() || !isNews(newest.value())) return;
  const auto& version = newest.value().version;
  if (std::exchange(notifiedVersion_, version) == version) return;
  notify(UpdateNotice::available(version, environment_.version));
}

void FeedUpdateController::notify(const UpdateNotice& notice) {
  environment_.desktop.notify(notice.title, notice.text);
}

bool FeedUpdateController::isNews(const AppcastItem& item) const {
  return VersionOrder::isNewer(item.version, environment_.version);
}

void FeedUpdateController::changed() const {
  if (onChange_) onChange_();
}

namespace {

constexpr std::size_t maxAttributes = 256;

/// Returns a name without its namespace prefix.
std::string_view localName(std::string_view name) {
  return name.substr(name.rfind(':') + 1);  // the whole name if there is no colon: npos + 1 is 0
}

/// The elements of an item; the first usable one of a kind counts.
class ItemDraft {
 public:
  void say(std::string_view name, const std::string& text) {
    const QString value = QString::fromStdString(text);
    if (name == "shortVersionString") keepVersion(shortVersion_, value);
    if (name == "version") keepVersion(version_, value);
    if (name == "link") keepPage(link_, value);
    if (name == "releaseNotesLink") keepPage(releaseNotes_, value);
  }

  std::optional<AppcastItem> item() const {
    const auto& version = shortVersion_ ? shortVersion_ : version_;
    if (!version) return std::nullopt;
    return AppcastItem{*version, link_ ? link_ : releaseNotes_};
  }

 private:
  using Text = std::optional<std::string>;

  static void keepVersion(Text& kept, const QString& value) {
    auto version = value.trimmed().toStdString();
    if (!kept && VersionOrder::isVersion(version)) kept = std::move(version);
  }

  static void keepPage(Text& kept, const QString& value) {
    if (!kept) kept = FeedAddress::page(value);
  }

  Text shortVersion_;
  Text version_;
  Text link_;
  Text releaseNotes_;
};

// Expat deprecates the older of these functions since the newer one exists.
std::uint64_t currentLine(XML_Parser parser) {
#if XML_MAJOR_VERSION > 2 || XML_MINOR_VERSION >= 9
  return XML_GetCurrentLineNumber64(parser);
#else
  return XML_GetCurrentLineNumber(parser);
#endif
}

/// Reads a feed with expat, whose time and memory grow only with the feed's size, however deep its
/// elements and however many a tag's attributes.
class AppcastReader {
 public:
  AppcastReader() : parser_(XML_ParserCreate("UTF-8"), &XML_ParserFree) {
    if (!parser_) throw std::bad_alloc();
    XML_SetUserData(parser_.get(), this);
    XML_SetStartDoctypeDeclHandler(parser_.get(), &onDocumentType);
    XML_SetElementHandler(parser_.get(), &onStart, &onEnd);
    XML_SetCharacterDataHandler(parser_.get(), &onText);
  }

  std::vector<AppcastItem> read(std::string_view bytes) {
    const auto status =
        XML_Parse(parser_.get(), bytes.data(), static_cast<int>(bytes.size()), XML_TRUE);
    if (failure_) std::rethrow_exception(failure_);
    if (status != XML_STATUS_OK) {
      throw FeedError(FeedError::Case::notXML, std::to_string(currentLine(parser_.get())));
    }
    if (items_.empty()) throw FeedError(FeedError::Case::noVersion);
    return std::move(items_);
  }

 private:
  static constexpr std::array<std::string_view, 3> itemPath{"rss", "channel", "item"};

  /// Runs a step of a callback. No exception passes through the library: the first one stops the
  /// parser, which may still call back a few times, and is rethrown when it has returned.
  template <class Step>
  static void guarded(void* reader, Step step) {
    auto& self = *static_cast<AppcastReader*>(reader);
    if (self.failure_) return;
    try {
      step(self);
    } catch (...) {
      self.failure_ = std::current_exception();
      XML_StopParser(self.parser_.get(), XML_FALSE);
    }
  }

  /// Called before anything that the document type declares is read.
  static void onDocumentType(void* reader, const char* /*name*/, const char* /*system*/,
                             const char* /*publicly*/, int /*hasInternalSubset*/) {
    guarded(reader, [](AppcastReader&) { throw FeedError(FeedError::Case::documentType); });
  }
  static void onStart(void* reader, const char* name, const char** attributes) {
    guarded(reader, [=](AppcastReader& self) { self.start(name, attributes); });
  }
  static void onEnd(void* reader, const char* /*name*/) {
    guarded(reader, [](AppcastReader& self) { self.end(); });
  }
  static void onText(void* reader, const char* text, int length) {
    guarded(reader, [=](AppcastReader& self) {
      if (self.isInItem(1)) self.text_.append(text, static_cast<std::size_t>(length));
    });
  }

  /// `attributes` alternates names and values, and ends with a null pointer.
  void start(std::string_view name, const char** attributes) {
    std::size_t count = 0;
    while (attributes[2 * count] != nullptr)
      ++count;
    if (count > maxAttributes) throw FeedError(FeedError::Case::tooManyAttributes);
    if (isInItem(0)) startFact(name, {attributes, 2 * count});
    if (depth_ == 0 && name != itemPath[0]) throw FeedError(FeedError::Case::notRSS);
    if (depth_ == matched_ && matched_ < itemPath.size() && name == itemPath[matched_]) ++matched_;
    ++depth_;
  }

  void startFact(std::string_view name, std::span<const char*> attributes) {
    name_ = localName(name);
    text_.clear();
    if (name != "enclosure") return;
    for (std::size_t i = 0; i < attributes.size(); i += 2)
      draft_.say(localName(attributes[i]), attributes[i + 1]);
  }

  void end() {
    --depth_;
    if (isInItem(0)) draft_.say(name_, text_);
    if (depth_ >= matched_) return;
    if (matched_ == itemPath.size()) endItem();
    matched_ = depth_;
  }

  void endItem() {
    if (auto item = std::exchange(draft_, {}).item()) items_.push_back(*std::move(item));
  }

  /// Returns whether the parser is this number of elements below an item.
  bool isInItem(std::size_t below) const {
    return matched_ == itemPath.size() && depth_ == matched_ + below;
  }

  const std::unique_ptr<XML_ParserStruct, decltype(&XML_ParserFree)> parser_;
  std::exception_ptr failure_;
  std::size_t depth_ = 0;    ///< how many elements are open
  std::size_t matched_ = 0;  ///< how many of them, from the outermost on, lead to an item
  ItemDraft draft_;
  std::string name_;  ///< name, without prefix, of the current element in the item
  std::string text_;  ///< the text directly in that element
  std::vector<AppcastItem> items_;
};

}  // namespace

std::vector<AppcastItem> AppcastFeed::parse(std::string_view bytes) {
  if (bytes.empty()) throw FeedError(FeedError::Case::empty);
  if (!isValidUTF8(bytes)) throw FeedError(FeedError::Case::notUTF8);
  return AppcastReader().read(bytes);
}

}  // namespace tarvinel
