#pragma once

#include <atomic>
#include <memory>

#include "host/remote/zrhttprequest.h"
#include "host/remote/zrhttpresponse.h"
#include "zrevents/zreventrt.h"

// The events of remote engines, and the changes that wait for registered listeners.
//
// No listener can register yet and no remote engine reports: nothing is queued, and the list is
// empty.
class ZREventList {
 public:
  // Takes over a change for the listeners. Without a listener it is destroyed.
  void QueueChange(std::unique_ptr<tagSEventRT> change);

  // The remote events that the caller of `request` may see; the second argument is unused.
  [[nodiscard]] int ActivedCount(ZRHttpRequest& request, ZRHttpResponse& response);
  [[nodiscard]] int NotifiedCount(ZRHttpRequest& request, ZRHttpResponse& response);
  bool SendActived(ZRHttpRequest& request, ZRHttpResponse& response);
  bool SendNotified(ZRHttpRequest& request, ZRHttpResponse& response);

  // The number of registered listeners, as far as the list knows.
  std::atomic<int> listenerCount{0};
};
