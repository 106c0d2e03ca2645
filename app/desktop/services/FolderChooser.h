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

/// Lets the presenter choose a folder, in the desktop portal's dialog if there is one, else in the
/// toolkit's. Lives on the main queue; never blocks.
class FolderChooser {
 public:
  using Chosen = std::function<void(std::filesystem::path)>;

  /// The time limit for the portal to confirm that it opens a dialog.
  static constexpr std::chrono::seconds portalLimit{5};

  explicit FolderChooser(QDBusConnection bus);
  ~FolderChooser();
  FolderChooser(const FolderChooser&) = delete;
  FolderChooser& operator=(const FolderChooser&) = delete;

  /// Opens a dialog and closes one that is still open; `chosen` is called later, or never.
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
  std::unique_ptr<PortalRequest> request_;  ///< the request whose dialog is open or about to open
  std::unique_ptr<QFileDialog> dialog_;
  QTimer timeout_;   ///< for the portal's reply
  QObject context_;  ///< context of the calls that open dialogs
};

}  // namespace tarvinel
