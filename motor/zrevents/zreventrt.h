#pragma once

#include "host/tools/zrbasicstring.h"
#include "host/tools/zrdatetime.h"
#include "host/tools/zruuid.h"

class ZREventDriver;

// One occurrence of an event: a plain record, copied field by field.
struct tagSEventRT {
  uuid id;
  int status = 0;  // bits kActivated, kDeactivated, kAcknowledged
  // UTC; each invalid until its transition.
  ZRDateTime actived;
  ZRDateTime acknowledged;
  ZRDateTime deactivated;
  // UTF-8. The activation text lies here in escaped form, the later two as they are.
  ZRString annotation;
  ZRString deaAnnotation;
  ZRString ackAnnotation;
  // Copied with the record, never filled.
  ZRString reserved1;
  ZRString reserved2;
  ZRWString fileName;  // the data file of the record
  ZREventDriver* driver = nullptr;
};
