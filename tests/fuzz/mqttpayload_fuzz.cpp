// Any bytes as the payload of a message: the first line is a JSON pointer, the rest what is read,
// in every way. What is accepted is a finite number or a text without controls, and goes back into
// a command that is JSON.
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "host/drivers/zrmqttcommand.h"
#include "host/drivers/zrmqttpayload.h"
#include "host/tools/zrtext.h"

namespace {

using tagType = ZRMqttReading::tagType;
using tagKind = ZRMqttAnswer::tagKind;

void Require(bool promise) {
  if (!promise) std::abort();
}

void CheckCommand(const ZRMqttReading& how, const ZRMqttAnswer& answer) {
  ZRMqttCommand command;
  command.form = "{\"a\": [VALUE, \"VALUE\"]}";
  ZRValue value;
  if (answer.kind == tagKind::kText) {
    value.SetString(Utf8ToUtf16(std::string_view(answer.text)));
  } else {
    value.SetNumeric(answer.number);
  }
  const auto payload = CommandPayload(how, command, value);
  if (!payload) return;
  ZRMqttReading back = how;
  back.pointer = ParseJsonPointer("/a/1");
  Require(ZRMqttPayload(*payload).Read(back).kind == answer.kind);
}

void Check(ZRMqttPayload& payload, const ZRMqttReading& how) {
  const ZRMqttAnswer answer = payload.Read(how);
  Require(answer.kind != tagKind::kBad || !answer.text.empty());
  Require(answer.kind != tagKind::kNothing || (how.pointer && how.isOptional));
  if (answer.kind == tagKind::kNumber) Require(std::isfinite(answer.number));
  if (answer.kind == tagKind::kText) {
    Require(how.type == tagType::kText);
    for (const char character : answer.text)
      Require(character < 0 || (character >= ' ' && character != '\x7F'));
  }
  if (answer.kind == tagKind::kNumber || answer.kind == tagKind::kText) CheckCommand(how, answer);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view input(reinterpret_cast<const char*>(data), size);
  const std::size_t line = input.find('\n');
  const std::string_view bytes =
      line == std::string_view::npos ? std::string_view() : input.substr(line + 1);
  const auto pointer = ParseJsonPointer(input.substr(0, line));
  ZRMqttPayload payload(bytes);
  for (const tagType type : {tagType::kNumber, tagType::kSwitch, tagType::kText}) {
    ZRMqttReading how;
    how.type = type;
    how.on = {"ON", "true"};
    how.off = {"OFF", "false"};
    how.scale = 0.1;
    how.isOptional = size % 2 == 0;
    Check(payload, how);
    how.pointer = pointer;
    Check(payload, how);
  }
  (void)IsCommandForm(bytes.substr(0, ZRMqttPayload::kMostDepth));
  return 0;
}
