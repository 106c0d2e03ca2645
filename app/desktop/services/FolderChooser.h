#pragma once

#include "app/desktop/dbus/DBusCall.h"

#include <QDBusConnection>
#include <QFileDialog>
#include <QObject>
#include <QTimer>

#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>

namespace tarvinel {

/// Lets the presenter choose a folder, in the desktop's own dialog where its portal has one, else
/// in the toolkit's. Lives on the main queue; waits for nobody.
class FolderChooser {
 public:
  using Chosen = std::function<void(std::filesystem::path)>;

  /// How long the portal may take to say that it will ask the presenter.
  static constexpr std::chrono::seconds portalLimit{5};

  explicit FolderChooser(QDBusConnection bus);
  ~FolderChooser();
  FolderChooser(const FolderChooser&) = delete;
  FolderChooser& operator=(const FolderChooser&) = delete;

  /// Opens a dialog, in place of one that is still open; `chosen` is called later, or never.
  void choose(const std::filesystem::path& current, Chosen chosen);

 private:
  struct PortalRequest;

  void queryPortal();
  void portalReplied(const QString& path, const QDBusMessage& reply);
  void portalIsSilent();
  void portalResponded(const QDBusMessage& response);
  void openDialog();

  const QDBusConnection bus_;
  std::filesystem::path current_;
  Chosen chosen_;
  int requests_ = 0;
  std::unique_ptr<PortalRequest> request_;  ///< the one whose dialog is or may be open
  std::unique_ptr<QFileDialog> dialog_;
  QTimer timeout_;   ///< for the portal's reply
  QObject context_;  ///< of the calls that open dialogs
};

}  // namespace tarvinel
