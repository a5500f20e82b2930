// Random expressions, evaluated by the byte code and by a plain interpreter of their trees.
#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "host/driversupport/sitevalues.h"

namespace {

// What an evaluation gives: an error, a number or a text.
struct tagOutcome {
  int error = ZREvaluator::kSuccess;
  double number = 0.0;
  std::optional<std::string> text;
};

tagOutcome Failed(int error) {
  tagOutcome outcome;
  outcome.error = error;
  return outcome;
}

tagOutcome Number(double number) {
  if (!std::isfinite(number)) return Failed(ZREvaluator::kOutOfRange);
  tagOutcome outcome;
  outcome.number = number;
  return outcome;
}

// How strongly the outermost part of a text binds, as the language page has it.
enum tagLevel { kOr = 1, kAnd, kNot, kComparison, kSum, kProduct, kMinus, kPower, kPrimary };

// A part of an expression, with its own meaning.
struct tagTree {
  virtual ~tagTree() = default;
  [[nodiscard]] virtual tagOutcome Value() const = 0;
  [[nodiscard]] virtual std::string Text() const = 0;
  [[nodiscard]] virtual tagLevel Level() const { return kPrimary; }
  [[nodiscard]] virtual bool IsLogical() const { return false; }
  [[nodiscard]] virtual bool MayBeText() const { return false; }
  [[nodiscard]] virtual bool MustBeText() const { return false; }

