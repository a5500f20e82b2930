// What conditions cost: this system's expressions beside muParser and beside a plain function,
// over the same live variables.
//
// A pass evaluates `count` different expressions in their order, as the workers do once a second.
// The counter `each` is the processor time of one evaluation; `bytes` is what one expression holds
// in memory, its object and its share of the heap included.
#include <benchmark/benchmark.h>
#include <malloc.h>
#include <muParser.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

#include "host/driversupport/zrevaluator.h"
#include "host/driversupport/zrlivevalue.h"

namespace {

constexpr std::size_t kSlots = 1000;
constexpr std::size_t kMostVariables = 12;
constexpr int kRepetitions = 5;

// --- live variables: three phases of voltage, power factor and current, and so on in turn ---

enum tagMeasure { kVoltage, kFactor, kCurrent };
constexpr std::size_t kMeasures = 3;

class CSlots {
 public:
  CSlots() {
    for (std::size_t i = 0; i < kSlots; ++i) {
      const ZRWString name((L"B.v" + std::to_wstring(i)).c_str());
      values.push_back(ZRLiveValues::Get().Publish(name));
      const ZRWString absent((L"U.v" + std::to_wstring(i)).c_str());
      unavailable.push_back(ZRLiveValues::Get().Publish(absent));
      numbers.push_back(NumberOf(i));
      values.back()->SetNumber(numbers.back(), 1);
    }
  }
  ~CSlots() {
    for (std::size_t i = 0; i < kSlots; ++i) {
      ZRLiveValues::Get().Withdraw(values[i]);
      ZRLiveValues::Get().Withdraw(unavailable[i]);
    }
  }
  CSlots(const CSlots&) = delete;
  CSlots& operator=(const CSlots&) = delete;

  static CSlots& Get() {
    static CSlots slots;
    return slots;
  }

  std::vector<ZRLiveValue*> values;
  std::vector<ZRLiveValue*> unavailable;
  std::vector<double> numbers;  // the same, for muParser

