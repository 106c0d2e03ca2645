#include "app/desktop/ToolkitPlatform.h"

#include "app/capture/CaptureServiceFactory.h"

#include <QDir>
#include <QLibraryInfo>
#include <QLocalSocket>
#include <QStandardPaths>

namespace tarvinel {

namespace {

using namespace Qt::StringLiterals;

constexpr int compositorLimitMilliseconds = 2000;

/// The toolkit's Wayland plugin is in a separate package.
bool hasWaylandPlugin() {
  const QDir plugins(QLibraryInfo::path(QLibraryInfo::PluginsPath) + "/platforms"_L1);
  return !plugins.entryList({u"libqwayland*.so"_s}).isEmpty();
}

bool compositorResponds(const std::string& display) {
  const QDir runtime(QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation));
  QLocalSocket socket;
  socket.connectToServer(runtime.filePath(QString::fromStdString(display)));
  return socket.waitForConnected(compositorLimitMilliseconds);
}

}  // namespace

DisplayEnvironment DisplayEnvironment::current() {
  return {qgetenv("QT_QPA_PLATFORM").toStdString(), qgetenv("DISPLAY").toStdString(),
          qgetenv("WAYLAND_DISPLAY").toStdString()};
}

DisplayProbes DisplayProbes::real() {
  return {xServerResponds, [](const std::string& display) {
            return hasWaylandPlugin() && compositorResponds(display);
          }};
}

std::optional<std::string> toolkitPlatform(const DisplayEnvironment& environment,
                                           const DisplayProbes& probes) {
  if (!environment.chosen.empty()) return environment.chosen;
  if (!environment.waylandDisplay.empty() && probes.wayland(environment.waylandDisplay)) {
    return "wayland";
  }
  if (!environment.display.empty() && probes.x11(environment.display)) return "xcb";
  return std::nullopt;
}

}  // namespace tarvinel
