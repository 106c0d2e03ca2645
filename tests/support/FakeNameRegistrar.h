#pragma once

#include "core/mdns/NameRegistrar.h"
#include "core/support/SerialQueue.h"

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace tarvinel::test {

/// A fake name service: records what registrars request and returns the replies that the test sets.
/// Outlives the registrars; safe from any thread.
class FakeNames {
 public:
  /// Returns the calls, such as "register studio.local. 10.0.0.1", "update 10.0.0.2", "withdraw".
  std::vector<std::string> calls() const {
    const std::scoped_lock lock(mutex_);
    return calls_;
  }

  /// Sets what registerRecord and update return.
  void respondWith(std::int32_t code) {
    const std::scoped_lock lock(mutex_);
    code_ = code;
  }

  /// Sends a reply for the newest record and waits until it has been handled.
  void reply(std::int32_t code) {
    queue_->sync([&] { reply_(code); });
  }

  NameRegistrar::Factory factory() {
    return [this](SerialQueue& queue, const Logger&) {
      queue_ = &queue;
      return std::make_unique<Registrar>(*this);
    };
  }

 private:
  class Registrar : public NameRegistrar {
   public:
    explicit Registrar(FakeNames& names) : names_(names) {}
    ~Registrar() override {
      if (registered_) names_.called("withdraw");
    }

    std::int32_t registerRecord(const std::string& name, Address address, Reply reply) override {
      const std::int32_t code = names_.called("register " + name + " " + dotted(address));
      registered_ = code == DNSServiceCode::noError;
      names_.reply_ = std::move(reply);
      return code;
    }

    std::int32_t update(Address address) override {
      return names_.called("update " + dotted(address));
    }

   private:
    static std::string dotted(Address a) {
      return std::to_string(a[0]) + "." + std::to_string(a[1]) + "." + std::to_string(a[2]) + "." +
             std::to_string(a[3]);
    }

    FakeNames& names_;
    bool registered_ = false;
  };

  std::int32_t called(const std::string& line) {
    const std::scoped_lock lock(mutex_);
    calls_.push_back(line);
    return code_;
  }

  mutable std::mutex mutex_;
  std::vector<std::string> calls_;               // guarded by mutex_
  std::int32_t code_ = DNSServiceCode::noError;  // guarded by mutex_

  SerialQueue* queue_ = nullptr;
  NameRegistrar::Reply reply_;  // used on the registrars' queue
};

}  // namespace tarvinel::test
