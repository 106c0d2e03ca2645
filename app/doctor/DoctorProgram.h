#pragma once

#include "app/doctor/Doctor.h"
#include "app/startup/CommandLine.h"

#include <vector>

namespace tarvinel {

/// Looks at this computer and prints what it finds; changes nothing. Returns the exit status: 1
/// when something is to be mended, else 0. `hasTray` says whether this build can be in one. To be
/// called while this process has one thread.
int runDoctor(const CommandLineOptions& options, bool hasTray);

/// Everything that is looked into with these options, in the order of the report.
std::vector<Check> allChecks(const CommandLineOptions& options, bool hasTray);

}  // namespace tarvinel
