// Not with a sanitizer, which has an allocator of its own.
#if !defined(ZR_SANITIZED)
#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <new>

#include "host/driversupport/sitevalues.h"

namespace {

std::atomic<long> allocations{0};

void* Allocate(std::size_t size) {
  ++allocations;
  void* const memory = std::malloc(size == 0 ? 1 : size);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}

}  // namespace

// Of this whole test program, to be counted. Not inlined: the compiler would miss their partners.
[[gnu::noinline]] void* operator new(std::size_t size) {
  return Allocate(size);
}
[[gnu::noinline]] void* operator new[](std::size_t size) {
  return Allocate(size);
}
[[gnu::noinline]] void operator delete(void* memory) noexcept {
  std::free(memory);
}
[[gnu::noinline]] void operator delete[](void* memory) noexcept {
  std::free(memory);
}
[[gnu::noinline]] void operator delete(void* memory, std::size_t /*size*/) noexcept {
  std::free(memory);
}
[[gnu::noinline]] void operator delete[](void* memory, std::size_t /*size*/) noexcept {
  std::free(memory);
}

namespace {

TEST(EvaluatorAllocation, NoEvaluationAllocates) {
  CSiteValues site;
  site["n.a"].SetNumber(2.0, 1);
  site["n.b"].SetText("a text that is longer than a short string", 1);
  site["n.c"].SetUnavailable();
  for (const char* expression :
       {"0", "[n.a] > 1 and [n.a] < 3", "[n.b] = \"a text\" or [n.c] = 4", "[n.b]",
        "round(pow([n.a], 2.5), 2) + sqrt([n.a]) % 3 + age([n.a]) + bit([n.a], 1)", "[n.c] + 1",
        "if(available([n.c]), [n.c], \"a text that is longer than a short string\")"}) {
    ZREvaluator evaluator;
    Give(evaluator, expression);
    EXPECT_NE(ZREvaluator::kInvalid, evaluator.AnalizeExpression()) << expression;
    double value = 0.0;
    int type = 0;
    const long before = allocations;
    for (int i = 0; i < 3; ++i)
      (void)evaluator.Evaluate(value, type);
    EXPECT_EQ(before, allocations) << expression;
  }
}

}  // namespace
#endif
