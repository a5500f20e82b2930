#include "zrevents/zreventdriver.h"

#include <algorithm>
#include <utility>

#include "host/tools/zrtext.h"
#include "zrevents/zreventdrivergroup.h"

namespace {

std::atomic<std::int64_t> lostRecords{0};

}  // namespace

ZREventDriver::ZREventDriver() = default;

ZREventDriver::~ZREventDriver() {
  lostRecords.fetch_add(WaitingRecords(), std::memory_order_relaxed);
}

std::int64_t ZREventDriver::LostRecords() {
  return lostRecords.load(std::memory_order_relaxed);
}

bool ZREventDriver::IsInGroup(const ZRWString& groupName) const {
  return std::any_of(groups.begin(), groups.end(), [&](const ZREventDriverGroup* group) {
    return group != nullptr && group->Name() == groupName;
  });
}

int ZREventDriver::ActivedSeconds() const {
  if (!IsEnabled()) return 0;
  const ZRDateTime since = LastActiveDateTime();
  return since.Valid() ? (ZRDateTime::LTC() - since).TotalSeconds() : 0;
}

bool ZREventDriver::hasActived() {
  const ZRMutexLock lock(occurrencesMutex);
  return !occurrences.IsEmpty();
}

bool ZREventDriver::hasNotified() {
  return notify && hasActived();
}

bool ZREventDriver::HasEvent(const uuid& toFind) {
  const ZRMutexLock lock(occurrencesMutex);
  if (occurrences.IsEmpty()) return false;
  return id == toFind ||
         std::any_of(occurrences.begin(), occurrences.end(),
                     [&](const tagSEventRT* occurrence) { return occurrence->id == toFind; });
}

tagSEventRT* ZREventDriver::NewEventRT() {
  auto occurrence = std::make_unique<tagSEventRT>();
  occurrence->status = notify ? 0 : kAcknowledged;
  NewGUID(&occurrence->id);
  Text2Xml(occurrence->annotation, Utf16ToUtf8(Annotation().View()));
  Text2Xml(occurrence->deaAnnotation, Utf16ToUtf8(DeaAnnotation().View()));
  Text2Xml(occurrence->ackAnnotation, Utf16ToUtf8(AckAnnotation().View()));
  occurrence->driver = this;
  return occurrences.Append(std::move(occurrence));
}

ZRWString ZREventDriver::TextOf(tagTextField field) const {
  const ZRMutexLock lock(textMutex);
  return this->*field;
}

ZRWString ZREventDriver::IdStr() const {
  const ZRWString text = TextOf(&ZREventDriver::idStr);
  return text.IsEmpty() ? id.toWString() : text;
}

void ZREventDriver::SetText(tagTextField field, const ZRWString& text) {
  const ZRMutexLock lock(textMutex);
  this->*field = text;
  activeElement.Reset();
}

void ZREventDriver::SetIdStr(const ZRWString& text) {
  const ZRMutexLock lock(textMutex);
  idStr = text;
}

void ZREventDriver::ExpandText(tagTextField field, const ZRWString& textTemplate) {
  ZRWString text;
  ParseAnnotation(text, textTemplate);
  SetText(field, text);
}

ZRDateTime ZREventDriver::TimeOf(tagTimeField field) const {
  const ZRMutexLock lock(textMutex);
  return this->*field;
}

void ZREventDriver::SetTime(tagTimeField field, const ZRDateTime& time) {
  const ZRMutexLock lock(textMutex);
  this->*field = time;
  activeElement.Reset();
}
