#include "host/drivers/zrmqttcommand.h"

#include <array>
#include <charconv>
#include <cmath>
#include <nlohmann/json.hpp>

#include "host/driversupport/zrlivevalue.h"
#include "host/tools/zrtext.h"

namespace {

using tagJson = nlohmann::json;
using tagType = ZRMqttReading::tagType;

constexpr std::string_view kPlace = "VALUE";

// So few digits that scale and offset leave no trace: (20.3 - 20) / 0.1 is 3.
std::string NumberText(double number) {
  constexpr std::size_t kRoom = 32;
  constexpr int kDigits = 12;
  std::array<char, kRoom> text{};
  const auto [end, error] =
      std::to_chars(text.data(), text.data() + kRoom, number, std::chars_format::general, kDigits);
  return error == std::errc() ? std::string(text.data(), end) : std::string();
}

bool IsJsonForm(std::string_view form) {
  return form.starts_with('{') || form.starts_with('[');
}

std::string JsonText(const std::string& text) {
  return tagJson(text).dump(-1, ' ', false, tagJson::error_handler_t::replace);
}

// `text` as a value of JSON: a word that is one stands as it is, but not what is a text by nature.
std::string JsonValue(const std::string& text, tagType type) {
  if (type == tagType::kText) return JsonText(text);
  const tagJson parsed = tagJson::parse(text, nullptr, false);
  return parsed.is_number() || parsed.is_boolean() ? text : JsonText(text);
}

std::string Filled(std::string_view form, const std::string& text, tagType type) {
  const bool isJson = IsJsonForm(form);
  std::string filled;
  std::size_t from = 0;
  for (std::size_t at = form.find(kPlace); at != std::string_view::npos;
       at = form.find(kPlace, from)) {
    const std::size_t behind = at + kPlace.size();
    const bool isQuoted =
        isJson && at > from && form[at - 1] == '"' && form.substr(behind).starts_with('"');
    filled += form.substr(from, at - from - (isQuoted ? 1 : 0));
    filled += !isJson ? text : isQuoted ? JsonText(text) : JsonValue(text, type);
    from = behind + (isQuoted ? 1 : 0);
  }
  return filled.append(form.substr(from));
}

std::optional<std::string> TextToSend(const ZRMqttReading& reading, const ZRMqttCommand& command,
                                      const ZRValue& value) {
  const double number = value.Numeric();
  switch (reading.type) {
    case tagType::kNumber: {
      const double raw = (number - reading.offset) / reading.scale;
      const bool fits = number >= command.least && number <= command.most && std::isfinite(raw);
      if (!value.IsNumeric() || !fits) return std::nullopt;
      return NumberText(raw + 0.0);  // zero without a sign
    }
    case tagType::kSwitch:
      if (!value.IsNumeric() || (number != 0.0 && number != 1.0)) return std::nullopt;
      return number == 0.0 ? reading.off.front() : reading.on.front();
    default:
      if (value.IsNumeric()) return NumberText(number);
      if (!value.IsString()) return std::nullopt;
      return std::string(Utf16ToUtf8(value.String().View()).View());
  }
}

}  // namespace

bool IsCommandForm(std::string_view form) {
  if (form.find(kPlace) == std::string_view::npos) return false;
  if (!IsJsonForm(form)) return true;
  return tagJson::accept(Filled(form, "0", tagType::kNumber)) &&
         tagJson::accept(Filled(form, "a\"", tagType::kText));
}

std::optional<std::string> CommandPayload(const ZRMqttReading& reading,
                                          const ZRMqttCommand& command, const ZRValue& value) {
  std::optional<std::string> text = TextToSend(reading, command, value);
  if (!text || text->empty() || text->size() > ZRLiveValue::kMaximumText) return std::nullopt;
  if (command.form.empty()) return text;
  return Filled(command.form, *text, reading.type);
}
