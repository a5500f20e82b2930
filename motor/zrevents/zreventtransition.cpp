#include "zrevents/zreventtransition.h"

#include "host/tools/zrtext.h"
#include "zrevents/zreventstatus.h"

tagSEventRT ListenerChange(const tagSEventRT& occurrence, const uuid& eventId, int status) {
  tagSEventRT change;
  change.id = eventId;
  change.status = status;
  change.actived = occurrence.actived;
  change.acknowledged = occurrence.acknowledged;
  change.deactivated = occurrence.deactivated;
  change.annotation = occurrence.annotation;
  change.deaAnnotation = occurrence.deaAnnotation;
  change.ackAnnotation = occurrence.ackAnnotation;
  change.fileName = occurrence.fileName;
  change.driver = occurrence.driver;
  return change;
}

tagSEventRT TransitionRecord(const tagSEventRT& occurrence, int status, const ZRDateTime& now) {
  tagSEventRT record;
  record.id = occurrence.id;
  record.status = status;
  record.actived = now;
  switch (status) {
    case kDeactivated:
      record.annotation = occurrence.deaAnnotation;
      break;
    case kAcknowledged:
      record.annotation = occurrence.ackAnnotation;
      break;
    default:
      record.annotation = occurrence.annotation;
      break;
  }
  record.deaAnnotation = occurrence.deaAnnotation;
  record.ackAnnotation = occurrence.ackAnnotation;
  record.driver = occurrence.driver;
  return record;
}

tagFeedItem FeedItem(const ZRWString& name, const ZRWString& description,
                     const tagSEventRT& occurrence, const ZRWString& statusText) {
  tagFeedItem item;
  item.title = name + L" (" + statusText + L")";
  if (description.IsEmpty()) {
    Utf8ToUtf16(item.text, occurrence.annotation);
    return item;
  }
  ZRWString plain;
  Xml2Text(plain, description);
  item.text = ZRWString(L"<p><b>", false) + plain + L"</b></p>";
  if (occurrence.annotation.IsEmpty()) return item;
  ZRString quoted;
  Xml2Text(quoted, occurrence.annotation);
  item.text += L"<p>";
  item.text += Utf8ToUtf16(quoted.View());
  item.text += L"</p>";
  return item;
}
