#include "tessaly/zrlistenerlist.h"

#include "host/tools/xmldocument.h"
#include "tessaly/zrfieldtext.h"
#include "tessaly/zrsenttime.h"
#include "tessaly/zrshowntext.h"
#include "tessaly/zrtexttable.h"

namespace {

using tagCells = std::vector<std::string>;

constexpr std::string_view kRoot = "listeners";
constexpr std::string_view kListener = "listener";
constexpr const char* kNoAnswer = "0";

ZRListenerShown ListenerOf(const XmlDocument::XmlNode& node) {
  const auto text = [&node](std::string_view key) { return std::string(node.ValueUtf8(key)); };
  ZRListenerShown listener;
  listener.id = text("driverId");
  listener.name = text("driverName");
  listener.user = text("user");
  listener.host = text("ip");
  listener.port = text("port");
  listener.since = text("since");
  listener.status = text("status");
  listener.isUser = text("isUser") == "T";
  listener.needsAll = text("all") == "T";
  return listener;
}

std::string LastAnswer(const ZRListenerShown& listener) {
  if (listener.status.empty()) return "not asked yet";
  return listener.status == kNoAnswer ? "none" : listener.status;
}

tagCells Titles() {
  return {"Since", "Last answer", "Waits for", "User", "Address", "Id", "Name"};
}

tagCells CellsOf(const ZRListenerShown& listener) {
  tagCells cells{LocalTimeOf(listener.since)};
  for (const std::string& text :
       {LastAnswer(listener), std::string(listener.needsAll ? "everything" : "changes"),
        listener.user, listener.host + ":" + listener.port, listener.id, listener.name})
    cells.push_back(ShownText(text));
  return cells;
}

ZRField FlagField(const char* name, bool value) {
  return BareField(name, value ? "true" : "false");
}

ZRFields FieldsOf(const ZRListenerShown& listener) {
  return {TimeField("since", IsoTimeOf(listener.since)),
          TextField("id", listener.id),
          TextField("name", listener.name),
          TextField("user", listener.user),
          TextField("host", listener.host),
          TextField("port", listener.port),
          TextField("status", listener.status),
          FlagField("is_user", listener.isUser),
          FlagField("needs_all", listener.needsAll)};
}

}  // namespace

bool ZRListenerList::Read(std::string_view document, std::string& reason) {
  listeners.clear();
  waiting.clear();
  XmlDocument read;
  XmlDocument::tagRefusal refusal;
  if (!read.Parse(document, XmlDocument::kMaximumFileSize, &refusal)) {
    reason = "the answer is no XML document: " + refusal.reason;
    return false;
  }
  const XmlDocument::XmlNode& root = *read.Root();
  if (root.TagUtf8() != kRoot) {
    reason = "the answer is no list of listeners: its root isn't " + std::string(kRoot);
    return false;
  }
  waiting = std::string(root.ValueUtf8("waiting"));
  for (auto child = root.ChildsBegin(); child != root.ChildsEnd(); ++child)
    if ((*child)->TagUtf8() == kListener) listeners.push_back(ListenerOf(**child));
  return true;
}

void ZRListenerList::Write(ZRHistoryFormat format, const ZRTextSink& sink) const {
  if (format == ZRHistoryFormat::kCsv) {
    sink(CsvTitles(FieldsOf({})));
    for (const ZRListenerShown& listener : listeners)
      sink(CsvValues(FieldsOf(listener)));
  } else if (format == ZRHistoryFormat::kJson) {
    sink("[\n");
    for (const ZRListenerShown& listener : listeners) {
      sink(JsonObject(FieldsOf(listener)));
      sink(&listener == &listeners.back() ? "\n" : ",\n");
    }
    sink("]\n");
  } else {
    ZRTextTable table(Titles(), std::vector<bool>(Titles().size()));
    for (const ZRListenerShown& listener : listeners)
      table.Measure(CellsOf(listener));
    table.WriteTitles(sink);
    for (const ZRListenerShown& listener : listeners)
      table.Write(CellsOf(listener), sink);
    sink(ShownText(waiting) + " changes wait\n");
  }
}
