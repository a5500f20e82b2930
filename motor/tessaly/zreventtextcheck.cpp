#include "tessaly/zreventtextcheck.h"

#include <charconv>
#include <string>

#include "host/tools/zrtext.h"

namespace {

using Kind = ZRFinding::tagKind;
using Node = XmlDocument::XmlNode;

// How many numbers behind %a and %g select something.
struct tagChoice {
  const Node* arguments = nullptr;
  int groups = 0;

  [[nodiscard]] bool Has(char letter, int number) const {
    if (letter == 'g') return number >= 1 && number <= groups;
    if (arguments == nullptr) return false;
    int count = 0;
    for (auto child = arguments->ChildsBegin(); child != arguments->ChildsEnd(); ++child)
      if (++count == number) return !(*child)->ValueUtf8("value").empty();
    return false;
  }
};

// Says what is wrong with the escape at the front of `rest`, behind its "%".
void CheckEscape(const ZRElementCheck& check, const Node& text, std::string_view rest,
                 const tagChoice& choice) {
  const char letter = rest.front();
  if (letter != 'a' && letter != 'g') return;
  int number = 0;
  const char* const digits = rest.data() + 1;
  const auto [end, error] = std::from_chars(digits, rest.data() + rest.size(), number);
  if (end == digits || choice.Has(letter, number)) return;
  check.Say(Kind::kHint, text,
            Quoted(text.TagUtf8()) + " asks for " + (letter == 'a' ? "argument " : "group ") +
                std::string(digits, end) + ", which isn't there: the text keeps it as it stands");
}

void CheckText(const ZRElementCheck& check, const Node& text, const tagChoice& choice) {
  std::string_view rest = text.TextUtf8();
  for (std::size_t at = rest.find('%'); at != std::string_view::npos; at = rest.find('%')) {
    rest.remove_prefix(at + 1);
    if (rest.empty()) {
      check.Say(Kind::kChanged, text,
                Quoted(text.TagUtf8()) + " ends in a single %, which is lost: %% shows one");
      return;
    }
    CheckEscape(check, text, rest, choice);
    rest.remove_prefix(1);
  }
}

}  // namespace

void CheckEventTexts(const ZRElementCheck& check, const ZREventDriver& event) {
  for (const std::string_view key : {"annotation", "deaAnnotation", "ackAnnotation"})
    if (const Node* const text = check.Element().Child(key)) CheckTemplate(check, *text, event);
}

void CheckTemplate(const ZRElementCheck& check, const Node& text, const ZREventDriver& event) {
  CheckText(check, text, {check.Element().Child("arguments"), event.GroupsVectorSize()});
}

bool IsNumberFormat(std::string_view format) {
  int digits = 0;
  int decimals = -1;
  bool sign = false;
  bool scientific = false;
  ParseFormat(Utf8ToUtf16(format), digits, decimals, sign, scientific);
  return decimals >= 0 || format == "+";
}
