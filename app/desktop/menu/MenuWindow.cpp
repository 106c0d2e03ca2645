#include "app/desktop/menu/MenuWindow.h"

#include "app/desktop/menu/MenuLabel.h"
#include "app/desktop/menu/TrayMenu.h"

#include <QAbstractButton>
#include <QCheckBox>
#include <QFrame>
#include <QLabel>
#include <QPushButton>
#include <QRadioButton>

#include <algorithm>
#include <utility>

namespace tarvinel {

namespace {

constexpr int narrowest = 380;

}  // namespace

MenuWindow::MenuWindow(MenuRow::Perform perform)
    : perform_(std::move(perform)),
      items_([this](std::size_t index, const MenuItem& item) { return insert(index, item); }) {
  window_.setWindowTitle(QStringLiteral("Tarvinel"));
  column_.addStrut(narrowest);  // wider rows widen the window
  column_.addStretch();
}

void MenuWindow::draw(const std::vector<MenuItem>& items) {
  if (!items_.draw(items)) return;
  orderFocus();
  makeRoom();
}

void MenuWindow::open() {
  window_.setWindowState(window_.windowState() & ~Qt::WindowMinimized);
  window_.show();
  makeRoom();
  window_.raise();
  window_.activateWindow();
}

std::unique_ptr<MenuRow> MenuWindow::insert(std::size_t index, const MenuItem& item) {
  auto row = MenuRow::make(item, perform_);
  column_.insertWidget(static_cast<int>(index), &row->widget());
  row->widget().show();  // before the layout, which ignores hidden widgets
  return row;
}

/// Enlarges the window to fit: the toolkit ignores the height of wrapped lines.
void MenuWindow::makeRoom() {
  if (!window_.isVisible()) return;
  column_.activate();
  window_.setMinimumHeight(column_.totalHeightForWidth(window_.width()));
}

/// Makes the Tab key follow the order of the rows; the toolkit's default is the order of their
/// creation.
void MenuWindow::orderFocus() {
  QWidget* before = nullptr;
  for (const auto& row : items_.parts()) {
    QWidget& widget = row->widget();
    if (widget.focusPolicy() == Qt::NoFocus) continue;
    if (before != nullptr) QWidget::setTabOrder(before, &widget);
    before = &widget;
  }
}

namespace {

using Kind = MenuItem::Kind;

/// A text that can be selected, to copy an address or to search for a message.
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

  /// Keeps the selection while the text is unchanged.
  void show(const MenuItem& item) override {
    const QString text = QString::fromStdString(item.label);
    if (label_.text() != text) label_.setText(text);
  }

  QWidget& widget() override { return label_; }

 private:
  QLabel label_;
};

/// A button that performs its command; `Button` is the toolkit's class.
template <class Button>
class ButtonRow : public MenuRow {
 public:
  explicit ButtonRow(const Perform& perform) {
    QObject::connect(&button_, &QAbstractButton::clicked, &button_, [this, perform] {
      // the model decides what is on: this undoes the toolkit's own change
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

/// A button that opens a menu and shows which of its choices is on.
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
