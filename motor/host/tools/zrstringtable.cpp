#include "host/tools/zrstringtable.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <string>

#include "host/tools/zrtext.h"

namespace {

enum class Language : int { English, Spanish };

constexpr std::array<std::string_view, 2> kLanguages{"en", "es"};

struct tagEntry {
  int id = 0;
  std::array<std::string_view, kLanguages.size()> texts{};
};

constexpr tagEntry kTable[] = {
    {zrstring::kGroupGeneral, {"General", "General"}},
    {zrstring::kGroupSystem, {"System", "Sistema"}},
    {zrstring::kGroupQuality, {"Power quality", "Calidad de red"}},
    {zrstring::kGroupConsumption, {"Consumption", "Consumo"}},
    {zrstring::kGroupMaintenance, {"Maintenance", "Mantenimiento"}},
    {zrstring::kGroupSecurity, {"Security", "Seguridad"}},
    {zrstring::kGroupParking, {"Parking", "Aparcamiento"}},
    {zrstring::kNoTimeTable, {"No time table", "Sin calendario"}},
    {zrstring::kActivated, {"Activated", "Activado"}},
    {zrstring::kDeactivated, {"Deactivated", "Desactivado"}},
    {zrstring::kAcknowledged, {"Acknowledged", "Reconocido"}},
    {zrstring::kStateOff, {"OFF", "Apagado"}},
    {zrstring::kStateOn, {"ON", "Encendido"}},
    {zrstring::kCannotStart, {"Can't start \"%ls\"", "No se puede iniciar «%ls»"}},
    {zrstring::kSubjectActivate,
     {"The event '%ls' has been activated", "Se ha activado el evento '%ls'"}},
    {zrstring::kSubjectAcknowledge,
     {"The event '%ls' has been acknowledged", "Se ha reconocido el evento '%ls'"}},
    {zrstring::kSubjectDeactivate,
     {"The event '%ls' has been deactivated", "Se ha desactivado el evento '%ls'"}},
    {zrstring::kSubjectWhile, {"The event '%ls' is active", "El evento '%ls' está activo"}},
    {zrstring::kMailNotSent,
     {"A mail of an event couldn't be sent", "No se ha podido enviar un correo de un evento"}},
    {zrstring::kModemPortEmpty,
     {"The modem's port isn't set: no SMS will be sent",
      "El puerto del módem no está configurado: no se enviará ningún SMS"}},
    {zrstring::kSmsNotSent,
     {"An SMS of an event couldn't be sent", "No se ha podido enviar un SMS de un evento"}},
    {zrstring::kFeedTitle, {"Events", "Eventos"}},
    {zrstring::kSelectAll, {"Select all", "Seleccionar todo"}},
    {zrstring::kVariableState, {"State", "Estado"}},
    {zrstring::kVariableActivations, {"Activations", "Activaciones"}},
    {zrstring::kVariableDeactivations, {"Deactivations", "Desactivaciones"}},
    {zrstring::kVariableAcknowledgements, {"Acknowledgements", "Reconocimientos"}},
    {zrstring::kVariableTime, {"Active time", "Tiempo activo"}},
    {zrstring::kNothingToSelect,
     {"There are no variables to select", "No hay variables que seleccionar"}},
};

std::atomic<std::size_t> languageInForce{static_cast<std::size_t>(Language::English)};

// The text in the language in force; empty for an unknown number.
std::string_view Find(int id) {
  const auto* const entry =
      std::find_if(std::begin(kTable), std::end(kTable),
                   [id](const tagEntry& candidate) { return candidate.id == id; });
  if (entry == std::end(kTable)) return {};
  return entry->texts.at(languageInForce.load(std::memory_order_relaxed));
}

}  // namespace

bool SetStringLanguage(const ZRString& language) {
  const auto* const found = std::find(kLanguages.begin(), kLanguages.end(), language.View());
  if (found == kLanguages.end()) return false;
  languageInForce.store(static_cast<std::size_t>(found - kLanguages.begin()),
                        std::memory_order_relaxed);
  return true;
}

ZRString StringLanguage() {
  return ZRString(kLanguages.at(languageInForce.load(std::memory_order_relaxed)));
}

bool ZRLoadString(int id, ZRString& text) {
  const std::string_view found = Find(id);
  if (found.empty()) {
    text = "#";
    text.Append(std::to_string(id));
    return false;
  }
  text.Assign(found.data(), found.size());
  return true;
}

bool ZRLoadString(int id, ZRWString& text) {
  ZRString narrow;
  const bool known = ZRLoadString(id, narrow);
  Utf8ToUtf16(text, narrow);
  return known;
}

ZRWString ZRLoadString(int id) {
  ZRWString text;
  (void)ZRLoadString(id, text);
  return text;
}

bool StringId2String(int id, ZRWString& text) {
  return ZRLoadString(id, text);
}
