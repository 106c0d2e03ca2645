#pragma once

#include "app/doctor/Finding.h"

#include <functional>
#include <string>

namespace tarvinel {

/// One thing to look into. Plain value.
struct Check {
  std::string topic;  ///< a word, such as "Port"
  /// Looks, and judges what it sees. It runs in a process of its own, where it may block.
  std::function<Findings()> run;
  /// What it means when `run` does not come to an end.
  Finding late = {Finding::State::worthKnowing, "This could not be found out.", {}};
};

}  // namespace tarvinel