 private:
  // Spread around what the conditions ask for, so that their outcomes differ along a pass.
  static double NumberOf(std::size_t slot) {
    const std::size_t turn = slot / kMeasures;
    const double spread = static_cast<double>(turn * 7919 % 331) / 331.0;
    switch (slot % kMeasures) {
      case kVoltage:
        return 222.0 + 17.0 * spread;
      case kFactor:
        return 0.82 + 0.18 * spread;
      default:
        return 9.0 + 9.0 * spread;
    }
  }
};

// --- the conditions ---

// What makes one condition different from the others of its shape.
struct tagVariety {
  std::array<std::size_t, kMostVariables> slots{};
  double first = 0.0;
  double second = 0.0;
  double third = 0.0;
};

struct tagShape {
  const char* name;
  std::size_t variables;
  tagVariety (*vary)(std::size_t index);
  std::string (*text)(const tagVariety& variety,
                      const std::function<std::string(std::size_t)>& reference, bool isOurs);
};

// A slot of that measure, without a pattern in the order of the conditions.
std::size_t Slot(std::size_t index, std::size_t which, tagMeasure measure) {
  std::uint64_t mixed = index * kMostVariables + which + 1;
  mixed = (mixed ^ (mixed >> 30u)) * 0xBF58476D1CE4E5B9u;
  mixed = (mixed ^ (mixed >> 27u)) * 0x94D049BB133111EBu;
  mixed ^= mixed >> 31u;
  return mixed % (kSlots / kMeasures) * kMeasures + static_cast<std::size_t>(measure);
}

double Step(std::size_t index) {
  return static_cast<double>(index % 1000) / 1000.0;
}

tagVariety VaryTwo(std::size_t index) {
  tagVariety made;
  made.slots[0] = Slot(index, 0, kVoltage);
  made.slots[1] = Slot(index, 1, kFactor);
  made.first = 230.0 + Step(index);
  made.second = 0.9 + Step(index) / 100.0;
  return made;
}

tagVariety VaryMany(std::size_t index, std::size_t variables) {
  tagVariety made;
  for (std::size_t i = 0; i < variables; ++i)
    made.slots[i] = Slot(index, i, kCurrent);
  made.first = 16.0 + Step(index);
  made.second = 5.0 + Step(index);
  made.third = 300.0 + Step(index);
  return made;
}

std::string Number(double number) {
  char buffer[32];
  std::snprintf(buffer, sizeof(buffer), "%.17g", number);
  return buffer;
}

using tagReference = std::function<std::string(std::size_t)>;

std::string TextOfTwo(const tagVariety& v, const tagReference& r, bool isOurs) {
  return r(0) + " > " + Number(v.first) + (isOurs ? " and " : " && ") + r(1) + " < " +
         Number(v.second);
}

std::string TextOfFive(const tagVariety& v, const tagReference& r, bool isOurs) {
  return "(" + r(0) + "+" + r(1) + "+" + r(2) + ")/3 > " + Number(v.first) +
         (isOurs ? " or " : " || ") + "abs(" + r(3) + "-" + r(4) + ") > " + Number(v.second);
}

std::string TextOfTwelve(const tagVariety& v, const tagReference& r, bool isOurs) {
  const std::string either = isOurs ? " or " : " || ";
  return "(" + r(0) + "+" + r(1) + "+" + r(2) + "+" + r(3) + ")/4 > " + Number(v.first) + either +
         r(4) + "*" + r(5) + " - " + r(6) + "*" + r(7) + " > " + Number(v.third) + either + "max(" +
         r(8) + "," + r(9) + ") - min(" + r(10) + "," + r(11) + ") > " + Number(v.second);
}

const tagShape kShapes[] = {
    {"two", 2, VaryTwo, TextOfTwo},
    {"five", 5, [](std::size_t index) { return VaryMany(index, 5); }, TextOfFive},
    {"twelve", 12, [](std::size_t index) { return VaryMany(index, 12); }, TextOfTwelve},
};

// --- the contenders: each makes one condition and tells whether it holds ---

ZRWString OurText(const tagShape& shape, const tagVariety& variety, char driver) {
  const std::string text = shape.text(
      variety,
      [&](std::size_t i) {
        return std::string("[") + driver + ".v" + std::to_string(variety.slots[i]) + "]";
      },
      true);
  return ZRWString(std::wstring(text.begin(), text.end()).c_str());
}

std::unique_ptr<ZREvaluator> MakeOurs(const ZRWString& text) {
  auto made = std::make_unique<ZREvaluator>();
  made->SetFlags(2, -1);
  made->Set(text);
  (void)made->AnalizeExpression();
  return made;
}

class COurs {
 public:
  COurs(const tagShape& shape, const tagVariety& variety)
      : evaluator(MakeOurs(OurText(shape, variety, 'B'))) {}
  [[nodiscard]] bool Holds() const {
    double value = 0.0;
    int type = 0;
    const int error = evaluator->Evaluate(value, type);
    // Without a branch on the outcome, as in the other contenders.
    return ((error == 0) & (type == 1) & (value == 1.0)) != 0;
  }

 private:
  std::unique_ptr<ZREvaluator> evaluator;
};

// Every variable is unavailable: nothing holds.
class CFailing {
 public:
  CFailing(const tagShape& shape, const tagVariety& variety)
      : evaluator(MakeOurs(OurText(shape, variety, 'U'))) {}
  [[nodiscard]] bool Holds() const {
    double value = 0.0;
    int type = 0;
    return evaluator->Evaluate(value, type) != ZREvaluator::kUnavailable;
  }

 private:
  std::unique_ptr<ZREvaluator> evaluator;
};

std::string MuParserText(const tagShape& shape, const tagVariety& variety) {
  return shape.text(
      variety, [&](std::size_t i) { return "v" + std::to_string(variety.slots[i]); }, false);
}

std::unique_ptr<mu::Parser> MakeMuParser(const tagShape& shape, const tagVariety& variety,
                                         const std::string& text) {
  auto made = std::make_unique<mu::Parser>();
  for (std::size_t i = 0; i < shape.variables; ++i) {
    const std::size_t slot = variety.slots[i];
    made->DefineVar("v" + std::to_string(slot), &CSlots::Get().numbers[slot]);
  }
  made->SetExpr(text);
  (void)made->Eval();  // makes its byte code
  return made;
}

class CMuParser {
 public:
  CMuParser(const tagShape& shape, const tagVariety& variety)
      : parser(MakeMuParser(shape, variety, MuParserText(shape, variety))) {}
  [[nodiscard]] bool Holds() const { return parser->Eval() == 1.0; }

