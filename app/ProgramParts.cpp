#include "app/ProgramParts.h"

#include "app/PicturesFolder.h"

#include <ctime>
#include <filesystem>

namespace tarvinel {

ChosenCapture chooseCapture(const CommandLineOptions& options) {
  const CaptureEnvironment environment = CaptureEnvironment::current();
  const CaptureDecision decision = decideCaptureRoad(options.capture, environment, xServerAnswers);
  return {decision, [road = decision.road, environment](SerialQueue& queue) {
            return makeCaptureService(road, environment, queue);
          }};
}

Log logFor(const CommandLineOptions& options) {
  return Log::standardError(options.verbose ? spdlog::level::debug : spdlog::level::info);
}

AppModel::UploadLaunch uploadsFor(const CommandLineOptions& options) {
  AppModel::UploadLaunch launch{defaultUploadFolder(std::time(nullptr)), {}, options.uploads};
  if (options.uploadFolder) launch.folder = std::filesystem::absolute(*options.uploadFolder);
  return launch;
}

}  // namespace tarvinel
