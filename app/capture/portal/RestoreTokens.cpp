#include "app/capture/portal/RestoreTokens.h"

#include <utility>

namespace tarvinel {

void RestoreTokens::begin(
    const std::function<std::optional<std::string>(const std::string& key)>& known,
    std::function<void(const std::string& key, const std::string& token)> onChange) {
  const std::lock_guard lock(mutex_);
  for (const char* key : {displayKey, windowKey}) {
    if (const auto token = known(key)) tokens_.insert_or_assign(key, *token);
  }
  onChange_ = std::move(onChange);
}

std::optional<std::string> RestoreTokens::token(const std::string& key) const {
  const std::lock_guard lock(mutex_);
  const auto found = tokens_.find(key);
  if (found == tokens_.end()) return std::nullopt;
  return found->second;
}

void RestoreTokens::remember(const std::string& key, const std::optional<std::string>& token) {
  std::function<void(const std::string&, const std::string&)> onChange;
  {
    const std::lock_guard lock(mutex_);
    tokens_.erase(key);
    if (token) tokens_.emplace(key, *token);
    onChange = onChange_;
  }
  if (onChange) onChange(key, token.value_or(""));
}

}  // namespace tarvinel
