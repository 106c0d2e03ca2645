#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace tarvinel {

/// One thing that was found about this computer. Plain value.
struct Finding {
  enum class State : std::uint8_t {
    fine,
    worthKnowing,  ///< the program runs, perhaps not as the presenter expects
    toBeMended,    ///< something does not work until it is done
  };

  State state = State::fine;
  std::string what;                      ///< one line
  std::vector<std::string> advice = {};  ///< what to do about it, a line each

  bool operator==(const Finding&) const = default;
};

using Findings = std::vector<Finding>;

}  // namespace tarvinel
