#include "app/updates/UpdateController.h"

#include <charconv>
#include <cstdint>
#include <string>
#include <utility>

namespace tarvinel {

UpdateCheckPolicy::Kind UpdateCheckPolicy::kindOf(int check) {
  switch (check) {
    case UpdateController::scheduled:
      return Kind::scheduled;
    case UpdateController::probe:
      return Kind::probe;
    default:
      return Kind::userInitiated;
  }
}

bool UpdateCheckPolicy::allows(Kind kind, bool sharing) {
  return kind != Kind::scheduled || !sharing;
}

namespace {

constexpr const char* lastCheckKey = "lastUpdateCheck";  // seconds since 1970

std::optional<UpdateSchedule::Time> rememberedIn(const UserDefaults& memory) {
  const auto text = memory.text(lastCheckKey).value_or("");
  std::uint32_t seconds = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), seconds);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return UpdateSchedule::Time(std::chrono::seconds(seconds));
}

}  // namespace

UpdateSchedule::UpdateSchedule(Environment environment, std::function<void()> onDue)
    : environment_(std::move(environment)),
      onDue_(std::move(onDue)),
      last_(rememberedIn(environment_.memory)),
      timer_(environment_.mainQueue.repeat(step, [this] { look(); })) {}

void UpdateSchedule::checkMade() {
  last_ = environment_.now();
  const auto sinceEpoch = last_->time_since_epoch();
  const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(sinceEpoch).count();
  environment_.memory.set(lastCheckKey, std::to_string(seconds));
}

bool UpdateSchedule::isDue(Time now, std::optional<Time> last) {
  return !last || *last > now || now - *last >= interval;
}

void UpdateSchedule::look() {
  const Time now = environment_.now();
  if (!isDue(now, last_)) return;
  last_ = now;
  onDue_();
}

}  // namespace tarvinel
