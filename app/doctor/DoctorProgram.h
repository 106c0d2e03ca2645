#pragma once

#include "app/CommandLine.h"
#include "app/doctor/Check.h"

#include <vector>

namespace tarvinel {

/// Looks at this computer and prints what it finds; changes nothing. Returns the exit status: 1
/// when something is to be mended, else 0. To be called while this process has one thread.
int runDoctor(const CommandLineOptions& options);

/// Everything that is looked into with these options, in the order of the report.
std::vector<Check> allChecks(const CommandLineOptions& options);

}  // namespace tarvinel
