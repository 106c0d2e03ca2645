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

/// One finding about this computer. Plain value.
struct Finding {
  enum class State : std::uint8_t {
    fine,
    worthKnowing,    ///< the program works, but perhaps not as the presenter expects
    needsAttention,  ///< something does not work until it is fixed
  };

  State state = State::fine;
  std::string what;                      ///< one line
  std::vector<std::string> advice = {};  ///< what to do about it, one step a line

  bool operator==(const Finding&) const = default;
};

using Findings = std::vector<Finding>;

/// One check of the report. Plain value.
struct Check {
  std::string topic;  ///< a word, such as "Port"
  /// Probes and judges. It runs in a process of its own, where it may block.
  std::function<Findings()> run;
  /// The finding if `run` does not end in time.
  Finding late = {Finding::State::worthKnowing, "This could not be found out.", {}};
};

/// Writes findings for people: the state, the topic, what was found, and below it what to do.
class DoctorReport {
 public:
  /// The output style. Plain value.
  struct Style {
    bool hasColours = false;
    std::size_t columns = 0;  ///< the width to which lines are wrapped; 0: they are not

    /// Returns the style for standard output: colours and wrapped lines only if it is a terminal.
    static Style forStandardOutput();
  };

  /// `out` outlives it.
  DoctorReport(std::ostream& out, Style style) : out_(out), style_(style) {}

  /// Writes a finding without the control characters in its texts, parts of which come from other
  /// programs.
  void add(const std::string& topic, const Finding& finding);

  /// Writes how many findings need attention.
  void finish();

  bool needsAttention() const { return needingAttention_ > 0; }

 private:
  void writeLine(const std::string& text, std::size_t column);
  std::string painted(Finding::State state, const std::string& text) const;

  std::ostream& out_;
  const Style style_;
  int needingAttention_ = 0;
};

/// Runs checks concurrently and reports them in their order.
class Doctor {
 public:
  /// The time limit for a check.
  static constexpr std::chrono::seconds defaultTimeout{10};

  explicit Doctor(std::vector<Check> checks, std::chrono::milliseconds timeout = defaultTimeout)
      : checks_(std::move(checks)), timeout_(timeout) {}

  /// Runs the checks. Call it while this process has one thread. Throws std::system_error.
  void run(DoctorReport& report) const;

 private:
  const std::vector<Check> checks_;
  const std::chrono::milliseconds timeout_;
};

/// A check that runs in a process of its own: this process is not affected by what it waits for,
/// such as an X server that hangs or a disk that is gone, nor by its crash. Create it while this
/// process has one thread.
class CheckProcess {
 public:
  using Clock = std::chrono::steady_clock;

  /// Starts the process. Throws std::system_error.
  explicit CheckProcess(const std::function<Findings()>& run);

  /// Kills the process if it still runs.
  ~CheckProcess();
  CheckProcess(const CheckProcess&) = delete;
  CheckProcess& operator=(const CheckProcess&) = delete;

  /// Returns the findings, or nullopt if the process has not ended by the deadline or ended without
  /// a result. Blocks until the deadline at most. Call it once.
  std::optional<Findings> await(Clock::time_point deadline);

 private:
  UniqueFd output_;
  pid_t process_ = 0;
};

}  // namespace tarvinel