 private:
  std::unique_ptr<mu::Parser> parser;
};

// The condition in C++, with its variables and constants; false if a variable has no number.
template <std::size_t kVariables>
struct tagPlain {
  std::array<const ZRLiveValue*, kVariables> variables;
  double first;
  double second;
  double third;
};

[[gnu::noinline]] bool PlainHolds(const tagPlain<2>& plain) {
  const auto& v = plain.variables;
  double a, b;
  if (!v[0]->Number(a)) return false;
  if (!(a > plain.first)) return false;
  return v[1]->Number(b) && b < plain.second;
}

[[gnu::noinline]] bool PlainHolds(const tagPlain<5>& plain) {
  const auto& v = plain.variables;
  double a, b, c, d, e;
  if (!v[0]->Number(a) || !v[1]->Number(b) || !v[2]->Number(c)) return false;
  if ((a + b + c) / 3 > plain.first) return true;
  return v[3]->Number(d) && v[4]->Number(e) && std::fabs(d - e) > plain.second;
}

[[gnu::noinline]] bool PlainHolds(const tagPlain<12>& plain) {
  const auto& v = plain.variables;
  double x[12];
  if (!v[0]->Number(x[0]) || !v[1]->Number(x[1]) || !v[2]->Number(x[2]) || !v[3]->Number(x[3])) {
    return false;
  }
  if ((x[0] + x[1] + x[2] + x[3]) / 4 > plain.first) return true;
  if (!v[4]->Number(x[4]) || !v[5]->Number(x[5]) || !v[6]->Number(x[6]) || !v[7]->Number(x[7])) {
    return false;
  }
  if (x[4] * x[5] - x[6] * x[7] > plain.third) return true;
  if (!v[8]->Number(x[8]) || !v[9]->Number(x[9]) || !v[10]->Number(x[10]) ||
      !v[11]->Number(x[11])) {
    return false;
  }
  return std::max(x[8], x[9]) - std::min(x[10], x[11]) > plain.second;
}

template <std::size_t kVariables>
class CPlain {
 public:
  CPlain(const tagShape& /*shape*/, const tagVariety& variety)
      : plain{{}, variety.first, variety.second, variety.third} {
    for (std::size_t i = 0; i < kVariables; ++i)
      plain.variables[i] = CSlots::Get().values[variety.slots[i]];
  }
  [[nodiscard]] bool Holds() const { return PlainHolds(plain); }

 private:
  tagPlain<kVariables> plain;
};

// --- measuring ---

template <typename Condition>
struct tagConditions {
  std::vector<Condition> conditions;
  std::size_t holding = 0;   // how many of them hold
  std::uint64_t digest = 0;  // and which
  double bytes = 0.0;        // of each
};

std::size_t HeapInUse() {
  const struct mallinfo2 info = ::mallinfo2();
  return info.uordblks + info.hblkhd;
}

// Made once and kept: the repetitions measure the same objects.
template <typename Condition>
const tagConditions<Condition>& Conditions(const tagShape& shape, std::size_t count) {
  static std::map<std::pair<std::string, std::size_t>, tagConditions<Condition>> made;
  auto& entry = made[{shape.name, count}];
  if (!entry.conditions.empty()) return entry;
  (void)CSlots::Get();
  entry.conditions.reserve(count);
  const std::size_t before = HeapInUse();
  for (std::size_t i = 0; i < count; ++i)
    entry.conditions.emplace_back(shape, shape.vary(i));
  entry.bytes = static_cast<double>(HeapInUse() - before) / static_cast<double>(count) +
                static_cast<double>(sizeof(Condition));
  for (std::size_t i = 0; i < count; ++i) {
    if (!entry.conditions[i].Holds()) continue;
    ++entry.holding;
    entry.digest = (entry.digest ^ i) * 1099511628211u;
  }
  return entry;
}

template <typename Condition>
void Pass(benchmark::State& state, const tagShape& shape, std::uint64_t expected,
          std::size_t expectedHolding) {
  const auto count = static_cast<std::size_t>(state.range(0));
  const auto& set = Conditions<Condition>(shape, count);
  if (set.holding != expectedHolding || set.digest != expected) {
    state.SkipWithError("the contenders don't agree");
    return;
  }
  for (auto _ : state) {
    std::size_t holding = 0;
    for (const Condition& condition : set.conditions)
      holding += condition.Holds() ? 1u : 0u;
    benchmark::DoNotOptimize(holding);
  }
  state.counters["each"] =
      benchmark::Counter(static_cast<double>(count), benchmark::Counter::kIsIterationInvariantRate |
                                                         benchmark::Counter::kInvert);
  state.counters["bytes"] = set.bytes;
  state.counters["holding"] = static_cast<double>(set.holding);
}

// All contenders are held against the plain function.
template <typename Condition, std::size_t kVariables>
void PassLikePlain(benchmark::State& state, const tagShape& shape) {
  const auto& plain =
      Conditions<CPlain<kVariables>>(shape, static_cast<std::size_t>(state.range(0)));
  Pass<Condition>(state, shape, plain.digest, plain.holding);
}

void PassFailing(benchmark::State& state, const tagShape& shape) {
  Pass<CFailing>(state, shape, 0, 0);
}

// From the text to the object that can be evaluated, and back to nothing; different texts.
constexpr std::size_t kTexts = 10'000;

void AnalyseOurs(benchmark::State& state, const tagShape& shape) {
  (void)CSlots::Get();
  std::vector<ZRWString> texts;
  for (std::size_t i = 0; i < kTexts; ++i)
    texts.push_back(OurText(shape, shape.vary(i), 'B'));
  std::size_t at = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(MakeOurs(texts[at]));
    at = (at + 1) % kTexts;
  }
}

