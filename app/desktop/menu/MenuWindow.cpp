#include "app/desktop/menu/MenuWindow.h"

#include <utility>

namespace tarvinel {

namespace {

constexpr int narrowest = 380;

}  // namespace

MenuWindow::MenuWindow(MenuRow::Perform perform)
    : perform_(std::move(perform)),
      items_([this](std::size_t index, const MenuItem& item) { return insert(index, item); }) {
  window_.setWindowTitle(QStringLiteral("Tarvinel"));
  column_.addStrut(narrowest);  // rows that need more get it
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
  row->widget().show();  // now, so that there is room made for it
  return row;
}

/// The toolkit takes no account of how high lines become that are wrapped.
void MenuWindow::makeRoom() {
  if (!window_.isVisible()) return;
  column_.activate();
  window_.setMinimumHeight(column_.totalHeightForWidth(window_.width()));
}

/// The toolkit would have the Tab key go through the rows by age.
void MenuWindow::orderFocus() {
  QWidget* before = nullptr;
  for (const auto& row : items_.parts()) {
    QWidget& widget = row->widget();
    if (widget.focusPolicy() == Qt::NoFocus) continue;
    if (before != nullptr) QWidget::setTabOrder(before, &widget);
    before = &widget;
  }
}

}  // namespace tarvinel
