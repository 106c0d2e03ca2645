#include "core/config/ConfigFile.h"

#include "core/support/RegularFile.h"
#include "core/support/Result.h"

#include <nlohmann/json.hpp>

#include <fmt/format.h>

#include <algorithm>
#include <cstddef>
#include <sstream>
#include <stdexcept>
#include <string>

namespace tarvinel {

namespace {

using nlohmann::json;
using std::filesystem::path;

json parsed(const Bytes& text, const std::string& name) {
  try {
    return parseSettingsJSON(textOf(text));
  } catch (const std::runtime_error& error) {
    throw std::runtime_error(name + " is not valid JSON: " + error.what());
  }
}

json readObject(const path& file) {
  const std::string name = file.filename();
  json document = parsed(readRegularFile(file, ConfigFile::maxBytes), name);
  if (!document.is_object()) throw std::runtime_error(name + " is valid JSON but not an object");
  return document;
}

bool isRelative(const std::string& file) {
  return !file.starts_with('/') && !file.starts_with('~');
}

void resolveBrandPaths(json& object, const path& folder) {
  const auto brand = object.find("brand");
  if (brand == object.end() || !brand->is_object()) return;
  for (const char* key : {"image", "font"}) {
    const auto file = brand->find(key);
    if (file == brand->end() || !file->is_string()) continue;
    const auto name = file->get<std::string>();
    if (isRelative(name)) *file = (folder / name).native();
  }
}

}  // namespace

ConfigFile ConfigFile::read(const path& file) {
  try {
    return {readObject(file), nullptr};
  } catch (const FileReadError& error) {
    return {json::object(), error.isAbsent() ? nullptr : std::current_exception()};
  } catch (const std::exception&) {
    return {json::object(), std::current_exception()};
  }
}

ConfigFile ConfigFile::readBundledProfile(const std::optional<path>& folder, const Logger& logger) {
  if (!folder) return {};
  const path file = *folder / "config.json";
  ConfigFile profile = read(file);
  if (profile.error) {
    logger->error("bundled profile at {} ignored: {}", file.native(), describe(profile.error));
  }
  resolveBrandPaths(profile.object, *folder);
  return profile;
}

namespace {

using nlohmann::json;

/// Returns "line 2, column 7" for the last of the first `count` bytes; the end of the text counts
/// as a byte.
std::string placeOf(std::size_t count, std::string_view text) {
  const std::string_view before = text.substr(0, std::max<std::size_t>(count, 1) - 1);
  const auto line = 1 + std::ranges::count(before, '\n');
  const std::size_t lineStart = before.rfind('\n') + 1;  // 0 in the first line: npos + 1
  return fmt::format("line {}, column {}", line, before.size() - lineStart + 1);
}

/// Returns the parser's message without its position and without its quotation of the document,
/// which may be long and hold anything.
std::string messageOf(const json::parse_error& error) {
  std::string text = error.what();
  if (const auto start = text.find(": "); start != std::string::npos) text.erase(0, start + 2);
  const auto quotation = text.find("; last read: '");
  if (quotation != std::string::npos) text.erase(quotation, text.rfind('\'') + 1 - quotation);
  return text;
}

/// Returns the number of bytes up to the end of the last number that was read from `input`. The
/// parser has read one byte beyond it, if there is one.
std::size_t endOfNumber(std::istringstream& input, std::string_view text) {
  input.clear();
  return text.substr(0, static_cast<std::size_t>(input.tellg())).find_last_of("0123456789") + 1;
}

/// Empties the objects and arrays that are nested deeper than an entry of one in the document.
/// Dropping them in the parser's callback takes minutes for a long list of objects.
json withoutDepths(json document) {
  if (document.is_array()) document.clear();
  for (json& entry : document) {
    for (json& inner : entry) {
      if (inner.is_structured()) inner.clear();
    }
  }
  return document;
}

}  // namespace

json parseSettingsJSON(std::string_view text) {
  constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
  if (text.starts_with(byteOrderMark)) text.remove_prefix(byteOrderMark.size());
  std::istringstream input{std::string(text)};
  try {
    return withoutDepths(json::parse(input));
  } catch (const json::parse_error& error) {
    throw std::runtime_error(placeOf(error.byte, text) + ": " + messageOf(error));
  } catch (const json::out_of_range&) {
    throw std::runtime_error(placeOf(endOfNumber(input, text), text) + ": the number is too large");
  }
}

namespace {

bool mergesKeyByKey(const std::string& key, const nlohmann::json& bundled,
                    const nlohmann::json& user) {
  return key == "brand" && bundled.is_object() && user.is_object();
}

}  // namespace

nlohmann::json ConfigMerge::merge(nlohmann::json bundled, const nlohmann::json& user) {
  for (const auto& [key, value] : user.items()) {
    nlohmann::json& merged = bundled[key];
    if (mergesKeyByKey(key, merged, value)) {
      merged.update(value);
    } else {
      merged = value;
    }
  }
  return bundled;
}

}  // namespace tarvinel
