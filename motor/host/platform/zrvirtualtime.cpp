#include "host/platform/zrvirtualtime.h"

#include <cxxabi.h>
#include <sys/mman.h>
#include <ucontext.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>

#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define ZR_WITH_ASAN 1
#endif
#if __has_feature(thread_sanitizer)
#define ZR_WITH_TSAN 1
#endif
#endif
#if defined(__SANITIZE_ADDRESS__)
#define ZR_WITH_ASAN 1
#endif
#if defined(__SANITIZE_THREAD__)
#define ZR_WITH_TSAN 1
#endif

#if defined(ZR_WITH_ASAN)
#include <sanitizer/common_interface_defs.h>
#endif
#if defined(ZR_WITH_TSAN)
#include <sanitizer/tsan_interface.h>
#endif

namespace {

[[noreturn]] void Abort(const char* reason) {
  std::fprintf(stderr, "virtual time: %s\n", reason);
  std::abort();
}

// What the C++ runtime keeps for each thread of exceptions in flight: fibers need their own.
struct tagExceptionState {
  void* caught = nullptr;
  unsigned int uncaught = 0;
};

void ExchangeExceptionState(tagExceptionState& leave, const tagExceptionState& enter) {
  auto* const globals = reinterpret_cast<char*>(abi::__cxa_get_globals());
  std::memcpy(&leave.caught, globals, sizeof leave.caught);
  std::memcpy(&leave.uncaught, globals + sizeof leave.caught, sizeof leave.uncaught);
  std::memcpy(globals, &enter.caught, sizeof enter.caught);
  std::memcpy(globals + sizeof enter.caught, &enter.uncaught, sizeof enter.uncaught);
}

constexpr std::size_t kStackSize = std::size_t{1024} * 1024;  // reserved; used as far as touched

// A stack with an inaccessible page below it.
class CStack {
 public:
  CStack() : guard(static_cast<std::size_t>(::sysconf(_SC_PAGESIZE))) {
    base = ::mmap(nullptr, guard + kStackSize, PROT_READ | PROT_WRITE,
                  MAP_PRIVATE | MAP_ANONYMOUS | MAP_STACK | MAP_NORESERVE, -1, 0);
    if (base == MAP_FAILED) Abort("no memory for a stack");
    (void)::mprotect(base, guard, PROT_NONE);
  }
  ~CStack() { (void)::munmap(base, guard + kStackSize); }
  CStack(const CStack&) = delete;
  CStack& operator=(const CStack&) = delete;

  [[nodiscard]] void* Bottom() const { return static_cast<char*>(base) + guard; }

 private:
  const std::size_t guard;
  void* base;
};

ZRVirtualTime* starting = nullptr;  // hands the object to a fiber's first instruction

}  // namespace

class ZRVirtualTime::CFiber {
 public:
  CFiber() {
#if defined(ZR_WITH_TSAN)
    sanitizerFiber = __tsan_get_current_fiber();
#endif
  }
  explicit CFiber(std::function<void()> toRun)
      : body(std::move(toRun)), stack(std::make_unique<CStack>()) {
#if defined(ZR_WITH_TSAN)
    sanitizerFiber = __tsan_create_fiber(0);
#endif
    (void)::getcontext(&context);
    context.uc_stack.ss_sp = stack->Bottom();
    context.uc_stack.ss_size = kStackSize;
    context.uc_link = nullptr;
    ::makecontext(&context, &ZRVirtualTime::Entry, 0);
  }
  ~CFiber() {
#if defined(ZR_WITH_TSAN)
    if (stack != nullptr) __tsan_destroy_fiber(sanitizerFiber);
#endif
  }
  CFiber(const CFiber&) = delete;
  CFiber& operator=(const CFiber&) = delete;

  // Called on the fiber that leaves, which comes back from here when it is switched to again.
  void LeaveFor(CFiber& next, bool forEver) {
    ExchangeExceptionState(exceptions, next.exceptions);
#if defined(ZR_WITH_TSAN)
    __tsan_switch_to_fiber(next.sanitizerFiber, 0);
#endif
#if defined(ZR_WITH_ASAN)
    __sanitizer_start_switch_fiber(forEver ? nullptr : &fakeStack, next.StackBottom(),
                                   next.StackSize());
#else
    (void)forEver;
#endif
    (void)::swapcontext(&context, &next.context);
    Arrive();
  }

  // The first thing on the new stack.
  void Arrive() {
#if defined(ZR_WITH_ASAN)
    const void* bottom = nullptr;
    std::size_t size = 0;
    __sanitizer_finish_switch_fiber(fakeStack, &bottom, &size);
    if (main != nullptr && main->stack == nullptr && main->knownBottom == nullptr) {
      main->knownBottom = bottom;
      main->knownSize = size;
    }
#endif
  }

  std::function<void()> body;
  bool ended = false;
  bool woken = false;
  const ZRWaitWord* word = nullptr;
  ZRWaitWord endWord{0};  // 1 when the body has returned
  std::map<tagDue, CFiber*>::iterator due{};
  bool isTimed = false;
  std::list<CFiber*>::iterator place{};
  CFiber* main = nullptr;  // the fiber of the thread itself

 private:
#if defined(ZR_WITH_ASAN)
  [[nodiscard]] const void* StackBottom() const {
    return stack != nullptr ? stack->Bottom() : knownBottom;
  }
  [[nodiscard]] std::size_t StackSize() const {
    return stack != nullptr ? kStackSize : knownSize;
  }
  const void* knownBottom = nullptr;
  std::size_t knownSize = 0;
  void* fakeStack = nullptr;
#endif
#if defined(ZR_WITH_TSAN)
  void* sanitizerFiber = nullptr;
#endif
  std::unique_ptr<CStack> stack;  // none for the thread's own
  ucontext_t context{};
  tagExceptionState exceptions;
};

