// Answers of the history as text.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "tessaly/zrcommandline.h"
#include "zrevents/history/zreventloggerdata.h"

// Takes a text piece by piece.
using ZRTextSink = std::function<void(std::string_view)>;
// Names of events in UTF-8, by their ids.
using ZREventNames = std::unordered_map<uuid, std::string>;
using ZROccurrences = std::vector<const ZREventLoggerData::CDataRecord*>;
using ZRTotals = std::vector<const ZREventLoggerData::CDataRecordTotalized*>;

// Writes occurrences, in their order, with a line for each:
//
//   kTable  for people: local time, durations in words; controls as escapes
//   kCsv    RFC 4180, with a header; times by ISO 8601 in UTC; controls as escapes
//   kJson   an array of objects, with the same times
//   kXml    the document of the logger service, on one line, without a line end
//
// An end or an acknowledgement is known to the second; what hasn't come is empty, or null.
void WriteOccurrences(ZRHistoryFormat format, const ZROccurrences& occurrences,
                      const ZREventNames& names, const ZRTextSink& sink);
// The same with sums of events. Acknowledgements of an event that asks for none are empty, or null.
void WriteTotals(ZRHistoryFormat format, const ZRTotals& totals, const ZREventNames& names,
                 const ZRTextSink& sink);
