#include "app/desktop/updates/AppcastFeed.h"

#include "app/desktop/updates/FeedAddress.h"
#include "app/updates/FeedError.h"
#include "app/updates/MarkupBounds.h"
#include "core/support/UTF8.h"

#include <QXmlStreamReader>

#include <optional>
#include <string>
#include <utility>

namespace tarvinel {

namespace {

// The parser's time grows with the square of the attributes of a tag, also of those that a document
// type declares; a feed that could stop the desktop's loop for seconds is refused.
constexpr std::size_t maxAttributes = 256;

/// A name without its namespace's prefix.
QStringView localName(QStringView name) {
  return name.mid(name.lastIndexOf(QLatin1Char(':')) + 1);
}

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
      : xml_(QString::fromUtf8(bytes.data(), static_cast<qsizetype>(bytes.size()))) {
    xml_.setNamespaceProcessing(false);
  }

  std::vector<AppcastItem> read() {
    readRoot();
    readRSS();
    readEpilog();
    if (items_.empty()) throw FeedError(FeedError::Case::noVersion);
    return std::move(items_);
  }

 private:
  void readRoot() {
    xml_.readNextStartElement();
    refuseBadXML();
    if (xml_.qualifiedName() != QLatin1String("rss")) throw FeedError(FeedError::Case::notRSS);
  }

  void readRSS() {
    while (xml_.readNextStartElement()) {
      if (xml_.qualifiedName() == QLatin1String("channel")) {
        readChannel();
      } else {
        xml_.skipCurrentElement();
      }
    }
  }

  void readChannel() {
    while (xml_.readNextStartElement()) {
      if (xml_.qualifiedName() == QLatin1String("item")) {
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
    if (xml_.qualifiedName() == QLatin1String("enclosure")) {
      const auto attributes = xml_.attributes();
      for (const auto& attribute : attributes) {
        draft.say(localName(attribute.qualifiedName()), attribute.value().toString());
      }
      xml_.skipCurrentElement();
      return;
    }
    const QString name = localName(xml_.qualifiedName()).toString();
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
  if (!isValidUTF8(bytes)) throw FeedError(FeedError::Case::notUTF8);
  if (MarkupBounds::declaresDocumentType(bytes)) throw FeedError(FeedError::Case::documentType);
  if (MarkupBounds::mostAttributes(bytes) > maxAttributes) {
    throw FeedError(FeedError::Case::tooManyAttributes);
  }
  return AppcastReader(bytes).read();
}

}  // namespace tarvinel
