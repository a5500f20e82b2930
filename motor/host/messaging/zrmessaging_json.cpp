// The text of the messages.
#include <initializer_list>
#include <string_view>

#include "host/messaging/zrmessaging.h"

namespace {

struct tagField {
  std::wstring_view name;
  std::wstring_view value;
};

constexpr wchar_t kFirstPrintable = 0x20;
constexpr wchar_t kLastPrintable = 0x7E;
constexpr wchar_t kLastUnit = 0xFFFF;
constexpr wchar_t kReplacement = 0xFFFD;  // for what is no UTF-16 unit

void AppendUnitEscape(std::wstring& json, wchar_t unit) {
  constexpr std::wstring_view kDigits = L"0123456789abcdef";
  json += L"\\u";
  for (int shift = 12; shift >= 0; shift -= 4)
    json += kDigits[(static_cast<unsigned>(unit) >> shift) & 0xF];
}

void AppendEscaped(std::wstring& json, std::wstring_view text) {
  for (const wchar_t unit : text) {
    if (unit == L'"' || unit == L'\\') {
      json += L'\\';
      json += unit;
    } else if (unit >= kFirstPrintable && unit <= kLastPrintable) {
      json += unit;
    } else {
      AppendUnitEscape(json, unit <= kLastUnit ? unit : kReplacement);
    }
  }
}

std::wstring MakeObject(std::initializer_list<tagField> fields) {
  std::wstring json = L"{";
  for (const tagField& field : fields) {
    if (json.size() > 1) json += L',';
    json += L'"';
    json += field.name;
    json += L"\":\"";
    AppendEscaped(json, field.value);
    json += L'"';
  }
  json += L'}';
  return json;
}

}  // namespace

std::wstring GetPublishThatANewEventHasBeenCreatedJSON(const std::wstring& engine,
                                                       const std::wstring& eventId,
                                                       const std::wstring& name,
                                                       const std::wstring& description) {
  return MakeObject({{L"type", L"eventCreated"},
                     {L"engine", engine},
                     {L"id", eventId},
                     {L"name", name},
                     {L"description", description}});
}

std::wstring GetPublishTriggeredEventJSON(const std::wstring& engine, const std::wstring& time,
                                          const std::wstring& eventId,
                                          const std::wstring& transition,
                                          const std::wstring& annotation) {
  return MakeObject({{L"type", L"eventTriggered"},
                     {L"engine", engine},
                     {L"time", time},
                     {L"id", eventId},
                     {L"transition", transition},
                     {L"annotation", annotation}});
}
