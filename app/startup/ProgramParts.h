#pragma once

#include "app/capture/CaptureServiceFactory.h"
#include "app/model/AppModel.h"
#include "app/startup/CommandLine.h"
#include "core/support/Log.h"

namespace tarvinel {

/// How pictures of the screen come in this run.
struct ChosenCapture {
  CaptureDecision decision;
  CaptureEngine::ServiceFactory makeService;
  CaptureMeans means;  ///< of what makes the service
};

/// Chooses by the command line and by what the session offers. Blocks while an X server is asked, a
/// few seconds at the most.
/// Call it before there are other threads.
ChosenCapture chooseCapture(const CommandLineOptions& options, const Log& log);

/// The log of this run, as detailed as the command line wants it.
Log logFor(const CommandLineOptions& options);

/// Who looks at the model; both outlive it.
struct Surroundings {
  MainQueue& mainQueue;
  Desktop& desktop;
};

/// The real computer, for a model. Nothing looks for updates.
AppModel::Dependencies platformFor(const CommandLineOptions& options, const ChosenCapture& capture,
                                   const Log& log, Surroundings surroundings);

/// What the command line says of uploads.
AppModel::UploadLaunch uploadsFor(const CommandLineOptions& options);

}  // namespace tarvinel
