#include "app/terminal/HeadlessProgram.h"

#include "app/capture/CaptureEngine.h"
#include "app/model/AppModel.h"
#include "app/startup/Configuration.h"
#include "app/startup/EndingLimit.h"
#include "app/startup/ProgramParts.h"
#include "app/startup/TerminationSignals.h"
#include "app/terminal/Console.h"
#include "app/terminal/LineReader.h"
#include "app/terminal/ServiceNotice.h"
#include "app/terminal/TerminalDesktop.h"
#include "app/terminal/TerminalLoop.h"
#include "core/support/ApplicationIdentifier.h"
#include "core/support/LineStream.h"
#include "core/support/NonBlockingOutput.h"

#include <unistd.h>

#include <future>
#include <iostream>
#include <memory>
#include <string>

namespace tarvinel {

namespace {

std::string introductionFor(const CommandLineOptions& options) {
  if (options.share) return R"(Type "help" for the commands; Ctrl+C ends Tarvinel)";
  return R"(Type "sources", then "share ID", or "help" for more; Ctrl+C ends Tarvinel)";
}

void adviseOnPort(const Log& log) {
  log.flush();
  writeWithoutWaiting(STDERR_FILENO, "tarvinel: --doctor tells what to do about the port\n");
}

}  // namespace

int runHeadless(const CommandLineOptions& options) {
  EndingLimit ending;
  const Log log = logFor(options);
  const ChosenCapture capture = chooseCapture(options, log);
  LineStream out(STDOUT_FILENO);
  out << capture.decision.reason << std::endl;
  const Configuration configuration = Configuration::load(options, log);
  if (configuration.problem) out << *configuration.problem << std::endl;
  TerminalLoop loop;
  const TerminationSignals signals([&] {
    ending.begin();
    loop.post([&loop] { loop.quit(0); });
  });
  TerminalDesktop desktop;
  const auto model =
      AppModel::create(configuration.config, platformFor(options, capture, log, {loop, desktop}),
                       uploadsFor(options));
  const auto console = std::make_shared<Console>(
      *model, out, [&loop](int status) { loop.quit(status); },
      isatty(STDOUT_FILENO) == 1 ? QRColours::terminal : QRColours::none);
  ServiceNotice notice(*model);
  model->setOnChange([&console, &notice] {
    console->refresh();
    notice.refresh();
  });
  console->introduce(introductionFor(options));
  if (options.share) console->share(*options.share);
  const LineReader commands(STDIN_FILENO, [&](std::string line) {
    loop.post([weak = std::weak_ptr(console), line = std::move(line)] {
      if (const auto alive = weak.lock()) alive->obey(line);
    });
  });
  const int status = loop.run();
  ending.begin();
  model->end();
  if (model->serverError()) adviseOnPort(log);
  return status;
}

int listSources(const CommandLineOptions& options) {
  FrameBroadcaster broadcaster;
  const Log log = logFor(options);
  CaptureEngine engine(broadcaster, log.category("capture"),
                       chooseCapture(options, log).makeService);
  std::promise<Result<std::vector<CaptureSource>>> listed;
  engine.listSources(std::string(applicationIdentifier),
                     [&listed](Result<std::vector<CaptureSource>> sources) {
                       listed.set_value(std::move(sources));
                     });
  const auto sources = listed.get_future().get();
  if (!sources.ok()) {
    log.flush();
    std::cerr << "tarvinel: there is nothing to list, as the log says above; --doctor tells what "
                 "to do\n";
    return 1;
  }
  for (const CaptureSource& source : sources.value()) {
    std::cout << source.id << '\t' << source.title << '\n';
  }
  return 0;
}

}  // namespace tarvinel
