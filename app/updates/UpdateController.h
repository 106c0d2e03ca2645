#pragma once

#include "app/platform/MainQueue.h"
#include "app/platform/UserDefaults.h"
#include "core/support/ApplicationIdentifier.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>

namespace tarvinel {

/// Decides when scheduled checks for updates are due: a day after the last check of any kind, whose
/// time is saved from one run to the next, and never in the first minute of a run.
///
/// Lives on the main queue.
class UpdateSchedule {
 public:
  using Time = std::chrono::system_clock::time_point;

  static constexpr std::chrono::hours interval{24};

  /// The interval between readings of the clock, the first after one interval; a toolkit's timer
  /// may be early by a twentieth.
  static constexpr std::chrono::minutes step{2};

  struct Environment {
    MainQueue& mainQueue;
    UserDefaults& memory;
    std::function<Time()> now;
  };

  /// Starts the schedule; `onDue` is called whenever a check is due, and again a day later if it
  /// was not made.
  UpdateSchedule(Environment environment, std::function<void()> onDue);

  /// Records and saves that a check is made now.
  void checkMade();

  /// Returns whether a check is due, given the time of the last one, if any. Ignores a time in the
  /// future, which results from setting back the clock.
  static bool isDue(Time now, std::optional<Time> last);

 private:
  void look();

  const Environment environment_;
  const std::function<void()> onDue_;
  std::optional<Time> last_;
  const std::unique_ptr<MainQueue::Timer> timer_;
};

/// Decides whether a check for updates may be made now: nothing may interrupt a presentation unless
/// the presenter requests it. Static and pure.
class UpdateCheckPolicy {
 public:
  UpdateCheckPolicy() = delete;

  enum class Kind : std::uint8_t {
    scheduled,      ///< in the background, because it is time
    userInitiated,  ///< at the presenter's request
    probe,          ///< without a notification
  };

  /// Returns the kind of a controller's check, see UpdateController; an unknown one counts as
  /// user-initiated.
  static Kind kindOf(int check);

  static bool allows(Kind kind, bool sharing);
};

/// A check for updates must not be made now.
class UpdateCheckDeferred : public std::runtime_error {
 public:
  static constexpr int code = 1;

  UpdateCheckDeferred() : std::runtime_error("Update check deferred while sharing") {}

  /// Names the part of the program that defers the check.
  static std::string domain() { return std::string(applicationIdentifier) + ".updater"; }
};

/// Checks for new versions of the program, periodically and on request, and notifies the presenter.
/// Lives on the main queue.
class UpdateController {
 public:
  /// The kind of a check, as it is passed to the delegate.
  enum Check : int { userInitiated = 0, scheduled = 1, probe = 2 };

  /// Decides which feed is read and whether a check may be made.
  class Delegate {
   public:
    virtual ~Delegate() = default;
    Delegate() = default;
    Delegate(const Delegate&) = delete;
    Delegate& operator=(const Delegate&) = delete;

    /// Returns the feed to read instead of the program's own, if any.
    virtual std::optional<std::string> feedURLString() const = 0;

    /// Throws if this check must not be made now; it is then retried at the next scheduled time.
    virtual void mayPerform(int check) const = 0;
  };

  /// Creates a controller for a delegate, which outlives it; the first scheduled check is made
  /// later.
  using Factory = std::function<std::unique_ptr<UpdateController>(Delegate&)>;

  virtual ~UpdateController() = default;
  UpdateController() = default;
  UpdateController(const UpdateController&) = delete;
  UpdateController& operator=(const UpdateController&) = delete;

  /// Returns the feed that the program was built with, if any.
  virtual std::optional<std::string> feedURL() const = 0;

  /// Returns whether a check on request is possible: there is a feed and no check is in progress.
  virtual bool canCheckForUpdates() const = 0;

  /// `onChange` is called after every change of `canCheckForUpdates`.
  virtual void setOnChange(std::function<void()> onChange) = 0;

  /// Checks on the presenter's request; shows the outcome, whatever it is.
  virtual void checkForUpdates() = 0;
};

}  // namespace tarvinel
