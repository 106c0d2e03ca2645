#include "app/tray/MenuWindow.h"

#include <utility>

namespace tarvinel {

namespace {

constexpr int narrowest = 380;

}  // namespace

MenuWindow::MenuWindow(MenuRow::Perform perform)
    : perform_(std::move(perform)),
      items_([this](std::size_t index, const MenuItem& item) { return insert(index, item); }) {
  window_.setWindowTitle(QStringLiteral("Tarvinel"));
  window_.setMinimumWidth(narrowest);
  column_.addStretch();
}

void MenuWindow::draw(const std::vector<MenuItem>& items) {
  if (items_.draw(items)) orderFocus();
}

void MenuWindow::open() {
  window_.setWindowState(window_.windowState() & ~Qt::WindowMinimized);
  window_.show();
  window_.raise();
  window_.activateWindow();
}

std::unique_ptr<MenuRow> MenuWindow::insert(std::size_t index, const MenuItem& item) {
  auto row = MenuRow::make(item, perform_);
  column_.insertWidget(static_cast<int>(index), &row->widget());
  return row;
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
