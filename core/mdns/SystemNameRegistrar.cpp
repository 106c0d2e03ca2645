#include "core/mdns/SystemNameRegistrar.h"

#include "core/mdns/AvahiDaemonRegistrar.h"
#include "core/mdns/EmbeddedResponder.h"
#include "core/mdns/NameRegistrar.h"

#include <utility>

namespace tarvinel {

SystemNameRegistrar::SystemNameRegistrar(SerialQueue& queue, Logger logger, Registrars registrars)
    : queue_(queue), logger_(std::move(logger)), registrars_(std::move(registrars)) {}

NameRegistrar::Factory SystemNameRegistrar::factory() {
  const Registrars registrars{[](SerialQueue& queue, DaemonWatch::Callback onFinding) {
                                return std::make_unique<AvahiDaemonWatch>(queue,
                                                                          std::move(onFinding));
                              },
                              [](SerialQueue& queue, const Logger&) {
                                return std::make_unique<AvahiDaemonRegistrar>(queue);
                              },
                              [](SerialQueue& queue, const Logger& logger) {
                                return std::make_unique<EmbeddedResponder>(queue, logger);
                              }};
  return [registrars](SerialQueue& queue, const Logger& logger) {
    return std::make_unique<SystemNameRegistrar>(queue, logger, registrars);
  };
}

std::int32_t SystemNameRegistrar::registerRecord(const std::string& name, Address address,
                                                 Reply reply) {
  name_ = name;
  address_ = address;
  reply_ = std::move(reply);
  watch_ = registrars_.watch(queue_, [this](DaemonWatch::Finding finding) { found(finding); });
  return DNSServiceCode::noError;
}

void SystemNameRegistrar::found(DaemonWatch::Finding finding) {
  switch (finding) {
    case DaemonWatch::Finding::running:
      logger_->debug("publishing through the Avahi daemon");
      isThroughDaemon_ = true;
      return take(registrars_.daemon);
    case DaemonWatch::Finding::absent:
      return daemonIsAbsent();
    case DaemonWatch::Finding::unknown:
      if (!registrar_) report(DNSServiceCode::unknown);
  }
}

void SystemNameRegistrar::daemonIsAbsent() {
  if (isThroughDaemon_) {
    logger_->debug("the Avahi daemon is gone");
    isThroughDaemon_ = false;
    registrar_.reset();
    report(DNSServiceCode::unknown);
  } else if (!registrar_ && !lastReply_) {
    logger_->debug("publishing by a responder of our own");
    take(registrars_.embedded);
  }
}

// The previous registrar is destroyed first: its record would conflict with the same name.
void SystemNameRegistrar::take(const Factory& registrar) {
  registrar_.reset();
  registrar_ = registrar(queue_, logger_);
  const std::int32_t code =
      registrar_->registerRecord(name_, address_, [this](std::int32_t reply) { report(reply); });
  if (code != DNSServiceCode::noError) report(code);
}

std::int32_t SystemNameRegistrar::update(Address address) {
  address_ = address;
  return registrar_ ? registrar_->update(address) : DNSServiceCode::noError;
}

void SystemNameRegistrar::report(std::int32_t code) {
  if (std::exchange(lastReply_, code) != code) reply_(code);
}

}  // namespace tarvinel
