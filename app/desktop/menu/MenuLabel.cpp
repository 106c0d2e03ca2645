#include "app/desktop/menu/MenuLabel.h"

namespace tarvinel {

namespace {

using namespace Qt::StringLiterals;

constexpr qsizetype longest = 80;

QString escapedForToolkit(QString label) {
  return label.replace('&'_L1, "&&"_L1);
}

/// Escapes for a panel: the toolkit converts the first '&' to '_' unless it is the label's last
/// character.
QString escapedForPanel(QString label) {
  label.replace('_'_L1, "__"_L1);
  const qsizetype first = label.indexOf('&'_L1);
  if (first >= 0 && first + 1 < label.size()) label.insert(first, '&'_L1);
  return label;
}

}  // namespace

QString shortLabel(const std::string& label) {
  QString line = QString::fromStdString(label).simplified();
  if (line.size() <= longest) return line;
  return line.left(longest / 2) + u'…' + line.right(longest / 2);
}

QKeySequence menuShortcut(const MenuItem& item) {
  if (item.shortcut == MenuItem::noShortcut) return {};
  return {Qt::CTRL | static_cast<Qt::Key>(item.shortcut)};
}

QString menuLabel(const MenuItem& item, MenuDrawer drawer) {
  QString label = shortLabel(item.label);
  return drawer == MenuDrawer::panel ? escapedForPanel(std::move(label))
                                     : escapedForToolkit(std::move(label));
}

}  // namespace tarvinel
