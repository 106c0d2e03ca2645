#include "core/config/SettingsJSON.h"

#include <nlohmann/json.hpp>

#include <fmt/format.h>

#include <algorithm>
#include <cstddef>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace tarvinel {

namespace {

using nlohmann::json;

/// "line 2, column 7" of the byte that was read last.
std::string placeOf(std::size_t bytesRead, std::string_view text) {
  const std::string_view before = text.substr(0, std::max<std::size_t>(bytesRead, 1) - 1);
  const auto line = 1 + std::ranges::count(before, '\n');
  const std::size_t lineStart = before.rfind('\n') + 1;  // 0 in the first line: npos + 1
  return fmt::format("line {}, column {}", line, before.size() - lineStart + 1);
}

/// What the parser objects to, without its own address of the place and without a quotation of the
/// document, which may be long and hold anything.
std::string objectionOf(const json::exception& error) {
  if (error.id == 406) return "the number is too large";
  std::string text = error.what();
  if (const auto start = text.find(": "); start != std::string::npos) text.erase(0, start + 2);
  const auto quotation = text.find("; last read: '");
  if (quotation != std::string::npos) {
    text.erase(quotation, text.rfind('\'') + 1 - quotation);
  }
  return text;
}

/// Takes the parser's events.
class SettingsBuilder : public json::json_sax_t {
 public:
  explicit SettingsBuilder(std::string_view text) : text_(text) {}

  json take() { return std::move(document_); }
  const std::string& problem() const { return problem_; }

  bool null() override { return place(nullptr); }
  bool boolean(bool value) override { return place(value); }
  bool number_integer(number_integer_t value) override { return place(value); }
  bool number_unsigned(number_unsigned_t value) override { return place(value); }
  bool number_float(number_float_t value, const string_t& /*digits*/) override {
    return place(value);
  }
  bool string(string_t& value) override { return place(std::move(value)); }
  bool binary(binary_t& /*never in a text*/) override { return false; }

  bool key(string_t& name) override {
    key_ = std::move(name);
    return true;
  }

  bool start_object(std::size_t /*unknown in a text*/) override {
    return begin(json::object(), open_.size() < deepestKept);
  }
  bool end_object() override { return end(); }
  bool start_array(std::size_t /*unknown in a text*/) override {
    return begin(json::array(), open_.size() == 1);
  }
  bool end_array() override { return end(); }

  bool parse_error(std::size_t position, const std::string& /*token*/,
                   const json::exception& error) override {
    problem_ = placeOf(std::min(position, text_.size() + 1), text_) + ": " + objectionOf(error);
    return false;
  }

 private:
  static constexpr std::size_t deepestKept = 2;  ///< the document and its brand

  bool begin(json container, bool keepsEntries) {
    place(std::move(container));
    if (keepsEntries && passedOver_ == 0) {
      open_.push_back(placed_);
    } else {
      ++passedOver_;
    }
    return true;
  }

  bool end() {
    if (passedOver_ > 0) {
      --passedOver_;
    } else {
      open_.pop_back();
    }
    return true;
  }

  bool place(json value) {
    if (passedOver_ > 0) return true;
    placed_ = &newPlace();
    *placed_ = std::move(value);
    return true;
  }

  json& newPlace() {
    if (open_.empty()) return document_;
    json& around = *open_.back();
    if (around.is_object()) return around[key_];
    around.push_back(nullptr);
    return around.back();
  }

  const std::string_view text_;
  json document_;
  std::vector<json*> open_;     ///< the containers around the next value that are kept
  std::size_t passedOver_ = 0;  ///< how many more around it are not
  json* placed_ = nullptr;      ///< the last value that was kept
  string_t key_;
  std::string problem_;
};

}  // namespace

json parseSettingsJSON(std::string_view text) {
  constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
  if (text.starts_with(byteOrderMark)) text.remove_prefix(byteOrderMark.size());
  SettingsBuilder builder(text);
  if (!json::sax_parse(text, &builder)) throw std::runtime_error(builder.problem());
  return builder.take();
}

}  // namespace tarvinel
