#include "app/tray/updates/AppcastFeed.h"

#include "app/tray/updates/FeedAddress.h"
#include "app/updates/FeedError.h"

#include <QXmlStreamReader>

#include <optional>
#include <string>
#include <utility>

namespace tarvinel {

namespace {

/// What an item says; of several sayings the first counts that can be used.
class ItemDraft {
 public:
  void say(QStringView name, const QString& value) {
    if (name == QLatin1String("shortVersionString")) keepVersion(shortVersion_, value);
    if (name == QLatin1String("version")) keepVersion(version_, value);
    if (name == QLatin1String("link")) keepPage(link_, value);
    if (name == QLatin1String("releaseNotesLink")) keepPage(releaseNotes_, value);
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

class AppcastReader {
 public:
  explicit AppcastReader(std::string_view bytes)
      : xml_(QByteArray::fromRawData(bytes.data(), static_cast<qsizetype>(bytes.size()))) {}

  std::vector<AppcastItem> read() {
    readProlog();
    readRSS();
    readEpilog();
    if (items_.empty()) throw FeedError(FeedError::Case::noVersion);
    return std::move(items_);
  }

 private:
  void readProlog() {
    while (!xml_.atEnd() && !xml_.isStartElement()) {
      if (xml_.readNext() == QXmlStreamReader::DTD) {
        throw FeedError(FeedError::Case::documentType);
      }
    }
    refuseBadXML();
    if (xml_.name() != QLatin1String("rss")) throw FeedError(FeedError::Case::notRSS);
  }

  void readRSS() {
    while (xml_.readNextStartElement()) {
      if (xml_.name() == QLatin1String("channel")) {
        readChannel();
      } else {
        xml_.skipCurrentElement();
      }
    }
  }

  void readChannel() {
    while (xml_.readNextStartElement()) {
      if (xml_.name() == QLatin1String("item")) {
        readItem();
      } else {
        xml_.skipCurrentElement();
      }
    }
  }

  void readItem() {
    ItemDraft draft;
    while (xml_.readNextStartElement())
      readFact(draft);
    if (auto item = draft.item()) items_.push_back(*std::move(item));
  }

  void readFact(ItemDraft& draft) {
    if (xml_.name() == QLatin1String("enclosure")) {
      const auto attributes = xml_.attributes();
      for (const auto& attribute : attributes) {
        draft.say(attribute.name(), attribute.value().toString());
      }
      xml_.skipCurrentElement();
      return;
    }
    const QString name = xml_.name().toString();
    draft.say(name, xml_.readElementText(QXmlStreamReader::SkipChildElements));
  }

  void readEpilog() {
    while (!xml_.atEnd())
      xml_.readNext();
    refuseBadXML();
  }

  void refuseBadXML() const {
    if (!xml_.hasError()) return;
    throw FeedError(FeedError::Case::notXML, std::to_string(xml_.lineNumber()));
  }

  QXmlStreamReader xml_;
  std::vector<AppcastItem> items_;
};

}  // namespace

std::vector<AppcastItem> AppcastFeed::parse(std::string_view bytes) {
  if (bytes.empty()) throw FeedError(FeedError::Case::empty);
  return AppcastReader(bytes).read();
}

}  // namespace tarvinel
