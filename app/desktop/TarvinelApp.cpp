#include "app/desktop/TarvinelApp.h"

#include "app/desktop/ToolkitPlatform.h"
#include "app/desktop/icon/ProgramIcons.h"
#include "app/desktop/updates/FeedUpdateController.h"
#include "app/doctor/PortCheck.h"
#include "app/platform/PortHelper.h"
#include "app/startup/Configuration.h"
#include "app/startup/ProgramParts.h"
#include "core/support/ApplicationIdentifier.h"
#include "core/support/ApplicationSupport.h"
#include "core/support/NonBlockingOutput.h"

#include <QApplication>
#include <QPalette>

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <sys/stat.h>
#include <unistd.h>

#include <iostream>
#include <memory>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

namespace tarvinel {

namespace {

/// Keeps disabled text legible: most of the menu's lines are disabled, since they are read-only.
void makeDisabledTextLegible() {
  QPalette palette = QApplication::palette();
  for (const auto role : {QPalette::Text, QPalette::WindowText, QPalette::ButtonText}) {
    QColor colour = palette.color(QPalette::Active, role);
    colour.setAlphaF(0.65F);
    palette.setColor(QPalette::Disabled, role, colour);
  }
  QApplication::setPalette(palette);
}

/// Prints the toolkit's own messages without blocking the main queue.
void print(QtMsgType type, const QMessageLogContext& context, const QString& message) {
  const QByteArray line = qFormatLogMessage(type, context, message).toLocal8Bit() + '\n';
  writeWithoutWaiting(STDERR_FILENO, {line.constData(), static_cast<std::size_t>(line.size())});
}

/// The toolkit's application together with the arguments to which it keeps pointers.
class Toolkit {
 public:
  explicit Toolkit(std::string platform) : platform_(std::move(platform)) {
    qInstallMessageHandler(print);
    QApplication::setQuitOnLastWindowClosed(false);
    QApplication::setApplicationName(QString::fromUtf8(windowClass.data(), windowClass.size()));
    QApplication::setApplicationDisplayName(QStringLiteral("Tarvinel"));
    QApplication::setDesktopFileName(
        QString::fromUtf8(applicationIdentifier.data(), applicationIdentifier.size()));
    QApplication::setWindowIcon(ProgramIcons::program());
    makeDisabledTextLegible();
  }

  static int run() { return QApplication::exec(); }

