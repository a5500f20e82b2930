#include "tessaly/zrhistorytext.h"

#include <array>
#include <cstdint>

#include "host/tools/zrtext.h"
#include "tessaly/zrfieldtext.h"
#include "tessaly/zrshowntext.h"
#include "tessaly/zrtexttable.h"
#include "tessaly/zrtransitionline.h"

namespace {

using tagRecord = ZREventLoggerData::CDataRecord;
using tagTotal = ZREventLoggerData::CDataRecordTotalized;
using tagCells = std::vector<std::string>;

constexpr std::uint32_t kNoOffset = ZREventLoggerData::kNoOffset;
constexpr std::string_view kXmlHeader =
    R"(<?xml version="1.0" encoding="UTF-8" standalone="yes"?>)";

std::string Utf8(std::wstring_view text) {
  return std::string(Utf16ToUtf8(text).View());
}

std::string IdText(const uuid& id) {
  return Utf8(id.toWString().View());
}

const std::string& NameOf(const uuid& event, const ZREventNames& names) {
  static const std::string kNone;
  const auto found = names.find(event);
  return found == names.end() ? kNone : found->second;
}

// The text of an activation is stored escaped.
std::string ActivationText(const tagRecord& record) {
  ZRString plain;
  Xml2Text(plain, ZRString(record.AnnotationView()));
  return std::string(plain.View());
}

std::string LocalTime(const ZRDateTime& time) {
  ZRString text;
  (void)DateTime2String(text, time.UTC2LTC(), false, false);
  return std::string(text.View());
}

// The ISO time so many seconds behind `time`; empty for kNoOffset.
std::string IsoTime(const ZRDateTime& time, std::uint32_t offset = 0) {
  constexpr std::int64_t kMilliseconds = 1000;
  if (offset == kNoOffset || !time.Valid()) return "";
  return Utf8(ZRDateTime::FromUtcMilliseconds(time.UtcMilliseconds() + offset * kMilliseconds)
                  .ToCompleteWString()
                  .View());
}

std::string Duration(double seconds) {
  return Utf8(DurationText(seconds).View());
}

// --- table ---

std::string Acknowledgement(const tagRecord& record) {
  if (record.AckOffset() != kNoOffset) return "after " + Duration(record.AckOffset());
  return record.Notify() ? "not yet" : "-";
}

tagCells TableCells(const tagRecord& record, const ZREventNames& names) {
  const bool isOver = record.DisableOffset() != kNoOffset;
  return {LocalTime(record.Time()), isOver ? Duration(record.DisableOffset()) : "not over",
          Acknowledgement(record), ShownText(NameOf(record.EventId(), names)),
          ShownText(ActivationText(record))};
}

tagCells TableCells(const tagTotal& total, const ZREventNames& names) {
  return {ShownText(NameOf(total.EventId(), names)), std::to_string(total.EnableCount()),
          std::to_string(total.DisableCount()),
          total.Notify() ? std::to_string(total.AckCount()) : "-", Duration(total.Duration())};
}

template <typename Rows>
void WriteTable(ZRTextTable& table, const Rows& rows, const ZREventNames& names,
                const ZRTextSink& sink) {
  for (const auto* row : rows)
    table.Measure(TableCells(*row, names));
  table.WriteTitles(sink);
  for (const auto* row : rows)
    table.Write(TableCells(*row, names), sink);
}

// --- the same fields as CSV and JSON ---

ZRField SecondsField(const char* name, std::uint32_t offset) {
  return offset == kNoOffset ? MissingField(name) : BareField(name, std::to_string(offset));
}

ZRFields FieldsOf(const tagRecord& record, const ZREventNames& names) {
  return {TextField("event", NameOf(record.EventId(), names)),
          TimeField("began", IsoTime(record.Time())),
          TimeField("ended", IsoTime(record.Time(), record.DisableOffset())),
          SecondsField("seconds", record.DisableOffset()),
          TimeField("acknowledged", IsoTime(record.Time(), record.AckOffset())),
          SecondsField("ack_seconds", record.AckOffset()),
          BareField("notify", record.Notify() ? "true" : "false"),
          TextField("text", ActivationText(record)),
          TextField("end_text", std::string(record.DeaAnnotationView())),
          TextField("ack_text", std::string(record.AckAnnotationView())),
          TextField("event_id", IdText(record.EventId())),
          TextField("occurrence_id", IdText(record.RecordId()))};
}

ZRFields FieldsOf(const tagTotal& total, const ZREventNames& names) {
  return {TextField("event", NameOf(total.EventId(), names)),
          BareField("occurrences", std::to_string(total.EnableCount())),
          BareField("ended", std::to_string(total.DisableCount())),
          total.Notify() ? BareField("acknowledged", std::to_string(total.AckCount()))
                         : MissingField("acknowledged"),
          BareField("seconds", std::to_string(total.Duration())),
          TextField("event_id", IdText(total.EventId()))};
}

// `example` is any row.
template <typename Row>
void WriteCsv(const std::vector<const Row*>& rows, const Row& example, const ZREventNames& names,
              const ZRTextSink& sink) {
  sink(CsvTitles(FieldsOf(example, names)));
  for (const Row* row : rows)
    sink(CsvValues(FieldsOf(*row, names)));
}

template <typename Row>
void WriteJson(const std::vector<const Row*>& rows, const ZREventNames& names,
               const ZRTextSink& sink) {
  sink("[\n");
  for (const Row* row : rows)
    sink(JsonObject(FieldsOf(*row, names)) + (row == rows.back() ? "\n" : ",\n"));
  sink("]\n");
}

// --- XML ---

std::string Element(const char* tag, std::string_view text) {
  return std::string("<") + tag + ">" + std::string(text) + "</" + tag + ">";
}

std::string ServiceDate(const ZRDateTime& t) {
  return Utf8(FormatWide(L"%02d%02d%04d%02d%02d%02d", t.Day(), t.Month(), t.Year(), t.Hour(),
                         t.Minute(), t.Second())
                  .View());
}

std::string XmlOf(const tagRecord& record, const ZREventNames&) {
  std::string xml = "<record>" + Element("id", IdText(record.RecordId())) +
                    Element("eventId", IdText(record.EventId()));
  if (!record.AnnotationView().empty()) xml += Element("annotation", record.AnnotationView());
  xml += Element("dateTime", ServiceDate(record.Time()));
  if (record.AckOffset() != kNoOffset)
    xml += Element("ackDelay", std::to_string(record.AckOffset()));
  if (record.DisableOffset() != kNoOffset)
    xml += Element("disabledDelay", std::to_string(record.DisableOffset()));
  return xml + "</record>";
}

std::string XmlOf(const tagTotal& total, const ZREventNames& names) {
  ZRString name;
  Text2Xml(name, ZRString(std::string_view(NameOf(total.EventId(), names))));
  std::string xml = "<total>" + Element("eventId", IdText(total.EventId())) +
                    Element("name", name.View()) +
                    Element("enabledCount", std::to_string(total.EnableCount())) +
                    Element("disabledCount", std::to_string(total.DisableCount()));
  if (total.Notify()) xml += Element("ackCount", std::to_string(total.AckCount()));
  return xml + Element("duration", std::to_string(total.Duration())) + "</total>";
}

template <typename Row>
void WriteXml(const char* root, const std::vector<const Row*>& rows, const ZREventNames& names,
              const ZRTextSink& sink) {
  sink(std::string(kXmlHeader) + "<" + root + ">");
  for (const Row* row : rows)
    sink(XmlOf(*row, names));
  sink(std::string("</") + root + ">");
}

}  // namespace

