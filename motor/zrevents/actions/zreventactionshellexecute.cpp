#include "zrevents/actions/zreventactionshellexecute.h"

#include <algorithm>
#include <utility>

#include "host/platform/zrprogramsearch.h"
#include "host/tools/zrtext.h"
#include "zrevents/actions/zractionfragment.h"
#include "zrevents/actions/zrstartedprocesses.h"
#include "zrevents/zreventdriver.h"

namespace {

constexpr const char* kOpener = "xdg-open";  // opens what it is given, as the desktop does

// The place of the next argument of an event, "%a" and a number, and the place behind it; both the
// end of the text if there is none.
struct tagPlace {
  std::size_t begin;
  std::size_t end;
};
tagPlace NextArgument(std::wstring_view text, std::size_t from) {
  constexpr std::wstring_view kDigits = L"0123456789";
  for (std::size_t at = text.find(L'%', from); at < text.size(); at = text.find(L'%', at)) {
    const std::size_t letter = at + 1;
    const std::size_t end = std::min(text.find_first_not_of(kDigits, letter + 1), text.size());
    if (letter < text.size() && text[letter] == L'a' && end > letter + 1) return {at, end};
    at += 2;  // "%%" is one escape
  }
  return {text.size(), text.size()};
}

}  // namespace

bool ZREventActionShellExecute::LoadXml(const XmlDocument::XmlNode* node) {
  if (node->TagUtf8() != "shellExecute") return false;
  if (!ZREventAction::LoadXml(node)) return false;
  command = node->Value(L"command", L"");
  parameter = node->Value(L"parameter", L"");
  return !command.IsEmpty();
}

bool ZREventActionShellExecute::Execute(int /*moment*/) {
  const std::vector<tagCommandPart> parameters = ExpandParameter();
  const ZRWString line = FormatWide(L"%ls %ls", command.Text(), expanded.Text());
  if (line.Length() >= kLineLimit) return true;
  // What can't be opened either is told nowhere: required.
  if (!StartProgram(parameters)) (void)OpenDocument();
  return true;
}

// Sets `expanded`, and gives it in parts. Each argument is evaluated once.
std::vector<tagCommandPart> ZREventActionShellExecute::ExpandParameter() {
  std::vector<tagCommandPart> parts;
  const std::wstring_view whole = parameter.View();
  const auto append = [&](std::size_t begin, std::size_t end, bool isArgument) {
    if (begin == end) return;
    ZRWString text;
    (void)Parent()->ParseAnnotation(text, ZRWString(whole.substr(begin, end - begin)));
    expanded += text;
    parts.push_back({std::move(text), isArgument});
  };
  expanded.Clear();
  for (std::size_t at = 0; at < whole.size();) {
    const tagPlace argument = NextArgument(whole, at);
    append(at, argument.begin, false);
    append(argument.begin, argument.end, true);
    at = argument.end;
  }
  return parts;
}

bool ZREventActionShellExecute::StartProgram(const std::vector<tagCommandPart>& parameters) const {
  const std::vector<std::string> front = CommandWords({{command, false}});
  if (front.empty()) return false;
  ZRProcessStart start;
  start.program = ZRProgramSearch::Find(front.front());
  if (start.program.empty()) return false;
  start.arguments.assign(front.begin() + 1, front.end());
  for (std::string& word : CommandWords(parameters))
    start.arguments.push_back(std::move(word));
  return ZRStartedProcesses::Get().Start(start);
}

bool ZREventActionShellExecute::OpenDocument() const {
  ZRProcessStart start;
  start.program = ZRProgramSearch::Find(kOpener);
  if (start.program.empty()) return false;
  std::string document(Utf16ToUtf8(command.View()).View());
  // A file whose name begins like an option.
  if (document.front() == '-') document.insert(0, "./");
  start.arguments.push_back(std::move(document));
  return ZRStartedProcesses::Get().Start(start);
}

bool ZREventActionShellExecute::ProcessHttpServiceEventsActions(ZRBasicString<char>& xml) {
  xml.Clear();
  ZREventAction::ProcessHttpServiceEventsActions(xml);
  AppendWhat(xml, "LAUNCH");
  ZRWString behind;
  if (!parameter.IsEmpty()) {
    (void)Parent()->ParseAnnotation(behind, parameter);
    behind = L" " + behind;
  }
  AppendHow(xml, command.View(), behind.View());
  return true;
}
