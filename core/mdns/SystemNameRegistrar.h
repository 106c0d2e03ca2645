#pragma once

#include "core/mdns/AvahiDaemonRegistrar.h"
#include "core/mdns/NameRegistrar.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace tarvinel {

/// Publishes through the Avahi daemon while one runs, else by a responder of its own, because two
/// responders on one computer compete. Switches to a daemon that appears; the end of the daemon is
/// a failure, after which the record can be registered again.
class SystemNameRegistrar : public NameRegistrar {
 public:
  struct Registrars {
    DaemonWatch::Factory watch;
    Factory daemon;
    Factory embedded;
  };

  SystemNameRegistrar(SerialQueue& queue, Logger logger, Registrars registrars);

  /// Makes registrars that use the Avahi daemon of this computer and the Avahi library.
  static Factory factory();

  std::int32_t registerRecord(const std::string& name, Address address, Reply reply) override;
  std::int32_t update(Address address) override;

 private:
  void found(DaemonWatch::Finding finding);
  void daemonIsAbsent();
  void take(const Factory& registrar);
  void report(std::int32_t code);

  SerialQueue& queue_;
  const Logger logger_;
  const Registrars registrars_;
  std::string name_;
  Address address_{};
  Reply reply_;
  std::optional<std::int32_t> lastReply_;
  bool isThroughDaemon_ = false;
  std::unique_ptr<NameRegistrar> registrar_;  ///< null until the watch has a finding
  std::unique_ptr<DaemonWatch> watch_;
};

}  // namespace tarvinel
