// What became of the parts of an event's element.
#pragma once

#include <string>
#include <string_view>

#include "host/driversupport/zrevaluator.h"
#include "tessaly/zrelementcheck.h"
#include "zrevents/zreventdriver.h"
#include "zrevents/zreventsystem.h"

// What an expression is, where it goes wrong, and what an evaluation says now.
struct ZRExpressionFacts {
  int kind = ZREvaluator::kInvalid;
  int code = ZREvaluator::kSuccess;
  std::string reason;  // "at character 3: ..." for kInvalid
};
[[nodiscard]] ZRExpressionFacts FactsOfExpression(std::string_view expression);

// Says why the element isn't in the store.
void CheckRefusedEvent(const ZRElementCheck& check);
// Says which parts of the element aren't in force in the event that was made of it.
void CheckLoadedEvent(const ZRElementCheck& check, ZREventDriver& event, ZREventSystem& system);