  // With parentheses if something that binds like that is needed.
  [[nodiscard]] std::string TextFor(int level) const {
    return Level() < level ? "(" + Text() + ")" : Text();
  }
  // As a number: a text is an error.
  [[nodiscard]] tagOutcome AsNumber() const {
    const tagOutcome value = Value();
    return value.text ? Failed(ZREvaluator::kWrongType) : value;
  }
};
using tagPart = std::unique_ptr<tagTree>;

struct tagLiteral : tagTree {
  explicit tagLiteral(double toHold, std::string toShow)
      : number(toHold), shown(std::move(toShow)) {}
  tagOutcome Value() const override { return Number(number); }
  std::string Text() const override { return shown; }
  bool IsLogical() const override { return shown == "true" || shown == "false"; }
  double number;
  std::string shown;
};

struct tagWords : tagTree {
  explicit tagWords(std::string toHold) : words(std::move(toHold)) {}
  tagOutcome Value() const override {
    tagOutcome outcome;
    outcome.text = words;
    return outcome;
  }
  std::string Text() const override { return '"' + words + '"'; }
  bool MayBeText() const override { return true; }
  bool MustBeText() const override { return true; }
  std::string words;
};

// A live variable, and what it has been set to.
struct tagVariable {
  std::string name;
  tagOutcome value;
};

struct tagReference : tagTree {
  explicit tagReference(const tagVariable& toRead) : variable(toRead) {}
  tagOutcome Value() const override { return variable.value; }
  std::string Text() const override { return "[" + variable.name + "]"; }
  bool MayBeText() const override { return true; }
  const tagVariable& variable;
};

struct tagAvailable : tagTree {
  explicit tagAvailable(const tagVariable& toRead) : variable(toRead) {}
  tagOutcome Value() const override { return Number(variable.value.error == 0 ? 1.0 : 0.0); }
  std::string Text() const override { return "available([" + variable.name + "])"; }
  bool IsLogical() const override { return true; }
  const tagVariable& variable;
};

tagOutcome Compute(char sign, double a, double b) {
  switch (sign) {
    case '+':
      return Number(a + b);
    case '-':
      return Number(a - b);
    case '*':
      return Number(a * b);
    case '/':
      return b == 0.0 ? Failed(ZREvaluator::kDivisionByZero) : Number(a / b);
    case '%':
      return b == 0.0 ? Failed(ZREvaluator::kDivisionByZero) : Number(std::fmod(a, b));
    default:
      if (a == 0.0 && b < 0.0) return Failed(ZREvaluator::kDivisionByZero);
      return Number(std::pow(a, b));
  }
}

struct tagArithmetic : tagTree {
  tagArithmetic(char toDo, tagPart a, tagPart b)
      : sign(toDo), left(std::move(a)), right(std::move(b)) {}
  tagOutcome Value() const override {
    const tagOutcome a = left->AsNumber();
    if (a.error != 0) return a;
    const tagOutcome b = right->AsNumber();
    return b.error != 0 ? b : Compute(sign, a.number, b.number);
  }
  tagLevel Level() const override {
    if (sign == '^') return kPower;
    return sign == '+' || sign == '-' ? kSum : kProduct;
  }
  std::string Text() const override {
    if (sign == '^') return left->TextFor(kPrimary) + "^" + right->TextFor(kMinus);
    return left->TextFor(Level()) + " " + sign + " " + right->TextFor(Level() + 1);
  }
  char sign;
  tagPart left;
  tagPart right;
};

struct tagMinus : tagTree {
  explicit tagMinus(tagPart a) : operand(std::move(a)) {}
  tagOutcome Value() const override {
    const tagOutcome a = operand->AsNumber();
    return a.error != 0 ? a : Number(-a.number);
  }
  tagLevel Level() const override { return kMinus; }
  std::string Text() const override { return "-" + operand->TextFor(kMinus); }
  tagPart operand;
};

bool Relates(const std::string& sign, double a, double b) {
  if (sign == "=" || sign == "==") return a == b;
  if (sign == "<>" || sign == "!=") return a != b;
  if (sign == "<") return a < b;
  if (sign == "<=") return a <= b;
  return sign == ">" ? a > b : a >= b;
}

struct tagComparison : tagTree {
  tagComparison(std::string toDo, tagPart a, tagPart b)
      : sign(std::move(toDo)), left(std::move(a)), right(std::move(b)) {}
  tagOutcome Value() const override {
    const bool isEquality = sign == "=" || sign == "==" || sign == "<>" || sign == "!=";
    const bool ofAny = isEquality && left->MayBeText() && right->MayBeText();
    const tagOutcome a = ofAny ? left->Value() : left->AsNumber();
    if (a.error != 0) return a;
    const tagOutcome b = ofAny ? right->Value() : right->AsNumber();
    if (b.error != 0) return b;
    if (a.text.has_value() != b.text.has_value()) return Failed(ZREvaluator::kWrongType);
    if (!a.text) return Number(Relates(sign, a.number, b.number) ? 1.0 : 0.0);
    return Number((*a.text == *b.text) == (sign == "=" || sign == "==") ? 1.0 : 0.0);
  }
  tagLevel Level() const override { return kComparison; }
  std::string Text() const override { return left->TextFor(kSum) + sign + right->TextFor(kSum); }
  bool IsLogical() const override { return true; }
  std::string sign;
  tagPart left;
  tagPart right;
};

struct tagChain : tagTree {
  tagChain(bool isAnd, std::string toShow, std::vector<tagPart> all)
      : decides(isAnd ? 0.0 : 1.0), shown(std::move(toShow)), operands(std::move(all)) {}
  tagOutcome Value() const override {
    for (const tagPart& operand : operands) {
      const tagOutcome value = operand->AsNumber();
      if (value.error != 0) return value;
      if ((value.number != 0.0 ? 1.0 : 0.0) == decides) return Number(decides);
    }
    return Number(1.0 - decides);
  }
  tagLevel Level() const override { return decides == 0.0 ? kAnd : kOr; }
  std::string Text() const override {
    std::string all = operands.front()->TextFor(Level());
    for (std::size_t i = 1; i < operands.size(); ++i)
      all += " " + shown + " " + operands[i]->TextFor(Level() + 1);
    return all;
  }
  bool IsLogical() const override { return true; }
  double decides;
  std::string shown;
  std::vector<tagPart> operands;
};

struct tagNot : tagTree {
  explicit tagNot(tagPart a) : operand(std::move(a)) {}
  tagOutcome Value() const override {
    const tagOutcome a = operand->AsNumber();
    return a.error != 0 ? a : Number(a.number == 0.0 ? 1.0 : 0.0);
  }
  tagLevel Level() const override { return kNot; }
  std::string Text() const override { return "not " + operand->TextFor(kNot); }
  bool IsLogical() const override { return true; }
  tagPart operand;
};

struct tagIf : tagTree {
  tagIf(tagPart c, tagPart a, tagPart b)
      : condition(std::move(c)), first(std::move(a)), second(std::move(b)) {}
  tagOutcome Value() const override {
    const tagOutcome c = condition->AsNumber();
    if (c.error != 0) return c;
    return c.number != 0.0 ? first->Value() : second->Value();
  }
  std::string Text() const override {
    return "IF(" + condition->Text() + "," + first->Text() + ", " + second->Text() + ")";
  }
  bool IsLogical() const override { return first->IsLogical() && second->IsLogical(); }
  bool MayBeText() const override { return first->MayBeText() || second->MayBeText(); }
  bool MustBeText() const override { return first->MustBeText() && second->MustBeText(); }
  tagPart condition;
  tagPart first;
  tagPart second;
};

struct tagCall : tagTree {
  tagCall(std::string toCall, std::vector<tagPart> all)
      : name(std::move(toCall)), arguments(std::move(all)) {}
  tagOutcome Value() const override {
    std::vector<double> x;
    for (const tagPart& argument : arguments) {
      const tagOutcome value = argument->AsNumber();
      if (value.error != 0) return value;
      x.push_back(value.number);
    }
    return Call(x);
  }
  tagOutcome Call(const std::vector<double>& x) const {
    if (name == "abs") return Number(std::fabs(x[0]));
    if (name == "sqrt") return Number(std::sqrt(x[0]));
    if (name == "floor") return Number(std::floor(x[0]));
    if (name == "ceil") return Number(std::ceil(x[0]));
    if (name == "trunc") return Number(std::trunc(x[0]));
    if (name == "round") return Number(std::round(x[0]));
    if (name == "exp") return Number(std::exp(x[0]));
    if (name == "ln") return Number(std::log(x[0]));
    if (name == "log10") return Number(std::log10(x[0]));
    if (name == "pow") return Compute('^', x[0], x[1]);
    if (name == "sign") return Number(x[0] > 0.0 ? 1.0 : x[0] < 0.0 ? -1.0 : 0.0);
    if (name == "between") return Number(x[0] >= x[1] && x[0] <= x[2] ? 1.0 : 0.0);
    double best = x[0];
    for (const double other : x)
      best = name == "min" ? std::fmin(best, other) : std::fmax(best, other);
    return Number(best);
  }
  std::string Text() const override {
    std::string all = name + "(";
    for (const tagPart& argument : arguments)
      all += (all.back() == '(' ? "" : ",") + argument->Text();
    return all + ")";
  }
  bool IsLogical() const override { return name == "between"; }
  std::string name;
  std::vector<tagPart> arguments;
};

// Makes expressions that are valid, and variables that are in every state.
class CGenerator {
 public:
  explicit CGenerator(unsigned seed) : random(seed) {
    for (int i = 0; i < 9; ++i)
      variables.push_back({"g.v" + std::to_string(i), {}});
  }

