#include "app/menu/MenuView.h"

#include <iterator>
#include <string>
#include <utility>

namespace tarvinel {

namespace {

using Action = MenuCommand::Action;

void append(std::vector<MenuItem>& items, std::vector<MenuItem> more) {
  items.insert(items.end(), std::make_move_iterator(more.begin()),
               std::make_move_iterator(more.end()));
}

void appendText(std::vector<MenuItem>& items, const std::optional<std::string>& text) {
  if (text) items.push_back(MenuItem::text(*text));
}

MenuItem copyButton(std::string label, const std::optional<std::string>& text) {
  return MenuItem::button(std::move(label), {Action::copy, text.value_or("")}, text.has_value());
}

}  // namespace

std::vector<MenuItem> MenuView::items() const {
  std::vector<MenuItem> items = stateItems();
  append(items, addressItems());
  append(items, problemItems());
  items.push_back(MenuItem::divider());
  items.push_back(MenuItem::submenu("Source", sourceItems()));
  items.push_back(sharingButton());
  items.push_back(MenuItem::divider());
  append(items, uploadItems());
  items.push_back(MenuItem::divider());
  append(items, programItems());
  return items;
}

std::vector<MenuItem> MenuView::stateItems() const {
  std::vector<MenuItem> items{MenuItem::text(model_.statusLine())};
  appendText(items, model_.streamLine());
  return items;
}

// Many phones cannot resolve the name, so the numeric address is always shown.
std::vector<MenuItem> MenuView::addressItems() const {
  if (model_.serverError()) return {};
  if (!model_.serverURL()) return {MenuItem::text("Starting server…")};
  if (!model_.nameURL()) {
    return {MenuItem::text(*model_.serverURL()), copyButton("Copy Address", model_.serverURL())};
  }
  return {MenuItem::text(*model_.nameURL()), copyButton("Copy Address", model_.nameURL()),
          MenuItem::text(*model_.serverURL()),
          copyButton("Copy Numeric Address", model_.serverURL())};
}

std::vector<MenuItem> MenuView::problemItems() const {
  std::vector<MenuItem> items;
  appendText(items, model_.serverError());
  appendText(items, model_.nameError());
  appendText(items, model_.captureError());
  appendText(items, model_.permissionHint());
  if (model_.permissionHint()) {
    items.push_back(MenuItem::button("Open Privacy Settings", {Action::openPrivacySettings}));
  }
  return items;
}

std::vector<MenuItem> MenuView::sourceItems() const {
  using Kind = CaptureSource::Kind;
  static constexpr std::pair<Kind, const char*> sections[] = {
      {Kind::display, "Displays"}, {Kind::app, "Apps"}, {Kind::window, "Windows"}};
  std::vector<MenuItem> items;
  for (const auto& [kind, title] : sections) {
    std::vector<MenuItem> section;
    for (const CaptureSource& source : model_.sources()) {
      if (source.kind != kind) continue;
      section.push_back(MenuItem::choice(source.title, {Action::selectSource, source.id},
                                         source.id == model_.selectedID()));
    }
    if (!section.empty()) items.push_back(MenuItem::title(title));
    append(items, std::move(section));
  }
  return items;
}

MenuItem MenuView::sharingButton() const {
  static constexpr char shortcut = 'S';
  if (model_.isSharing()) {
    return MenuItem::button("Stop Sharing", {Action::stopSharing}, true, shortcut);
  }
  return MenuItem::button("Start Sharing", {Action::startSharing}, model_.selectedID().has_value(),
                          shortcut);
}

std::vector<MenuItem> MenuView::uploadItems() const {
  const bool serves = model_.serverURL().has_value();
  std::vector<MenuItem> items{
      MenuItem::toggle("Uploads", {Action::toggleUploads}, model_.uploadsEnabled(), serves)};
  appendText(items, model_.uploadStatusLine());
  appendText(items, model_.uploadLastLine());
  appendText(items, model_.uploadError());
  items.push_back(
      copyButton("Copy " + model_.uploadURL().value_or("Upload Address"), model_.uploadURL()));
  items.push_back(MenuItem::submenu(
      "Upload Folder",
      {MenuItem::button("Choose Folder…", {Action::chooseUploadFolder}),
       MenuItem::button("Reveal in Finder", {Action::revealUploadFolder}),
       MenuItem::toggle("One Folder per Participant", {Action::toggleUploadPerParticipant},
                        model_.uploadPerParticipant())}));
  return items;
}

std::vector<MenuItem> MenuView::programItems() const {
  return {MenuItem::button("Check for Updates…", {Action::checkForUpdates},
                           model_.canCheckForUpdates()),
          MenuItem::button("Tarvinel Help", {Action::openHelp}),
          MenuItem::button("Quit Tarvinel", {Action::quit}, true, 'Q')};
}

void MenuView::perform(const MenuCommand& command) {
  switch (command.action) {
    case Action::none:
      return;
    case Action::copy:
      return desktop_.copy(command.argument);
    case Action::openPrivacySettings:
      return desktop_.openPrivacySettings();
    case Action::selectSource:
      return model_.select(command.argument);
    case Action::startSharing:
      return model_.startSharing();
    case Action::stopSharing:
      return model_.stopSharing();
    case Action::toggleUploads:
      return model_.toggleUploads();
    case Action::chooseUploadFolder:
      return model_.chooseUploadFolder();
    case Action::revealUploadFolder:
      return model_.revealUploadFolder();
    case Action::toggleUploadPerParticipant:
      return model_.toggleUploadPerParticipant();
    case Action::checkForUpdates:
      return model_.checkForUpdates();
    case Action::openHelp:
      return model_.openHelp();
    case Action::quit:
      return desktop_.quit();
  }
}

}  // namespace tarvinel
