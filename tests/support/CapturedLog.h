#pragma once

#include "core/support/Log.h"

#include <spdlog/sinks/base_sink.h>

#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace tarvinel::test {

/// A log whose lines a test can read, each as "category|level|message". Safe from any thread.
class CapturedLog {
 public:
  CapturedLog() : sink_(std::make_shared<Sink>()), log_(sink_, spdlog::level::debug) {}

  Logger category(const std::string& name) const { return log_.category(name); }
  const Log& log() const { return log_; }
  std::vector<std::string> lines() const { return sink_->lines(); }

 private:
  class Sink : public spdlog::sinks::base_sink<std::mutex> {
   public:
    std::vector<std::string> lines() {
      const std::scoped_lock lock(mutex_);
      return lines_;
    }

   protected:
    void sink_it_(const spdlog::details::log_msg& message) override {
      const auto level = spdlog::level::to_string_view(message.level);
      lines_.push_back(std::string(message.logger_name.data(), message.logger_name.size()) + "|" +
                       std::string(level.data(), level.size()) + "|" +
                       std::string(message.payload.data(), message.payload.size()));
    }
    void flush_() override {}

   private:
    std::vector<std::string> lines_;
  };

  std::shared_ptr<Sink> sink_;
  Log log_;
};

}  // namespace tarvinel::test
