#include <thread>
#include <vector>

#include "support/listtest.h"

namespace {

class PendingChanges : public ListTest {
 protected:
  void Queue(int count) {
    for (int number = 0; number < count; ++number)
      list.QueueChange(std::make_unique<tagSEventRT>().release());
  }
  void QueueRemotes(int count) {
    for (int number = 0; number < count; ++number)
      QueueRemote(RemoteXml("R." + std::to_string(number)), true);
  }
};

TEST_F(PendingChanges, WithoutAListenerAreNotKept) {
  EXPECT_EQ(list.listenerCount, 0);
  for (const int listeners : {0, -1}) {
    list.listenerCount = listeners;
    Queue(1);
    QueueRemotes(1);
    EXPECT_EQ(list.PendingChangesSize(), 0);
    EXPECT_EQ(list.PendingRemoteChangesSize(), 0);
  }
}

TEST_F(PendingChanges, AreCountedByTheirKind) {
  list.listenerCount = 1;
  Queue(3);
  QueueRemotes(2);
  list.QueueRemoteChange(nullptr, true);
  EXPECT_EQ(list.PendingChangesSize(), 3);
  EXPECT_EQ(list.PendingRemoteChangesSize(), 2);
}

TEST_F(PendingChanges, AreDroppedByTheirCountOrAllOfThem) {
  list.listenerCount = 1;
  struct {
    int count;
    int left;
  } const kCases[] = {{1, 2}, {2, 1}, {3, 0}, {4, 0}, {0, 0}, {-1, 0}};
  for (const auto& [count, left] : kCases) {
    list.DropChanges(0);
    list.DropRemoteChanges(0);
    Queue(3);
    QueueRemotes(3);
    list.DropChanges(count);
    EXPECT_EQ(list.PendingChangesSize(), left) << count;
    EXPECT_EQ(list.PendingRemoteChangesSize(), 3) << count;
    list.DropRemoteChanges(count);
    EXPECT_EQ(list.PendingRemoteChangesSize(), left) << count;
  }
}

// What was queued during a pass survives it.
TEST_F(PendingChanges, AreDroppedFromTheHead) {
  list.listenerCount = 1;
  QueueRemotes(2);
  QueueRemote(RemoteXml("R.new").Why("ACTIVATION"), true);
  list.DropRemoteChanges(2);
  ZREventListener listener(L"L", "", 0);
  XmlDocument document;
  document.Create(L"producer");
  list.AddActivedChanges(document, Wants(listener), 0, 1);
  EXPECT_STREQ(Narrow(document.Root()->Node(L"actived/event")->Value(L"id", L"")).c_str(),
               "L.R.new");
}

// For the thread sanitizer: changes come from several threads while one takes and drops them.
TEST(PendingChangesThreads, AreQueuedBySeveralWhileOneTakesThem) {
  constexpr int kThreads = 3;
  constexpr int kEach = 200;
  ZREventList list;
  list.listenerCount = 1;
  XmlDocument received;
  ASSERT_TRUE(received.Parse("<event><id>R.1</id><whyFired>ACTIVATION</whyFired></event>"));
  std::vector<std::thread> threads;
  for (int thread = 0; thread < kThreads; ++thread) {
    threads.emplace_back([&] {
      for (int number = 0; number < kEach; ++number) {
        auto change = std::make_unique<tagSEventRT>();
        change->status = 4;  // no active event: its driver isn't looked at
        list.QueueChange(change.release());
        list.QueueRemoteChange(std::as_const(received).Root(), true);
        list.UpdateEntry(std::as_const(received).Root(), number % 2 == 0);
      }
    });
  }
  ZREventListener listener(L"L", "", 0);
  listener.actived = true;
  int local = 0;
  int remote = 0;
  int added = 0;
  while (local < kThreads * kEach || remote < kThreads * kEach) {
    const int a = list.PendingChangesSize();
    const int b = list.PendingRemoteChangesSize();
    XmlDocument document;
    document.Create(L"producer");
    list.AddActivedChanges(document, listener, a, b);
    added += document.Root()->Node(L"actived")->Size();
    if (a != 0) list.DropChanges(a);
    if (b != 0) list.DropRemoteChanges(b);
    local += a;
    remote += b;
    list.RemoveDriverEvents(L"");
    (void)list.CanAcknowledge(L"R.1");
    std::this_thread::yield();
  }
  for (std::thread& thread : threads)
    thread.join();
  EXPECT_EQ(added, kThreads * kEach);
  EXPECT_EQ(list.PendingChangesSize() + list.PendingRemoteChangesSize(), 0);
}

}  // namespace
