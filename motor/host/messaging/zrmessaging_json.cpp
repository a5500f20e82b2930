// The text of the messages.
#include <initializer_list>
#include <string>
#include <string_view>

#include "host/messaging/zrmessaging.h"
#include "host/tools/zrtext.h"

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

constexpr bool IsHighSurrogate(wchar_t unit) {
  return unit >= 0xD800 && unit <= 0xDBFF;
}
constexpr bool IsLowSurrogate(wchar_t unit) {
  return unit >= 0xDC00 && unit <= 0xDFFF;
}

// False for what is no unit, and for half a pair.
bool IsWhole(std::wstring_view text, std::size_t at) {
  const wchar_t unit = text[at];
  if (IsHighSurrogate(unit)) return at + 1 < text.size() && IsLowSurrogate(text[at + 1]);
  if (IsLowSurrogate(unit)) return at > 0 && IsHighSurrogate(text[at - 1]);
  return unit <= kLastUnit;
}

void AppendEscaped(std::wstring& json, std::wstring_view text) {
  for (std::size_t at = 0; at < text.size(); ++at) {
    const wchar_t unit = text[at];
    if (unit == L'"' || unit == L'\\') {
      json += L'\\';
      json += unit;
    } else if (unit >= kFirstPrintable && unit <= kLastPrintable) {
      json += unit;
    } else {
      AppendUnitEscape(json, IsWhole(text, at) ? unit : kReplacement);
    }
  }
}

// What the bytes of an annotation say.
std::wstring TextOf(const std::wstring& widened, bool isXml) {
  std::string bytes;
  bytes.reserve(widened.size());
  for (const wchar_t unit : widened)
    bytes += static_cast<char>(static_cast<unsigned char>(unit));
  ZRWString text = Utf8ToUtf16(std::string_view(bytes));
  if (isXml) Xml2Text(text, text);
  return std::wstring(text.View());
}

std::wstring Wide(const char* ascii) {
  return std::wstring(ascii, ascii + std::char_traits<char>::length(ascii));
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
  return MakeObject({{L"type", Wide(kEventCreated)},
                     {L"engine", engine},
                     {L"id", eventId},
                     {L"name", name},
                     {L"description", description}});
}

std::wstring GetPublishTriggeredEventJSON(const std::wstring& engine, const std::wstring& time,
                                          const std::wstring& eventId,
                                          const std::wstring& transition,
                                          const std::wstring& annotation) {
  return MakeObject({{L"type", Wide(kEventTriggered)},
                     {L"engine", engine},
                     {L"time", time},
                     {L"id", eventId},
                     {L"transition", transition},
                     {L"annotation", annotation},
                     {L"text", TextOf(annotation, transition == L"ON")}});
}
