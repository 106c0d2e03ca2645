#pragma once

#include "app/startup/CommandLine.h"

namespace tarvinel {

/// Runs the program in a terminal until it is told to end; returns the exit status.
int runHeadless(const CommandLineOptions& options);

/// Prints what can be shared, one a line: identifier, tab, title; returns the exit status.
int listSources(const CommandLineOptions& options);

}  // namespace tarvinel
