#pragma once

#include "app/doctor/Doctor.h"
#include "app/startup/CommandLine.h"

#include <vector>

namespace tarvinel {

/// Checks this computer and prints the findings; changes nothing. Returns the exit status: 1 if
/// something needs attention, else 0. `hasTray` is whether this build supports a tray. Call it
/// while this process has one thread.
int runDoctor(const CommandLineOptions& options, bool hasTray);

/// Returns all checks for these options, in the order of the report.
std::vector<Check> allChecks(const CommandLineOptions& options, bool hasTray);

}  // namespace tarvinel