void WriteOccurrences(ZRHistoryFormat format, const ZROccurrences& occurrences,
                      const ZREventNames& names, const ZRTextSink& sink) {
  ZRTextTable table({"Began", "Lasted", "Acknowledged", "Event", "Text"},
                    {false, false, false, false, false});
  switch (format) {
    case ZRHistoryFormat::kTable:
      return WriteTable(table, occurrences, names, sink);
    case ZRHistoryFormat::kCsv:
      return WriteCsv(occurrences, tagRecord(uuid{}, uuid{}, ZRDateTime{}), names, sink);
    case ZRHistoryFormat::kJson:
      return WriteJson(occurrences, names, sink);
    case ZRHistoryFormat::kXml:
      return WriteXml("loggerEvents", occurrences, names, sink);
  }
}

void WriteTotals(ZRHistoryFormat format, const ZRTotals& totals, const ZREventNames& names,
                 const ZRTextSink& sink) {
  ZRTextTable table({"Event", "Occurrences", "Ended", "Acknowledged", "Active"},
                    {false, true, true, true, false});
  switch (format) {
    case ZRHistoryFormat::kTable:
      return WriteTable(table, totals, names, sink);
    case ZRHistoryFormat::kCsv:
      return WriteCsv(totals, tagTotal(uuid{}, false), names, sink);
    case ZRHistoryFormat::kJson:
      return WriteJson(totals, names, sink);
    case ZRHistoryFormat::kXml:
      return WriteXml("loggerTotals", totals, names, sink);
  }
}
