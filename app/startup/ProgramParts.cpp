#include "app/startup/ProgramParts.h"

#include "app/platform/PicturesFolder.h"
#include "app/platform/PortHelper.h"

#include <ctime>
#include <filesystem>
#include <system_error>

namespace tarvinel {

ChosenCapture chooseCapture(const CommandLineOptions& options, const Log& log) {
  const CaptureEnvironment environment = CaptureEnvironment::current();
  const CaptureDecision decision =
      chooseCaptureBackend(options.capture, environment, xServerResponds);
  const CaptureMeans means{std::make_shared<portal::RestoreTokens>(),
                           std::make_shared<x11::Interrupt>()};
  return {decision,
          [backend = decision.backend, environment, means, log](SerialQueue& queue) {
            return makeCaptureService(backend, environment, means, log, queue);
          },
          means};
}

Log logFor(const CommandLineOptions& options) {
  return Log::standardError(options.verbose ? spdlog::level::debug : spdlog::level::info);
}

AppModel::Dependencies platformFor(const CommandLineOptions& options, const ChosenCapture& capture,
                                   const Log& log, Surroundings surroundings) {
  return {.mainQueue = surroundings.mainQueue,
          .desktop = surroundings.desktop,
          .log = log,
          .captureService = capture.makeService,
          .userDefaults = UserDefaults::defaultPlace(),
          .restoreTokens = capture.means.tokens,
          .interruptCapture = [interrupt = capture.means.interrupt] { interrupt->interrupt(); },
          .sysfs = options.sysfs,
          .listenerForPort80 = [helper = PortHelper::ofThisProgram()](
                                   std::error_code refusal) { return helper.listen(refusal); }};
}

AppModel::UploadLaunch uploadsFor(const CommandLineOptions& options) {
  AppModel::UploadLaunch launch{defaultUploadFolder(std::time(nullptr)), {}, options.uploads};
  if (options.uploadFolder) launch.folder = std::filesystem::absolute(*options.uploadFolder);
  return launch;
}

}  // namespace tarvinel
