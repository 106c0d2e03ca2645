#pragma once

#include "app/platform/MainQueue.h"

#include <functional>
#include <memory>
#include <utility>

namespace tarvinel {

/// Base of the application's model and its parts: they live on the main queue, report every change
/// of a value, and receive callbacks from other queues only until they end. A part is owned by a
/// std::shared_ptr, to which such callbacks hold weak references. The main queue outlives it.
template <class Part>
class ModelPart : public std::enable_shared_from_this<Part> {
 public:
  ModelPart(const ModelPart&) = delete;
  ModelPart& operator=(const ModelPart&) = delete;

 protected:
  /// `onChange` may be null.
  explicit ModelPart(MainQueue& mainQueue, std::function<void()> onChange = {})
      : mainQueue_(mainQueue), onChange_(std::move(onChange)) {}
  ~ModelPart() = default;

  void reportTo(std::function<void()> onChange) { onChange_ = std::move(onChange); }

  /// Ends reports and callbacks. Returns false if they had already ended.
  bool endCallbacks() {
    onChange_ = nullptr;
    return !std::exchange(hasEnded_, true);
  }

  template <class T>
  void update(T& field, T value) {
    if (field == value) return;
    field = std::move(value);
    changed();
  }

  void changed() {
    if (onChange_) onChange_();
  }

  /// Wraps a step of this part so that it can be called on any queue: it runs on the main queue if
  /// the part still exists and has not ended.
  template <class Argument>
  std::function<void(Argument)> onMain(std::function<void(Part&, Argument)> step) {
    return [weak = this->weak_from_this(), &mainQueue = mainQueue_,
            step = std::move(step)](Argument argument) {
      mainQueue.post([weak, step, argument = std::move(argument)] {
        const auto self = weak.lock();
        if (self && !self->hasEnded_) step(*self, argument);
      });
    };
  }

 private:
  MainQueue& mainQueue_;
  std::function<void()> onChange_;
  bool hasEnded_ = false;
};

}  // namespace tarvinel
