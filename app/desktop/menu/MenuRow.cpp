#include "app/desktop/menu/MenuRow.h"

#include "app/desktop/menu/MenuLabel.h"
#include "app/desktop/menu/TrayMenu.h"

#include <QAbstractButton>
#include <QCheckBox>
#include <QFrame>
#include <QLabel>
#include <QPushButton>
#include <QRadioButton>

#include <algorithm>

namespace tarvinel {

namespace {

using Kind = MenuItem::Kind;

/// Can be selected, to copy an address or to search for a message.
class TextRow : public MenuRow {
 public:
  explicit TextRow(bool isTitle) {
    label_.setTextFormat(Qt::PlainText);
    label_.setWordWrap(true);
    label_.setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    if (!isTitle) return;
    QFont font = label_.font();
    font.setBold(true);
    label_.setFont(font);
  }

  /// What is selected stays so while the text stays.
  void show(const MenuItem& item) override {
    const QString text = QString::fromStdString(item.label);
    if (label_.text() != text) label_.setText(text);
  }

  QWidget& widget() override { return label_; }

 private:
  QLabel label_;
};

/// A button that does its command; `Button` is the toolkit's.
template <class Button>
class ButtonRow : public MenuRow {
 public:
  explicit ButtonRow(const Perform& perform) {
    QObject::connect(&button_, &QAbstractButton::clicked, &button_, [this, perform] {
      // what is on is for the model to say: what the toolkit did by itself is undone
      button_.setChecked(item_.isOn);
      perform(item_.command);
    });
  }

  void show(const MenuItem& item) override {
    item_ = item;
    button_.setText(menuLabel(item, MenuDrawer::toolkit));
    button_.setEnabled(item.isEnabled);
    button_.setChecked(item.isOn);
    button_.setShortcut(menuShortcut(item));
  }

  QWidget& widget() override { return button_; }

 protected:
  Button& button() { return button_; }

 private:
  Button button_;
  MenuItem item_;
};

class ChoiceRow : public ButtonRow<QRadioButton> {
 public:
  explicit ChoiceRow(const Perform& perform) : ButtonRow(perform) {
    button().setAutoExclusive(false);
  }
};

/// A button that opens a menu, and tells which of its choices is on.
class SubmenuRow : public MenuRow {
 public:
  explicit SubmenuRow(const Perform& perform) : menu_(MenuDrawer::toolkit, perform) {
    button_.setMenu(&menu_.menu());
  }

  void show(const MenuItem& item) override {
    menu_.draw(item.items);
    button_.setText(labelOf(item));
    button_.setEnabled(item.isEnabled);
  }

  QWidget& widget() override { return button_; }

 private:
  static QString labelOf(const MenuItem& item) {
    QString label = menuLabel(item, MenuDrawer::toolkit);
    const auto chosen = std::ranges::find_if(item.items, [](const MenuItem& choice) {
      return choice.kind == Kind::choice && choice.isOn;
    });
    if (chosen == item.items.end()) return label;
    return label + QStringLiteral(": ") + menuLabel(*chosen, MenuDrawer::toolkit);
  }

  TrayMenu menu_;
  QPushButton button_;
};

class DividerRow : public MenuRow {
 public:
  DividerRow() {
    line_.setFrameShape(QFrame::HLine);
    line_.setFrameShadow(QFrame::Sunken);
  }

  void show(const MenuItem& /*item*/) override {}
  QWidget& widget() override { return line_; }

 private:
  QFrame line_;
};

std::unique_ptr<MenuRow> emptyRow(Kind kind, const MenuRow::Perform& perform) {
  switch (kind) {
    case Kind::text:
      return std::make_unique<TextRow>(false);
    case Kind::title:
      return std::make_unique<TextRow>(true);
    case Kind::button:
      return std::make_unique<ButtonRow<QPushButton>>(perform);
    case Kind::toggle:
      return std::make_unique<ButtonRow<QCheckBox>>(perform);
    case Kind::choice:
      return std::make_unique<ChoiceRow>(perform);
    case Kind::submenu:
      return std::make_unique<SubmenuRow>(perform);
    case Kind::divider:
      break;
  }
  return std::make_unique<DividerRow>();
}

}  // namespace

std::unique_ptr<MenuRow> MenuRow::make(const MenuItem& item, const Perform& perform) {
  auto row = emptyRow(item.kind, perform);
  row->show(item);
  return row;
}

}  // namespace tarvinel
