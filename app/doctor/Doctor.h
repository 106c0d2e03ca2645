#pragma once

#include "core/support/UniqueFd.h"

#include <sys/types.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <ostream>
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

/// One thing to look into. Plain value.
struct Check {
  std::string topic;  ///< a word, such as "Port"
  /// Looks, and judges what it sees. It runs in a process of its own, where it may block.
  std::function<Findings()> run;
  /// What it means when `run` does not come to an end.
  Finding late = {Finding::State::worthKnowing, "This could not be found out.", {}};
};

/// Writes findings for people: the state, the topic, what was found, and under it what to do.
class DoctorReport {
 public:
  /// How it looks. Plain value.
  struct Style {
    bool hasColours = false;
    std::size_t columns = 0;  ///< lines are wrapped to fit; 0: they are not

    /// What fits standard output: colours and wrapped lines only where that is a terminal.
    static Style forStandardOutput();
  };

  /// `out` outlives it.
  DoctorReport(std::ostream& out, Style style) : out_(out), style_(style) {}

  /// Control characters of the texts are not written: parts of them come from elsewhere.
  void add(const std::string& topic, const Finding& finding);

  /// Writes how many things are to be mended.
  void finish();

  bool needsAttention() const { return toBeMended_ > 0; }

 private:
  void writeLine(const std::string& text, std::size_t column);
  std::string painted(Finding::State state, const std::string& text) const;

  std::ostream& out_;
  const Style style_;
  int toBeMended_ = 0;
};

/// Runs checks, all at once, and reports them in their order.
class Doctor {
 public:
  /// How long a check may take before it counts as late.
  static constexpr std::chrono::seconds defaultTimeout{10};

  explicit Doctor(std::vector<Check> checks, std::chrono::milliseconds timeout = defaultTimeout)
      : checks_(std::move(checks)), timeout_(timeout) {}

  /// To be called while this process has one thread. Throws std::system_error.
  void run(DoctorReport& report) const;

 private:
  const std::vector<Check> checks_;
  const std::chrono::milliseconds timeout_;
};

/// A check at work in a process of its own: whatever it waits for (an X server that hangs, a disk
/// that is gone), and even its crash, is nothing to this process. Make it while this process has
/// one thread.
class CheckProcess {
 public:
  using Clock = std::chrono::steady_clock;

  /// Begins to run it. Throws std::system_error.
  explicit CheckProcess(const std::function<Findings()>& run);

  /// Ends it, if it still runs.
  ~CheckProcess();
  CheckProcess(const CheckProcess&) = delete;
  CheckProcess& operator=(const CheckProcess&) = delete;

  /// What it found; nothing when it has not come to an end by then, or ended without a result.
  /// Blocks until then at the most. To be called once.
  std::optional<Findings> await(Clock::time_point deadline);

 private:
  UniqueFd output_;
  pid_t process_ = 0;
};

}  // namespace tarvinel