  void SetVariables(CSiteValues& site) {
    for (tagVariable& variable : variables) {
      ZRLiveValue& live = site[variable.name];
      switch (Below(10)) {
        case 0:
          live.SetUnavailable();
          variable.value = Failed(ZREvaluator::kUnavailable);
          break;
        case 1:
          live.SetUnknown();
          variable.value = Failed(ZREvaluator::kUnknown);
          break;
        case 2: {
          const std::string words = Words();
          live.SetText(words, 1);
          variable.value = {};
          variable.value.text = words;
          break;
        }
        default: {
          static constexpr double kNumbers[] = {0, 0, 1, 1, 2, -3, 0.5, 1e200, -1e308, 7};
          variable.value = Number(kNumbers[Below(10)]);
          live.SetNumber(variable.value.number, 1);
        }
      }
    }
  }

  // A number, or a variable or an if() that may turn out to be a text.
  tagPart Numeric(int depth) {
    switch (Below(depth <= 0 ? 3 : 12)) {
      case 0:
        return Literal();
      case 1:
      case 2:
        return std::make_unique<tagReference>(Variable());
      case 3:
        return std::make_unique<tagMinus>(Numeric(depth - 1));
      case 4:
        return Call(depth);
      case 5:
        return std::make_unique<tagIf>(Numeric(depth - 1), Numeric(depth - 1), Numeric(depth - 1));
      case 6:
      case 7:
        return Logical(depth);
      default: {
        tagPart left = Numeric(depth - 1);
        return std::make_unique<tagArithmetic>("+-*/%^"[Below(6)], std::move(left),
                                               Numeric(depth - 1));
      }
    }
  }

