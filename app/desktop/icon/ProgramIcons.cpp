#include "app/desktop/icon/ProgramIcons.h"

#include "app/platform/ResourcesFolder.h"
#include "core/support/ApplicationIdentifier.h"

#include <QIconEngine>

#include <fmt/format.h>

#include <filesystem>
#include <string>
#include <string_view>
#include <utility>

namespace tarvinel {

namespace {

constexpr auto traySizes = {16, 22, 24, 32, 48, 64};
constexpr auto programSizes = {16, 32, 48, 64, 128, 256};

/// Adds one size of an icon from a file below the resources folder.
void addSize(QIcon& icon, const std::filesystem::path& file, int side) {
  if (const auto folder = resourcesFolder()) {
    icon.addFile(QString::fromStdString(*folder / file), {side, side});
  }
}

/// An icon with this program's pictures under a name for which the desktop's theme has an icon.
class NamedIconEngine : public QIconEngine {
 public:
  NamedIconEngine(QString name, QIcon pictures)
      : name_(std::move(name)), pictures_(std::move(pictures)) {}

  void paint(QPainter* painter, const QRect& rect, QIcon::Mode mode, QIcon::State state) override {
    pictures_.paint(painter, rect, Qt::AlignCenter, mode, state);
  }
  QPixmap pixmap(const QSize& size, QIcon::Mode mode, QIcon::State state) override {
    return pictures_.pixmap(size, mode, state);
  }
  QList<QSize> availableSizes(QIcon::Mode mode, QIcon::State state) override {
    return pictures_.availableSizes(mode, state);
  }
  QString iconName() override { return name_; }
  QIconEngine* clone() const override { return new NamedIconEngine(*this); }

 private:
  QString name_;
  QIcon pictures_;
};

}  // namespace

QIcon ProgramIcons::program() {
  QIcon icon;
  for (const int side : programSizes) {
    addSize(icon, fmt::format("icons/hicolor/{0}x{0}/apps/{1}.png", side, applicationIdentifier),
            side);
  }
  return icon;
}

QIcon ProgramIcons::tray(bool sharing) {
  const std::string state = sharing ? "sharing" : "idle";
  QIcon pictures;
  for (const int side : traySizes) {
    addSize(pictures, fmt::format("tray/{}-{}.png", state, side), side);
  }
  const auto name =
      QString::fromStdString(fmt::format("{}-{}-symbolic", applicationIdentifier, state));
  return QIcon::hasThemeIcon(name) ? QIcon(new NamedIconEngine(name, pictures)) : pictures;
}

}  // namespace tarvinel
