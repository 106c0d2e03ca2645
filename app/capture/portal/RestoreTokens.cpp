#include "app/capture/portal/RestoreTokens.h"

#include <utility>

namespace tarvinel::portal {

const char* RestoreTokens::key(SourceType type) {
  return type == SourceType::display ? displayKey : windowKey;
}

void RestoreTokens::begin(
    const std::function<std::optional<std::string>(const std::string& key)>& known,
    std::function<void(const std::string& key, const std::string& token)> onChange) {
  const std::lock_guard lock(mutex_);
  for (const char* key : {displayKey, windowKey}) {
    const auto token = known(key);
    if (token && !token->empty()) tokens_.insert_or_assign(key, *token);
  }
  onChange_ = std::move(onChange);
}

std::optional<std::string> RestoreTokens::token(const std::string& key) const {
  const std::lock_guard lock(mutex_);
  const auto found = tokens_.find(key);
  if (found == tokens_.end() || found->second.empty()) return std::nullopt;
  return found->second;
}

Memory RestoreTokens::memory(const std::string& key) const {
  const std::lock_guard lock(mutex_);
  const auto found = tokens_.find(key);
  if (found == tokens_.end()) return Memory::none;
  return found->second.empty() ? Memory::lost : Memory::known;
}

void RestoreTokens::remember(const std::string& key, const std::optional<std::string>& token) {
  std::function<void(const std::string&, const std::string&)> onChange;
  {
    const std::lock_guard lock(mutex_);
    if (token || tokens_.contains(key)) tokens_.insert_or_assign(key, token.value_or(""));
    onChange = onChange_;
  }
  if (onChange) onChange(key, token.value_or(""));
}

}  // namespace tarvinel::portal