  tagPart Logical(int depth) {
    switch (Below(depth <= 0 ? 2 : 10)) {
      case 0:
        return std::make_unique<tagAvailable>(Variable());
      case 1:
        return std::make_unique<tagLiteral>(1.0, "true");
      case 2:
        return std::make_unique<tagNot>(Numeric(depth - 1));
      case 3:
      case 4:
        return Comparison(depth);
      case 5:
        return SimpleComparison();
      case 6:
        return std::make_unique<tagIf>(Logical(depth - 1), Logical(depth - 1), Logical(depth - 1));
      default:
        return Chain(depth);
    }
  }

  // A number or a text.
  tagPart Any(int depth) {
    switch (Below(depth <= 0 ? 2 : 4)) {
      case 0:
        return std::make_unique<tagWords>(Words());
      case 1:
        return std::make_unique<tagReference>(Variable());
      case 2:
        return std::make_unique<tagIf>(Logical(depth - 1), Any(depth - 1), Any(depth - 1));
      default:
        return Numeric(depth);
    }
  }

 private:
  int Below(int bound) { return std::uniform_int_distribution<int>(0, bound - 1)(random); }
  const tagVariable& Variable() { return variables[static_cast<std::size_t>(Below(9))]; }
  std::string Words() {
    static const char* const kWords[] = {"", "on", "off", "a longer text, of 27 bytes."};
    return kWords[Below(4)];
  }

  tagPart Literal() {
    static const std::pair<double, const char*> kLiterals[] = {
        {0.0, "0"}, {1.0, "1"},       {2.0, "2.0"},       {0.5, ".5"},
        {3.0, "3"}, {1e300, "1e300"}, {2.5e-3, "2.5E-3"}, {0.0, "FALSE"},
    };
    const auto& [number, shown] = kLiterals[Below(7)];
    return std::make_unique<tagLiteral>(number, shown);
  }

  std::string Sign() {
    static const char* const kSigns[] = {"=", "==", "<>", "!=", "<", "<=", ">", ">="};
    return kSigns[Below(8)];
  }

  tagPart SimpleComparison() {
    tagPart left = std::make_unique<tagReference>(Variable());
    tagPart right = Below(2) == 0 ? Literal() : std::make_unique<tagReference>(Variable());
    return std::make_unique<tagComparison>(Sign(), std::move(left), std::move(right));
  }

  tagPart Comparison(int depth) {
    if (Below(3) != 0) {
      tagPart left = Numeric(depth - 1);
      return std::make_unique<tagComparison>(Sign(), std::move(left), Numeric(depth - 1));
    }
    tagPart left = Any(depth - 1);
    tagPart right = Any(depth - 1);
    // A text is never compared with what is a number by its form.
    if (left->MustBeText() && !right->MayBeText()) return Logical(depth - 1);
    if (right->MustBeText() && !left->MayBeText()) return Logical(depth - 1);
    // In a comparison with a number an if() has no text.
    if (left->MayBeText() != right->MayBeText()) return Logical(depth - 1);
    return std::make_unique<tagComparison>(Below(2) == 0 ? "=" : "<>", std::move(left),
                                           std::move(right));
  }

