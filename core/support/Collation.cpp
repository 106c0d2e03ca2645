#include "core/support/Collation.h"

#include "core/support/FatalError.h"
#include "core/support/ICUText.h"

#include <unicode/coll.h>
#include <unicode/locid.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <utility>

namespace tarvinel {

struct Collation::Collator {
  explicit Collator(std::unique_ptr<const icu::Collator> its) : rules(std::move(its)) {}

  std::unique_ptr<const icu::Collator> rules;
};

namespace {

std::string userLocaleName() {
  for (const char* variable : {"LC_ALL", "LC_COLLATE", "LANG"}) {
    const char* value = std::getenv(variable);
    if (value != nullptr && *value != '\0') return value;
  }
  return {};
}

icu::Locale localeOf(const std::string& name) {
  const std::string language = name.substr(0, name.find_first_of(".@"));
  if (language.empty() || language == "C" || language == "POSIX") return icu::Locale::getRoot();
  const icu::Locale locale = icu::Locale::createCanonical(name.c_str());
  return locale.isBogus() ? icu::Locale::getRoot() : locale;
}

std::unique_ptr<const icu::Collator> rulesOf(const icu::Locale& locale) {
  UErrorCode status = U_ZERO_ERROR;
  std::unique_ptr<icu::Collator> rules(icu::Collator::createInstance(locale, status));
  if (U_FAILURE(status)) fatalError("collation data missing");
  rules->setStrength(icu::Collator::SECONDARY);
  rules->setAttribute(UCOL_NUMERIC_COLLATION, UCOL_ON, status);
  if (U_FAILURE(status)) fatalError("numeric collation missing");
  return rules;
}

}  // namespace

Collation::Collation(const std::string& localeName)
    : collator_(std::make_unique<const Collator>(rulesOf(localeOf(localeName)))) {}

Collation::~Collation() = default;

Collation Collation::ofUser() {
  return Collation(userLocaleName());
}

int Collation::compare(std::string_view a, std::string_view b) const {
  UErrorCode status = U_ZERO_ERROR;
  return collator_->rules->compareUTF8(icuPiece(a), icuPiece(b), status);
}

}  // namespace tarvinel
