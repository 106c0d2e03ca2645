#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace tarvinel {

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
