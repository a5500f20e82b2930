#include "zrevents/zreventpass.h"

#include <utility>

#include "zrevents/zreventdriver.h"

ZREventPass::ZREventPass(std::vector<ZREventDriver*> toServe) : events(std::move(toServe)) {}

void ZREventPass::Serve(std::size_t place, const ZRDateTime& now) {
  if (place + kEventsAhead < events.size()) events[place + kEventsAhead]->Prefetch();
  if (place + kConditionsAhead < events.size())
    events[place + kConditionsAhead]->PrefetchCondition();
  wasEnabled = events[place]->IsEnabled();
  events[place]->Work(now);
}

// An event that is or was active may have taken long.
void ZREventPass::GiveWay(const ZREventDriver& served) {
  if (pace.IsDue(wasEnabled || served.IsEnabled())) ZRPlatform::Get().Sleep(0);
}
