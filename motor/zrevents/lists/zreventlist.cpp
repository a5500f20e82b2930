#include "zrevents/lists/zreventlist.h"

void ZREventList::QueueChange(std::unique_ptr<tagSEventRT> /*change*/) {}

int ZREventList::ActivedCount(ZRHttpRequest& /*request*/, ZRHttpResponse& /*response*/) {
  return 0;
}

int ZREventList::NotifiedCount(ZRHttpRequest& /*request*/, ZRHttpResponse& /*response*/) {
  return 0;
}

bool ZREventList::SendActived(ZRHttpRequest& /*request*/, ZRHttpResponse& /*response*/) {
  return false;
}

bool ZREventList::SendNotified(ZRHttpRequest& /*request*/, ZRHttpResponse& /*response*/) {
  return false;
}
