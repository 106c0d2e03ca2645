#include "app/terminal/HeadlessProgram.h"

#include "app/capture/CaptureEngine.h"
#include "app/model/AppModel.h"
#include "app/startup/Configuration.h"
#include "app/startup/EndingLimit.h"
#include "app/startup/ProgramParts.h"
#include "app/startup/TerminationSignals.h"
#include "app/terminal/Console.h"
#include "app/terminal/LineReader.h"
#include "app/terminal/SystemdNotifier.h"
#include "core/support/ApplicationIdentifier.h"
#include "core/support/LineWriter.h"
#include "core/support/NonBlockingOutput.h"
#include "core/support/Result.h"

#include <asio/executor_work_guard.hpp>
#include <asio/post.hpp>
#include <asio/steady_timer.hpp>

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <future>
#include <iostream>
#include <memory>
#include <string>
#include <utility>

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
  SystemdNotifier notice(*model);
  model->setOnChange([&console, &notice] {
    console->refresh();
    notice.refresh();
  });
  console->introduce(introductionFor(options));
  if (options.share) console->share(*options.share);
  const LineReader commands(STDIN_FILENO, [&](std::string line) {
    loop.post([weak = std::weak_ptr(console), line = std::move(line)] {
      if (const auto alive = weak.lock()) alive->execute(line);
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

void TerminalDesktop::keepAwake(bool awake) {
  suspension_.reset();
  const char* display = std::getenv("DISPLAY");
  if (!awake || display == nullptr) return;
  // an unreachable server is left as it is
  (void)resultOf([&] { suspension_ = std::make_unique<x11::ScreenSaverSuspension>(display); });
}

namespace {

/// A timer that keeps its period without drift and skips ticks that were missed while the queue was
/// busy.
class LoopTimer : public std::enable_shared_from_this<LoopTimer> {
 public:
  LoopTimer(asio::io_context& context, std::chrono::milliseconds interval,
            std::function<void()> task)
      : timer_(context), interval_(interval), task_(std::move(task)) {}

  void schedule() {
    next_ = std::max(next_ + interval_, std::chrono::steady_clock::now());
    timer_.expires_at(next_);
    timer_.async_wait([weak = weak_from_this()](std::error_code cancelled) {
      const auto self = weak.lock();
      if (cancelled || !self) return;
      self->task_();
      self->schedule();
    });
  }

 private:
  asio::steady_timer timer_;
  const std::chrono::milliseconds interval_;
  const std::function<void()> task_;
  std::chrono::steady_clock::time_point next_ = std::chrono::steady_clock::now();
};

/// The owner's handle: destroying it destroys the timer, whose handler holds it weakly.
class TimerHandle : public MainQueue::Timer {
 public:
  explicit TimerHandle(std::shared_ptr<LoopTimer> timer) : timer_(std::move(timer)) {}

 private:
  std::shared_ptr<LoopTimer> timer_;
};

}  // namespace

void TerminalLoop::post(std::function<void()> task) {
  asio::post(context_, std::move(task));
}

std::unique_ptr<MainQueue::Timer> TerminalLoop::repeat(std::chrono::milliseconds interval,
                                                       std::function<void()> task) {
  auto timer = std::make_shared<LoopTimer>(context_, interval, std::move(task));
  timer->schedule();
  return std::make_unique<TimerHandle>(std::move(timer));
}

int TerminalLoop::run() {
  const auto work = asio::make_work_guard(context_);
  context_.run();
  return status_;
}

void TerminalLoop::quit(int status) {
  if (context_.stopped()) return;
  status_ = status;
  context_.stop();
}

}  // namespace tarvinel
