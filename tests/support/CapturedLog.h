#pragma once

#include "core/support/Log.h"

#include <spdlog/details/null_mutex.h>
#include <spdlog/sinks/base_sink.h>

#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace tarvinel {

/// Collects what is logged, one "category|level|message" a line; levels by spdlog's names. Safe
/// from any thread.
class CapturedLog {
 public:
  /// The channel of a category that writes here.
  Logger category(const std::string& name) const { return Log(sink_).category(name); }

  std::vector<std::string> lines() const { return sink_->lines(); }

 private:
  class Sink : public spdlog::sinks::base_sink<spdlog::details::null_mutex> {
   public:
    std::vector<std::string> lines() const {
      const std::scoped_lock lock(mutex_);
      return lines_;
    }

   protected:
    void sink_it_(const spdlog::details::log_msg& message) override {
      std::string line = view(message.logger_name);
      line += '|';
      line += view(spdlog::level::to_string_view(message.level));
      line += '|';
      line += view(message.payload);
      const std::scoped_lock lock(mutex_);
      lines_.push_back(std::move(line));
    }
    void flush_() override {}

   private:
    static std::string view(spdlog::string_view_t text) { return {text.data(), text.size()}; }

    mutable std::mutex mutex_;
    std::vector<std::string> lines_;  // guarded by mutex_
  };

  std::shared_ptr<Sink> sink_ = std::make_shared<Sink>();
};

}  // namespace tarvinel
