#include "tests/support/X11Capture.h"

#include "app/capture/x11/Service.h"

namespace tarvinel {

X11Capture::X11Capture(const std::string& screen, const std::vector<std::string>& arguments,
                       const x11::Options& options)
    : server(screen, arguments),
      client(server.display()),
      run(x11Service(server.display(), options)) {}

SeenFrame X11Capture::startOnlyDisplay(bool showsCursor) {
  run.startDisplay(onlyDisplay(), showsCursor);
  return run.log().frame(0);
}

CaptureRun::MakeService x11Service(const std::string& display, const x11::Options& options) {
  return [display, options](SerialQueue& queue) {
    return std::make_unique<x11::Service>(queue, display, options);
  };
}

}  // namespace tarvinel