  tagPart Chain(int depth) {
    const bool isAnd = Below(2) == 0;
    static const char* const kShown[2][4] = {{"or", "OR", "||", "|"}, {"and", "And", "&&", "&"}};
    std::vector<tagPart> operands;
    const int count = 2 + Below(3);
    for (int i = 0; i < count; ++i)
      operands.push_back(Below(3) == 0 ? SimpleComparison() : Numeric(depth - 1));
    return std::make_unique<tagChain>(isAnd, kShown[isAnd ? 1 : 0][Below(4)], std::move(operands));
  }

  tagPart Call(int depth) {
    static const std::pair<const char*, int> kFunctions[] = {
        {"abs", 1},     {"sqrt", 1}, {"floor", 1}, {"ceil", 1},  {"trunc", 1},
        {"round", 1},   {"exp", 1},  {"ln", 1},    {"log10", 1}, {"pow", 2},
        {"between", 3}, {"sign", 1}, {"min", 3},   {"max", 2},   {"min", 1},
    };
    const auto& [name, count] = kFunctions[Below(15)];
    std::vector<tagPart> arguments;
    for (int i = 0; i < count; ++i)
      arguments.push_back(Numeric(depth - 1));
    return std::make_unique<tagCall>(name, std::move(arguments));
  }

  std::mt19937 random;
  std::vector<tagVariable> variables;
};

std::string InWords(const tagOutcome& outcome, bool isLogical) {
  if (outcome.error != 0) return ErrorName(outcome.error);
  if (outcome.text) return '"' + *outcome.text + '"';
  if (isLogical) return outcome.number == 1.0 ? "true" : "false";
  char buffer[40];
  std::snprintf(buffer, sizeof(buffer), "%.15g", outcome.number);
  return buffer;
}

// How many evaluations of each kind the comparison has seen.
struct tagSeen {
  int values = 0;
  int errors = 0;
  int texts = 0;
};

void CompareOne(CGenerator& generator, CSiteValues& site, const tagTree& tree, tagSeen& seen) {
  ZREvaluator evaluator;
  Give(evaluator, tree.Text());
  ASSERT_EQ(tree.IsLogical() ? ZREvaluator::kLogical : ZREvaluator::kNumericOrText,
            evaluator.AnalizeExpression())
      << tree.Text() << "\n"
      << evaluator.ErrorPosition() << " " << evaluator.ErrorReason().Text();
  for (int states = 0; states < 6; ++states) {
    generator.SetVariables(site);
    const tagOutcome expected = tree.Value();
    ASSERT_EQ(InWords(expected, tree.IsLogical()), ResultOf(evaluator)) << tree.Text();
    ++(expected.error != 0 ? seen.errors : expected.text ? seen.texts : seen.values);
  }
}

class RandomExpression : public ::testing::TestWithParam<unsigned> {};

TEST_P(RandomExpression, GivesWhatItsTreeGives) {
  CGenerator generator(GetParam());
  CSiteValues site;
  tagSeen seen;
  for (int i = 0; i < 400 && !HasFatalFailure(); ++i) {
    const int depth = 1 + i % 4;
    const tagPart tree = i % 3 == 0   ? generator.Any(depth)
                         : i % 3 == 1 ? generator.Logical(depth)
                                      : generator.Numeric(depth);
    if (tree->Text().size() > 4096) continue;
    CompareOne(generator, site, *tree, seen);
  }
  EXPECT_GT(seen.values, 500);
  EXPECT_GT(seen.errors, 300);
  EXPECT_GT(seen.texts, 20);
}

INSTANTIATE_TEST_SUITE_P(Seeds, RandomExpression, ::testing::Range(1u, 13u));

}  // namespace
