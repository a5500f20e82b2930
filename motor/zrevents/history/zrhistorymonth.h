// The months of the history.
#pragma once

#include "host/tools/zrdatetime.h"

struct ZRHistoryMonth {
  int year = 0;
  int month = 0;  // 1 to 12

  [[nodiscard]] static ZRHistoryMonth Of(const ZRDateTime& date) {
    return {date.Year(), date.Month()};
  }
  // Its first day, 00:00:00; invalid outside of the range of years.
  [[nodiscard]] ZRDateTime Begin() const {
    ZRDateTime date;
    date.SetDate(year, month, 1);
    return date;
  }
  [[nodiscard]] ZRHistoryMonth Next() const {
    return month == 12 ? ZRHistoryMonth{year + 1, 1} : ZRHistoryMonth{year, month + 1};
  }
  [[nodiscard]] ZRHistoryMonth Before() const {
    return month == 1 ? ZRHistoryMonth{year - 1, 12} : ZRHistoryMonth{year, month - 1};
  }
  // The month that follows in a count of all records, which leaves out each December: required.
  [[nodiscard]] ZRHistoryMonth NextToCount() const {
    return month + 1 == 12 ? ZRHistoryMonth{year + 1, 1} : ZRHistoryMonth{year, month + 1};
  }
};

// Calls `visit` for each month of a period: the first is that of `from`, the last the one that
// begins at or before `to`.
template <typename Visit>
void ForEachMonth(const ZRDateTime& from, const ZRDateTime& to, Visit visit) {
  for (ZRHistoryMonth month = ZRHistoryMonth::Of(from);; month = month.Next()) {
    const ZRDateTime begin = month.Begin();
    if (!begin.Valid() || begin > to) return;
    visit(begin);
  }
}