void AnalyseMuParser(benchmark::State& state, const tagShape& shape) {
  (void)CSlots::Get();
  std::vector<std::string> texts;
  for (std::size_t i = 0; i < kTexts; ++i)
    texts.push_back(MuParserText(shape, shape.vary(i)));
  std::size_t at = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(MakeMuParser(shape, shape.vary(at), texts[at]));
    at = (at + 1) % kTexts;
  }
}

using tagMeasurement = void (*)(benchmark::State& state, const tagShape& shape);

void RegisterPass(const std::string& contender, const tagShape& shape, tagMeasurement measure) {
  auto* const registered = benchmark::RegisterBenchmark(
      ("pass/" + std::string(shape.name) + "/" + contender).c_str(),
      [measure, &shape](benchmark::State& state) { measure(state, shape); });
  registered->Arg(1)->Arg(10'000)->Arg(100'000)->Repetitions(kRepetitions);
}

void RegisterAnalysis(const std::string& contender, const tagShape& shape, tagMeasurement measure) {
  auto* const registered = benchmark::RegisterBenchmark(
      ("analysis/" + std::string(shape.name) + "/" + contender).c_str(),
      [measure, &shape](benchmark::State& state) { measure(state, shape); });
  registered->Repetitions(kRepetitions);
}

template <std::size_t kVariables>
void RegisterShape(const tagShape& shape) {
  RegisterPass("ours", shape, PassLikePlain<COurs, kVariables>);
  RegisterPass("muparser", shape, PassLikePlain<CMuParser, kVariables>);
  RegisterPass("function", shape, PassLikePlain<CPlain<kVariables>, kVariables>);
  RegisterPass("ours_unavailable", shape, PassFailing);
  RegisterAnalysis("ours", shape, AnalyseOurs);
  RegisterAnalysis("muparser", shape, AnalyseMuParser);
}

}  // namespace

int main(int argumentCount, char** arguments) {
  RegisterShape<2>(kShapes[0]);
  RegisterShape<5>(kShapes[1]);
  RegisterShape<12>(kShapes[2]);
  // The repetitions of all contenders take turns, so that what else the machine does meets all.
  std::string interleaved = "--benchmark_enable_random_interleaving=true";
  std::string aggregates = "--benchmark_report_aggregates_only=true";
  std::vector<char*> all = {arguments[0], interleaved.data(), aggregates.data()};
  for (int i = 1; i < argumentCount; ++i)
    all.push_back(arguments[i]);
  int count = static_cast<int>(all.size());
  all.push_back(nullptr);
  benchmark::Initialize(&count, all.data());
  if (benchmark::ReportUnrecognizedArguments(count, all.data())) return 1;
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