ZRVirtualTime::ZRVirtualTime(std::int64_t utcMilliseconds)
    : owner(std::this_thread::get_id()),
      main(std::make_unique<CFiber>()),
      running(main.get()),
      utcStart(utcMilliseconds) {
  Replace(this);
}

ZRVirtualTime::~ZRVirtualTime() {
  if (!fibers.empty()) Abort("destroyed before all of its threads were joined");
  Replace(nullptr);
}

void ZRVirtualTime::Advance(std::uint64_t milliseconds) {
  (void)Block(nullptr, now + milliseconds, true);
}

void ZRVirtualTime::SetUtc(std::int64_t utcMilliseconds) {
  utcStart = utcMilliseconds - static_cast<std::int64_t>(now);
}

void ZRVirtualTime::SetTickCount(std::uint32_t ticks) {
  tickStart = ticks - static_cast<std::uint32_t>(now);
}

std::uint32_t ZRVirtualTime::TickCount() {
  return tickStart + static_cast<std::uint32_t>(now);
}

std::int64_t ZRVirtualTime::UtcMilliseconds() {
  return utcStart + static_cast<std::int64_t>(now);
}

void ZRVirtualTime::Sleep(std::uint32_t milliseconds) {
  CheckThread();
  if (milliseconds != 0) {
    (void)Block(nullptr, now + milliseconds, false);
    return;
  }
  // The thread's own fiber that spins would otherwise wait for a time that never comes.
  if (ready.empty() && (running != main.get() || !ServeNextDue())) return;
  ready.push_back(running);
  RunNext();
}

ZRPlatform::tagThread ZRVirtualTime::StartThread(std::function<void()> body) {
  CheckThread();
  if (threadsLeft == 0) return 0;
  if (threadsLeft > 0) --threadsLeft;
  auto fiber = std::make_unique<CFiber>(std::move(body));
  fiber->main = main.get();
  ready.push_back(fiber.get());
  fibers.emplace(nextThread, std::move(fiber));
  return nextThread++;
}

void ZRVirtualTime::JoinThread(tagThread thread) {
  CheckThread();
  const auto found = fibers.find(thread);
  if (found == fibers.end()) return;
  CFiber& fiber = *found->second;
  while (!fiber.ended)
    (void)Wait(fiber.endWord, 0, kInfinite);
  fibers.erase(found);
}

bool ZRVirtualTime::Wait(ZRWaitWord& word, std::uint32_t expected, std::uint32_t milliseconds) {
  CheckThread();
  if (word.load(std::memory_order_acquire) != expected) return true;
  if (milliseconds == 0) return false;
  return Block(&word, milliseconds == kInfinite ? kNever : now + milliseconds, false);
}

void ZRVirtualTime::WakeOne(ZRWaitWord& word) {
  Wake(word, false);
}

void ZRVirtualTime::WakeAll(ZRWaitWord& word) {
  Wake(word, true);
}

void ZRVirtualTime::Wake(const ZRWaitWord& word, bool all) {
  CheckThread();
  for (auto at = blocked.begin(); at != blocked.end();) {
    CFiber& fiber = **at++;
    if (fiber.word != &word) continue;
    MakeReady(fiber, true);
    if (!all) return;
  }
}

void ZRVirtualTime::CheckThread() const {
  if (std::this_thread::get_id() != owner) Abort("a thread that isn't its own waits or wakes");
}

bool ZRVirtualTime::Block(const ZRWaitWord* word, std::uint64_t due, bool advance) {
  CheckThread();
  CFiber& self = *running;
  self.woken = false;
  self.word = word;
  if (word != nullptr) self.place = blocked.insert(blocked.end(), &self);
  self.isTimed = due != kNever;
  if (self.isTimed) self.due = timed.emplace(tagDue{due, advance, arrivals++}, &self).first;
  RunNext();
  return self.woken;
}

void ZRVirtualTime::MakeReady(CFiber& fiber, bool woken) {
  if (fiber.isTimed) timed.erase(fiber.due);
  if (fiber.word != nullptr) blocked.erase(fiber.place);
  fiber.isTimed = false;
  fiber.word = nullptr;
  fiber.woken = woken;
  ready.push_back(&fiber);
}

bool ZRVirtualTime::ServeNextDue() {
  if (timed.empty()) return false;
  const auto [due, fiber] = *timed.begin();
  now = due.when;
  MakeReady(*fiber, false);
  return true;
}

void ZRVirtualTime::RunNext() {
  if (ready.empty() && !ServeNextDue()) Abort("every thread waits, and none for a time");
  CFiber& next = *ready.front();
  ready.pop_front();
  SwitchTo(next);
}

void ZRVirtualTime::SwitchTo(CFiber& next) {
  if (&next == running) return;
  ++switches;
  CFiber& self = *running;
  running = &next;
  starting = this;
  self.LeaveFor(next, self.ended);
}

void ZRVirtualTime::Entry() {
  ZRVirtualTime& time = *starting;
  CFiber& self = *time.running;
  self.Arrive();
  self.body();
  self.body = nullptr;
  self.ended = true;
  self.endWord.store(1, std::memory_order_release);
  time.Wake(self.endWord, true);
  time.RunNext();
  Abort("an ended thread ran again");
}
