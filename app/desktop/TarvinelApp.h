#pragma once

#include "app/desktop/DesktopShell.h"
#include "app/desktop/QtMainQueue.h"
#include "app/desktop/SingleInstance.h"
#include "app/desktop/icon/TrayHosts.h"
#include "app/desktop/icon/TrayIcon.h"
#include "app/desktop/menu/MenuWindow.h"
#include "app/menu/MenuView.h"
#include "app/model/AppModel.h"
#include "app/startup/CommandLine.h"
#include "app/startup/EndingLimit.h"
#include "app/startup/ProgramParts.h"
#include "app/startup/TerminationSignals.h"
#include "app/terminal/Console.h"
#include "core/support/LineWriter.h"

#include <QDBusConnection>
#include <QTimer>

#include <chrono>
#include <memory>
#include <optional>
#include <vector>

namespace tarvinel {

/// The program on a desktop: the model, a tray icon with the menu, and a window with the same items
/// for desktops without a tray. Lives on the main queue; a process has at most one.
class TarvinelApp {
 public:
  TarvinelApp(const TarvinelApp&) = delete;
  TarvinelApp& operator=(const TarvinelApp&) = delete;

  /// How long the presenter waits for a tray before the window opens.
  static constexpr std::chrono::seconds trayTimeout{5};

  /// Runs the program until a command or a signal ends it; returns the exit status. A second run in
  /// a session makes the first one open its window, and ends.
  static int run(const CommandLineOptions& options);

 private:
  /// `ending` begins with the first request to end, whatever its origin.
  TarvinelApp(const CommandLineOptions& options, const ChosenCapture& capture, Log log,
              const QDBusConnection& bus, EndingLimit& ending);
  ~TarvinelApp();

  AppModel::Dependencies platform(const CommandLineOptions& options, const ChosenCapture& capture);
  void share(const std::string& sourceID);
  void perform(const MenuCommand& command);
  void modelChanged();
  void draw();
  void traysChanged();
  bool isInTray() const;
  void traysAreMissed();
  void introduce(const std::string& text);
  void openWindow();

  const Log log_;
  const std::unique_ptr<LineStream> out_;  ///< standard output; null if nobody reads it
  QtMainQueue queue_;
  TerminationSignals signals_;
  DesktopShell desktop_;
  std::shared_ptr<AppModel> model_;
  MenuView view_;
  MenuWindow window_;
  std::shared_ptr<Console> console_;  ///< for a presenter who started the program in a terminal
  std::optional<MenuDrawer> drawer_;  ///< the drawer of the icon's menu
  std::optional<TrayIcon> icon_;      ///< created when the first tray appears
  QTimer trayTimer_;
  TrayHosts trayHosts_;
  bool isDrawingDue_ = false;
};

}  // namespace tarvinel