 private:
  std::string name_ = "tarvinel";
  std::string option_ = "-platform";
  std::string platform_;
  char* arguments_[4] = {name_.data(), option_.data(), platform_.data(), nullptr};
  int count_ = 3;
  QApplication application_{count_, arguments_};
};

/// Returns the advice that --doctor gives on a port that could not be bound.
std::vector<std::string> adviceOnPort(std::uint16_t port, std::error_code refusal) {
  const auto probe =
      PortProbe::afterRefusal(port, refusal.value(), PortHelper::ofThisProgram().place());
  std::vector<std::string> lines;
  for (const Finding& finding : judge(probe)) {
    lines.push_back(finding.what);
    lines.insert(lines.end(), finding.advice.begin(), finding.advice.end());
  }
  return lines;
}

/// Returns whether a person or a program reads what is printed, rather than a desktop's log.
bool isRead(int fd) {
  struct stat status{};
  return isatty(fd) == 1 || (fstat(fd, &status) == 0 && S_ISFIFO(status.st_mode));
}

/// Loads the settings and prints an error in them to `out`, if there is one.
TarvinelConfig settingsFor(const CommandLineOptions& options, const Log& log, std::ostream* out) {
  Configuration configuration = Configuration::load(options, log);
  if (configuration.problem && out != nullptr) *out << *configuration.problem << std::endl;
  return std::move(configuration.config);
}

/// Opens the first run's window; returns the exit status. `given` are the options of this run,
/// which do not reach the first one.
int showFirstInstance(const SingleInstance& instance, const std::vector<std::string>& given) {
  if (!instance.showFirst()) {
    std::cerr << "tarvinel: it is already running, but does not answer; end that process, "
                 "then start again\n";
    return 1;
  }
  if (given.empty()) {
    std::cout << "Tarvinel is already running: its window is open now" << std::endl;
    return 0;
  }
  std::cerr << fmt::format(
      "tarvinel: it is already running, so nothing came of {}; use its window, which is open now, "
      "or quit it and start again\n",
      fmt::join(given, ", "));
  return 1;
}

}  // namespace

int TarvinelApp::run(const CommandLineOptions& options) {
  const auto platform = toolkitPlatform(DisplayEnvironment::current(), DisplayProbes::real());
  if (!platform) {
    std::cerr << "tarvinel: there is no display here; --headless runs in a terminal, --doctor "
                 "tells what is missing\n";
    return 1;
  }
  EndingLimit ending;
  const Log log = logFor(options);
  const ChosenCapture capture = chooseCapture(options, log);
  const Toolkit toolkit(*platform);
  const QDBusConnection bus = QDBusConnection::sessionBus();
  std::function<void()> launchedAgain;
  const SingleInstance instance(bus, [&launchedAgain] { launchedAgain(); });
  if (!instance.isFirst()) return showFirstInstance(instance, options.given);
  TarvinelApp app(options, capture, log, bus, ending);
  launchedAgain = [&app] { app.openWindow(); };
  const int status = Toolkit::run();
  ending.begin();
  return status;
}

TarvinelApp::TarvinelApp(const CommandLineOptions& options, const ChosenCapture& capture, Log log,
                         const QDBusConnection& bus, EndingLimit& ending)
    : log_(std::move(log)),
      out_(isRead(STDOUT_FILENO) ? std::make_unique<LineStream>(STDOUT_FILENO) : nullptr),
      signals_([this, &ending] {
        ending.begin();
        queue_.post([] { QCoreApplication::exit(0); });
      }),
      desktop_(bus, [] { QCoreApplication::exit(0); }),
      model_(AppModel::create(settingsFor(options, log_, out_.get()), platform(options, capture),
                              uploadsFor(options))),
      view_(*model_, desktop_),
      window_([this](const MenuCommand& command) { perform(command); }),
      trayHosts_(bus, [this] { traysChanged(); }) {
  log_.category("app")->info(capture.decision.reason);
  trayTimer_.setSingleShot(true);
  trayTimer_.callOnTimeout([this] { traysAreMissed(); });
  model_->setOnChange([this] { modelChanged(); });
  if (out_) console_ = std::make_shared<Console>(*model_, *out_, nullptr);
  if (options.share) share(*options.share);
  draw();
  traysChanged();
}

// Ends the model before the icon and the window are destroyed, because their display may hang.
TarvinelApp::~TarvinelApp() {
  model_->end();
}

AppModel::Dependencies TarvinelApp::platform(const CommandLineOptions& options,
                                             const ChosenCapture& capture) {
  AppModel::Dependencies platform = platformFor(options, capture, log_, {queue_, desktop_});
  platform.updateController = [this](UpdateController::Delegate& delegate) {
    return std::make_unique<FeedUpdateController>(
        delegate,
        FeedUpdateController::Environment{
            .desktop = desktop_,
            .mainQueue = queue_,
            .logger = log_.category("app"),
            .memory = UserDefaults::defaultPlace().file.replace_filename("updates.json")});
  };
  platform.portAdvice = adviceOnPort;
  platform.helpFile = cacheFolder() / "Tarvinel/help.html";
  return platform;
}

void TarvinelApp::share(const std::string& sourceID) {
  model_->share(sourceID, [this, sourceID] {
    const auto text = fmt::format(R"(No source "{}")", sourceID);
    log_.category("app")->warn(text);
    desktop_.notify("Tarvinel", text);
  });
}

/// Defers the command: this is called in the middle of a click, and the command may delete the
/// clicked item.
void TarvinelApp::perform(const MenuCommand& command) {
  queue_.post([this, command] { view_.perform(command); });
}

/// Draws once for many values that change together.
void TarvinelApp::modelChanged() {
  if (std::exchange(isDrawingDue_, true)) return;
  queue_.post([this] { draw(); });
}

void TarvinelApp::draw() {
  isDrawingDue_ = false;
  const auto items = view_.items();
  window_.draw(items);
  if (icon_) icon_->draw(items, model_->isSharing());
  if (console_) console_->refresh();
}

void TarvinelApp::traysChanged() {
  if (const auto drawer = trayHosts_.drawer(); drawer && !icon_) {
    drawer_ = drawer;
    icon_.emplace(
        *drawer, [this](const MenuCommand& command) { perform(command); },
        [this] { openWindow(); });
    draw();
    if (!window_.isOpen()) model_->appearedInTray();
    introduce("Tarvinel's menu is behind its icon in the panel; Ctrl+C ends it");
  }
  if (isInTray()) {
    trayTimer_.stop();
  } else if (!trayTimer_.isActive()) {
    trayTimer_.start(trayTimeout);
  }
}

bool TarvinelApp::isInTray() const {
  return drawer_ && trayHosts_.has(*drawer_);
}

void TarvinelApp::traysAreMissed() {
  openWindow();
  introduce("Tarvinel's menu is in its window; Ctrl+C ends it");
}

void TarvinelApp::introduce(const std::string& text) {
  if (console_) console_->introduce(text);
}

void TarvinelApp::openWindow() {
  window_.open();
}

}  // namespace tarvinel
