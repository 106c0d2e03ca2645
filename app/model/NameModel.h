#pragma once

#include "app/model/ModelPart.h"
#include "core/mdns/NamePublisher.h"
#include "core/mdns/NameRegistrar.h"
#include "core/support/Log.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace tarvinel {

/// The name under .local: publishes it and holds its state for the presenter. Lives on the main
/// queue.
class NameModel : public ModelPart<NameModel> {
 public:
  struct Dependencies {
    MainQueue& mainQueue;
    Log log;
    NameRegistrar::Factory registrar;
    std::string hostname;  ///< without ".local"; nothing is published if it is empty
    std::function<void()> onChange;
  };

  explicit NameModel(Dependencies dependencies);

  /// Withdraws the name. Afterwards nothing is reported.
  void end();

  const std::optional<std::string>& url() const { return url_; }  ///< once registered
  const std::optional<std::string>& error() const { return error_; }

  /// Publishes the name for an address of this computer, whose server listens on `port`. Withdraws
  /// the name if there is no address.
  void publishName(const std::optional<std::string>& address, std::uint16_t port);

  /// Follows a change of the address, and retries a failed publication if `retryDue`.
  void refresh(const std::optional<std::string>& address, bool retryDue);

 private:
  void publishingFailed(const NamePublisherError& error);
  void stateDidChange(const NamePublisher::State& state);
  void updateAddress(const std::string& address);

  const std::string hostname_;
  const Logger logger_;
  NamePublisher publisher_;
  std::uint16_t port_ = 80;
  std::optional<std::string> url_;
  std::optional<std::string> error_;
  std::optional<std::string> lastHost_;  ///< the address last published

  /// Counts publications, so that a late state of an earlier one is ignored.
  std::uint64_t currentPublication_ = 0;
};

}  // namespace tarvinel
