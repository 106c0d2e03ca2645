#pragma once

#include "app/x11/Connection.h"
#include "tests/support/CaptureRun.h"
#include "tests/support/XClient.h"
#include "tests/support/XServer.h"

#include <cstdint>
#include <string>

namespace tarvinel {

/// The fixture of tests that capture an X server: the server, a program that draws on it, and a
/// capture service that reads it.
struct X11Capture {
  explicit X11Capture(const std::string& screen = "320x240x24",
                      const std::vector<std::string>& arguments = {},
                      const x11::Options& options = {});

  /// Returns the only display's number.
  std::uint32_t onlyDisplay() { return run.content().displays.at(0).displayID; }

  /// Starts with the only display and waits for its first frame.
  SeenFrame startOnlyDisplay(bool showsCursor = false);

  XServer server;
  XClient client;
  CaptureRun run;
};

/// Returns what makes a service for the server of that name, for CaptureRun.
CaptureRun::MakeService x11Service(const std::string& display, const x11::Options& options = {});

}  // namespace tarvinel
