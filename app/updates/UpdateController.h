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

/// When scheduled checks for updates are made: a day after the last check of any kind, which is
/// remembered from one run to the next, and never in the first minute of a run.
///
/// Lives on the main queue.
class UpdateSchedule {
 public:
  using Time = std::chrono::system_clock::time_point;

  static constexpr std::chrono::hours interval{24};

  /// How often the clock is read, first after this time; a toolkit's timer may be early by a
  /// twentieth.
  static constexpr std::chrono::minutes step{2};

  struct Environment {
    MainQueue& mainQueue;
    UserDefaults& memory;
    std::function<Time()> now;
  };

  /// Begins; `onDue` is called whenever a check is due, and again a day later if it was not made.
  UpdateSchedule(Environment environment, std::function<void()> onDue);

  /// A check is being made; it is remembered.
  void checkMade();

  /// Whether a check is due when the last one was at that time, if ever. One in the future, since
  /// the clock was set back, does not count.
  static bool isDue(Time now, std::optional<Time> last);

 private:
  void look();

  const Environment environment_;
  const std::function<void()> onDue_;
  std::optional<Time> last_;
  const std::unique_ptr<MainQueue::Timer> timer_;
};

/// When a check for updates may be made: nothing may interrupt a presentation unasked. Static and
/// pure.
class UpdateCheckPolicy {
 public:
  UpdateCheckPolicy() = delete;

  enum class Kind : std::uint8_t {
    scheduled,      ///< in the background, because it is time
    userInitiated,  ///< the presenter asked for it
    probe,          ///< only to know
  };

  /// The kind of a controller's check, see UpdateController; an unknown one is the presenter's.
  static Kind kindOf(int check);

  static bool allows(Kind kind, bool sharing);
};

/// A check for updates must not be made now.
class UpdateCheckDeferred : public std::runtime_error {
 public:
  static constexpr int code = 1;

  UpdateCheckDeferred() : std::runtime_error("Update check deferred while sharing") {}

  /// Which part of the program refuses.
  static std::string domain() { return std::string(applicationIdentifier) + ".updater"; }
};

/// Looks for new versions of the program: by itself now and then, and when it is asked to. Tells
/// the presenter what it finds. Lives on the main queue.
class UpdateController {
 public:
  /// What kind of check it is about to make, as the delegate is asked.
  enum Check : int { userInitiated = 0, scheduled = 1, probe = 2 };

  /// Who decides where and whether it looks.
  class Delegate {
   public:
    virtual ~Delegate() = default;
    Delegate() = default;
    Delegate(const Delegate&) = delete;
    Delegate& operator=(const Delegate&) = delete;

    /// The feed to read instead of the program's own, if any.
    virtual std::optional<std::string> feedURLString() const = 0;

    /// Throws when this check must not be made now; it is then tried again at the next scheduled
    /// time.
    virtual void mayPerform(int check) const = 0;
  };

  /// Makes a controller for a delegate, which outlives it; the first scheduled check comes later.
  using Factory = std::function<std::unique_ptr<UpdateController>(Delegate&)>;

  virtual ~UpdateController() = default;
  UpdateController() = default;
  UpdateController(const UpdateController&) = delete;
  UpdateController& operator=(const UpdateController&) = delete;

  /// The feed that the program was built with, if any.
  virtual std::optional<std::string> feedURL() const = 0;

  /// Whether a check that the presenter asks for would be made: there is a feed and no check is
  /// under way.
  virtual bool canCheckForUpdates() const = 0;

  /// `onChange` is called after every change of `canCheckForUpdates`.
  virtual void setOnChange(std::function<void()> onChange) = 0;

  /// Makes a check that the presenter asked for; its outcome is shown whatever it is.
  virtual void checkForUpdates() = 0;
};

}  // namespace tarvinel
