#include "app/HeadlessProgram.h"

#include "app/AppModel.h"
#include "app/Configuration.h"
#include "app/Console.h"
#include "app/LineReader.h"
#include "app/PicturesFolder.h"
#include "app/PortHelper.h"
#include "app/TerminalDesktop.h"
#include "app/TerminalLoop.h"
#include "app/capture/CaptureEngine.h"
#include "core/support/ApplicationIdentifier.h"

#include <unistd.h>

#include <ctime>
#include <filesystem>
#include <future>
#include <iostream>
#include <memory>
#include <string>
#include <system_error>

namespace tarvinel {

namespace {

Log logFor(const CommandLineOptions& options) {
  return Log::standardError(options.verbose ? spdlog::level::debug : spdlog::level::info);
}

AppModel::UploadLaunch uploadsFor(const CommandLineOptions& options) {
  AppModel::UploadLaunch launch{defaultUploadFolder(std::time(nullptr)), {}, options.uploads};
  if (options.uploadFolder) launch.folder = std::filesystem::absolute(*options.uploadFolder);
  return launch;
}

struct ChosenCapture {
  CaptureDecision decision;
  CaptureEngine::ServiceFactory makeService;
};

ChosenCapture chooseCapture(const CommandLineOptions& options) {
  const CaptureEnvironment environment = CaptureEnvironment::current();
  const CaptureDecision decision = decideCaptureRoad(options.capture, environment, xServerAnswers);
  return {decision, [road = decision.road, environment](SerialQueue& queue) {
            return makeCaptureService(road, environment, queue);
          }};
}

}  // namespace

int runHeadless(const CommandLineOptions& options) {
  const ChosenCapture capture = chooseCapture(options);
  std::cout << capture.decision.reason << std::endl;
  const Log log = logFor(options);
  const Configuration configuration = Configuration::load(options, log);
  if (configuration.problem) std::cout << *configuration.problem << std::endl;
  TerminalLoop loop;
  TerminalDesktop desktop;
  const auto model = AppModel::create(
      configuration.config,
      {.mainQueue = loop,
       .desktop = desktop,
       .log = log,
       .captureService = capture.makeService,
       .userDefaultsFile = UserDefaults::defaultFile(),
       .sysfs = options.sysfs,
       .listenerForPort80 = [helper = PortHelper::ofThisProgram()](
                                std::error_code refusal) { return helper.listen(refusal); }},
      uploadsFor(options));
  const auto console = std::make_shared<Console>(
      *model, std::cout, [&loop](int status) { loop.quit(status); },
      isatty(STDOUT_FILENO) == 1 ? QRColours::terminal : QRColours::none);
  model->setOnChange([&console] { console->refresh(); });
  console->refresh();
  if (options.share) console->share(*options.share);
  const LineReader commands(STDIN_FILENO, [&](std::string line) {
    loop.post([weak = std::weak_ptr(console), line = std::move(line)] {
      if (const auto alive = weak.lock()) alive->obey(line);
    });
  });
  return loop.run();
}

int listSources(const CommandLineOptions& options) {
  FrameBroadcaster broadcaster;
  CaptureEngine engine(broadcaster, logFor(options).category("capture"),
                       chooseCapture(options).makeService);
  std::promise<Result<std::vector<CaptureSource>>> listed;
  engine.listSources(std::string(applicationIdentifier),
                     [&listed](Result<std::vector<CaptureSource>> sources) {
                       listed.set_value(std::move(sources));
                     });
  const auto sources = listed.get_future().get();
  for (const CaptureSource& source : sources.value()) {
    std::cout << source.id << '\t' << source.title << '\n';
  }
  return 0;
}

}  // namespace tarvinel
