// A client of a Kafka cluster that only sends.
#pragma once

#include <compare>
#include <cstdint>
#include <map>
#include <memory>
#include <set>
#include <string>

#include "host/base/zrdropreport.h"
#include "host/kafka/zrkafkawire.h"
#include "host/platform/zrmutex.h"
#include "host/platform/zrthread.h"

// Two kinds of messages go out. What is published passes by: it waits in a queue of bounded length,
// and the oldest is dropped. What is kept is a picture in compacted topics: of each key only the
// newest message counts, and it is offered until the cluster has it.
//
// Threads   Start, Stop and the destructor on one; everything else on any.
// Order     `mutex` is a leaf but for the wire's own.
// Promise   no operation but Start and Stop waits for the cluster, or for anything but the mutex.
//           Messages of one key keep their order. A trouble is one line in the log until
//           kSettled have gone by without any.
class ZRKafkaClient final : private ZRKafkaWire::ZRListener {
 public:
  static constexpr std::uint32_t kFirstWait = 1000;      // ms before a broken wire is made anew
  static constexpr std::uint32_t kLongestWait = 60'000;  // ms, doubled up to this
  static constexpr std::uint32_t kPause = 1000;          // ms, after a message was refused
  static constexpr std::uint32_t kSettled = 30'000;      // ms
  static constexpr std::uint32_t kAlive = 60'000;        // ms until `online` is said again
  static constexpr std::uint32_t kFarewellTime = 2000;   // ms to send what waits when it stops
  static constexpr std::size_t kMostUnderWay = 1000;     // messages that aren't confirmed

  explicit ZRKafkaClient(ZRKafkaSettings toUse);
  ~ZRKafkaClient() override;
  ZRKafkaClient(const ZRKafkaClient&) = delete;
  ZRKafkaClient& operator=(const ZRKafkaClient&) = delete;

  // False if the system gives no thread.
  [[nodiscard]] bool Start();
  // Sends what waits and `offline`, for kFarewellTime at most. If the resolver is being asked, it
  // waits two seconds for that too.
  void Stop() ZR_EXCLUDES(mutex);

  // False, and nothing is sent, for a payload above the bound, and for none.
  bool Publish(ZRKafkaMessage message) ZR_EXCLUDES(mutex);
  // The message of that topic and key from now on. False as above.
  bool Keep(ZRKafkaMessage message) ZR_EXCLUDES(mutex);
  // A tombstone for that key, unless a message is kept there.
  void TakeAwayUnlessKept(const std::string& topic, const std::string& key) ZR_EXCLUDES(mutex);
  [[nodiscard]] bool Keeps(const std::string& topic, const std::string& key) const
      ZR_EXCLUDES(mutex);

  // Published messages that were dropped since the start, because the queue was full.
  [[nodiscard]] std::uint64_t Dropped() const ZR_EXCLUDES(mutex);

 private:
  // A number that grows with each message.
  using tagId = std::uint64_t;
  struct tagPlace {
    std::string topic;
    std::string key;
    auto operator<=>(const tagPlace&) const = default;  // NOLINT(modernize-use-nullptr)
  };
  struct tagKept {
    tagId newest = 0;
    bool isTombstone = false;
    std::string payload;  // empty once the cluster has it
  };
  // A message between Publish of the wire and its answer.
  struct tagUnderWay {
    bool isKept = false;  // of the picture
    ZRKafkaMessage message;
  };

  void OnConfirmed(tagId id) override;
  void OnRefused(tagId id, bool isHopeless, const ZRKafkaTrouble& trouble) override;
  void OnTrouble(const ZRKafkaTrouble& trouble) override;

  // --- the client's thread ---
  void Work();
  void Serve(ZRKafkaTrouble& trouble);
  void SayAlive();
  void HandOver();
  [[nodiscard]] bool Next(tagId& id, tagUnderWay& next) ZR_EXCLUDES(mutex);
  [[nodiscard]] bool IsFarewellDone() ZR_EXCLUDES(mutex);
  void PutBack() ZR_EXCLUDES(mutex);
  void PutBack(tagId id, tagUnderWay entry) ZR_REQUIRES(mutex);
  void NoteDropped();
  void NoteUnsent() ZR_EXCLUDES(mutex);
  void WaitBeforeNext() ZR_EXCLUDES(mutex);
  [[nodiscard]] bool IsStopping() const ZR_EXCLUDES(mutex);

  void KeepLocked(ZRKafkaMessage message) ZR_REQUIRES(mutex);
  void DropOldest() ZR_REQUIRES(mutex);
  void WakeWire() ZR_REQUIRES(mutex);

  const ZRKafkaSettings settings;
  const std::string shown;  // the cluster, in the log
  ZRThread thread;
  const std::unique_ptr<ZRKafkaWire> wire;

  mutable ZRMutex mutex;
  ZRCondition changed;  // stopping
  std::map<tagId, ZRKafkaMessage> waiting ZR_GUARDED_BY(mutex);
  std::map<tagPlace, tagKept> kept ZR_GUARDED_BY(mutex);
  std::map<tagId, tagPlace> toKeep ZR_GUARDED_BY(mutex);  // newest ones that wait
  tagId lastId ZR_GUARDED_BY(mutex) = 0;
  std::uint64_t dropped ZR_GUARDED_BY(mutex) = 0;
  bool woken ZR_GUARDED_BY(mutex) = false;  // since the thread has last looked
  bool stopping ZR_GUARDED_BY(mutex) = false;

  // The client's thread alone.
  std::map<tagId, tagUnderWay> underWay;
  bool pauses = false;  // since pausedAt
  bool saysFarewell = false;
  bool isAlive = false;            // said at aliveAt
  std::uint32_t pausedAt = 0;      // ticks
  std::uint32_t aliveAt = 0;       // ticks
  std::uint32_t farewellFrom = 0;  // ticks
  std::uint32_t troubledAt = 0;    // ticks
  std::uint32_t nextWait = kFirstWait;
  std::set<std::string> told;  // causes, since it last was settled
  bool saidConnected = false;  // and nothing else since
  ZRDropReport drops;
};
