#include "tessaly/zrlivelist.h"

#include "host/tools/xmldocument.h"
#include "tessaly/zrfieldtext.h"
#include "tessaly/zrsenttime.h"
#include "tessaly/zrshowntext.h"
#include "tessaly/zrtexttable.h"

namespace {

using tagKind = ZRLiveList::tagKind;
using tagCells = std::vector<std::string>;

constexpr std::string_view kRoots[] = {"activedEvents", "notifiedEvents"};
constexpr std::string_view kToAcknowledge[] = {"notified", "canAcknowledge"};
constexpr std::string_view kEvent = "event";

ZRLiveEvent EventOf(const XmlDocument::XmlNode& node, tagKind kind) {
  const auto text = [&node](std::string_view key) { return std::string(node.ValueUtf8(key)); };
  ZRLiveEvent event;
  event.id = text("id");
  event.names = text("idn");
  event.name = text("name");
  event.description = text("description");
  event.text = text("annotation");
  event.endText = text("deaAnnotation");
  event.ackText = text("ackAnnotation");
  event.began = text("dateTime");
  event.ended = text("disableDateTime");
  event.acknowledged = text("ackDateTime");
  event.isToAcknowledge = node.ValueUtf8(kToAcknowledge[static_cast<int>(kind)]) == "T";
  return event;
}

// What has become of an occurrence.
std::string StateOf(const ZRLiveEvent& event) {
  const std::string life = event.ended.empty() ? "active" : "over";
  return event.acknowledged.empty() ? life : life + ", acknowledged";
}

tagCells TitlesOf(tagKind kind) {
  if (kind == tagKind::kActive) return {"Began", "Group", "Event", "Text"};
  return {"Began", "State", "Id", "Group", "Event", "Text"};
}

tagCells CellsOf(const ZRLiveEvent& event, tagKind kind, const std::string& groups) {
  tagCells cells{LocalTimeOf(event.began)};
  if (kind == tagKind::kNotified) {
    cells.push_back(StateOf(event));
    cells.push_back(ShownText(event.id));
  }
  for (const std::string& text : {groups, event.name, event.text})
    cells.push_back(ShownText(text));
  return cells;
}

ZRField FlagField(const char* name, bool value) {
  return BareField(name, value ? "true" : "false");
}

ZRFields FieldsOf(const ZRLiveEvent& event, tagKind kind, const std::string& groups) {
  ZRFields fields{TimeField("began", IsoTimeOf(event.began)), TextField("group", groups),
                  TextField("event", event.name), TextField("text", event.text),
                  TextField("description", event.description)};
  if (kind == tagKind::kActive) {
    fields.push_back(FlagField("notify", event.isToAcknowledge));
  } else {
    fields.push_back(TimeField("ended", IsoTimeOf(event.ended)));
    fields.push_back(TimeField("acknowledged", IsoTimeOf(event.acknowledged)));
    fields.push_back(FlagField("can_acknowledge", event.isToAcknowledge));
  }
  fields.push_back(TextField("end_text", event.endText));
  fields.push_back(TextField("ack_text", event.ackText));
  fields.push_back(TextField("id", event.id));
  fields.push_back(TextField("names", event.names));
  return fields;
}

}  // namespace

bool ZRLiveList::Read(std::string_view document, std::string& reason) {
  events.clear();
  XmlDocument read;
  XmlDocument::tagRefusal refusal;
  if (!read.Parse(document, XmlDocument::kMaximumFileSize, &refusal)) {
    reason = "the answer is no XML document: " + refusal.reason;
    return false;
  }
  const std::string_view expected = kRoots[static_cast<int>(kind)];
  if (read.Root()->TagUtf8() != expected) {
    reason = "the answer is no list of events: its root isn't " + std::string(expected);
    return false;
  }
  const XmlDocument::XmlNode& root = *read.Root();
  for (auto child = root.ChildsBegin(); child != root.ChildsEnd(); ++child)
    if ((*child)->TagUtf8() == kEvent) events.push_back(EventOf(**child, kind));
  return true;
}

void ZRLiveList::Write(ZRHistoryFormat format, const tagGroups& groups,
                       const ZRTextSink& sink) const {
  if (format == ZRHistoryFormat::kCsv) {
    sink(CsvTitles(FieldsOf({}, kind, "")));
    for (const ZRLiveEvent& event : events)
      sink(CsvValues(FieldsOf(event, kind, groups(event))));
  } else if (format == ZRHistoryFormat::kJson) {
    sink("[\n");
    for (const ZRLiveEvent& event : events) {
      sink(JsonObject(FieldsOf(event, kind, groups(event))));
      sink(&event == &events.back() ? "\n" : ",\n");
    }
    sink("]\n");
  } else {
    ZRTextTable table(TitlesOf(kind), std::vector<bool>(TitlesOf(kind).size()));
    for (const ZRLiveEvent& event : events)
      table.Measure(CellsOf(event, kind, groups(event)));
    table.WriteTitles(sink);
    for (const ZRLiveEvent& event : events)
      table.Write(CellsOf(event, kind, groups(event)), sink);
  }
}
