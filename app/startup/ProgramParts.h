#pragma once

#include "app/capture/CaptureServiceFactory.h"
#include "app/model/AppModel.h"
#include "app/startup/CommandLine.h"
#include "core/support/Log.h"

namespace tarvinel {

/// The capture backend of this run.
struct ChosenCapture {
  CaptureDecision decision;
  CaptureEngine::ServiceFactory makeService;
  CaptureMeans means;  ///< the service's dependencies
};

/// Chooses by the command line and by what the session offers. Blocks for a few seconds at most
/// while it probes an X server. Call it before other threads exist.
ChosenCapture chooseCapture(const CommandLineOptions& options, const Log& log);

/// Returns the log of this run, at the level that the command line requests.
Log logFor(const CommandLineOptions& options);

/// The main queue and the desktop of a run; both outlive the model.
struct Surroundings {
  MainQueue& mainQueue;
  Desktop& desktop;
};

/// Returns the dependencies of a model on the real computer. There is no update check.
AppModel::Dependencies platformFor(const CommandLineOptions& options, const ChosenCapture& capture,
                                   const Log& log, Surroundings surroundings);

/// Returns the initial state of uploads that the command line requests.
AppModel::UploadLaunch uploadsFor(const CommandLineOptions& options);

}  // namespace tarvinel
