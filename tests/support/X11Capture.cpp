#include "tests/support/X11Capture.h"

#include "app/capture/x11/X11CaptureService.h"

namespace tarvinel {

X11Capture::X11Capture(const std::string& screen, const std::vector<std::string>& arguments,
                       const X11Options& options)
    : server(screen, arguments),
      client(server.display()),
      run(x11Service(server.display(), options)) {}

SeenFrame X11Capture::startOnlyDisplay(bool showsCursor) {
  run.startDisplay(onlyDisplay(), showsCursor);
  return run.log().frame(0);
}

CaptureRun::MakeService x11Service(const std::string& display, const X11Options& options) {
  return [display, options](SerialQueue& queue) {
    return std::make_unique<X11CaptureService>(queue, display, options);
  };
}

}  // namespace tarvinel
