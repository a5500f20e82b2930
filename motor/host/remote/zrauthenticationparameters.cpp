#include "host/remote/zrauthenticationparameters.h"

#include <algorithm>

namespace {

constexpr std::size_t kMostParameters = 32;
constexpr char kDelete = 0x7F;

bool IsBlank(char letter) {
  return letter == ' ' || letter == '\t';
}

bool IsControl(char letter) {
  return static_cast<unsigned char>(letter) < 0x20 || letter == kDelete;
}

bool IsLetterOrDigit(char letter) {
  return (letter >= 'a' && letter <= 'z') || (letter >= 'A' && letter <= 'Z') ||
         (letter >= '0' && letter <= '9');
}

// A character of a token of RFC 9110.
bool IsOfToken(char letter) {
  constexpr std::string_view kOthers = "!#$%&'*+-.^_`|~";
  return IsLetterOrDigit(letter) || kOthers.find(letter) != std::string_view::npos;
}

std::string LowerCase(std::string_view text) {
  std::string lower(text);
  for (char& letter : lower)
    if (letter >= 'A' && letter <= 'Z') letter = static_cast<char>(letter - 'A' + 'a');
  return lower;
}

// Reads the parameters of a scheme, one after the other.
class CParameterReader {
 public:
  explicit CParameterReader(std::string_view toRead) : text(toRead) {}

  // False if the text isn't a list of parameters, or has one of them twice.
  [[nodiscard]] bool ReadAll(ZRAuthenticationParameters& parameters) {
    while (SkipToParameter()) {
      ZRAuthenticationParameter next;
      if (parameters.size() == kMostParameters || !ReadOne(next)) return false;
      const auto isSame = [&next](const ZRAuthenticationParameter& other) {
        return other.name == next.name;
      };
      if (std::any_of(parameters.begin(), parameters.end(), isSame)) return false;
      parameters.push_back(std::move(next));
    }
    return true;
  }

 private:
  void SkipBlanks() {
    while (at < text.size() && IsBlank(text[at]))
      ++at;
  }
  // A list may have empty places. False at the end.
  bool SkipToParameter() {
    while (at < text.size() && (IsBlank(text[at]) || text[at] == ','))
      ++at;
    return at < text.size();
  }
  bool Take(char letter) {
    if (at == text.size() || text[at] != letter) return false;
    ++at;
    return true;
  }
  std::string_view ReadToken() {
    const std::size_t start = at;
    while (at < text.size() && IsOfToken(text[at]))
      ++at;
    return text.substr(start, at - start);
  }

  bool ReadOne(ZRAuthenticationParameter& parameter) {
    parameter.name = LowerCase(ReadToken());
    SkipBlanks();
    if (parameter.name.empty() || !Take('=')) return false;
    SkipBlanks();
    parameter.isQuoted = Take('"');
    if (parameter.isQuoted) {
      if (!ReadQuoted(parameter.value)) return false;
    } else {
      parameter.value = ReadToken();
      if (parameter.value.empty()) return false;
    }
    SkipBlanks();
    return at == text.size() || text[at] == ',';
  }
  // What stands up to the closing quote, with its escapes undone.
  bool ReadQuoted(std::string& value) {
    while (at < text.size()) {
      char letter = text[at++];
      if (letter == '"') return true;
      if (letter == '\\') {
        if (at == text.size()) return false;
        letter = text[at++];
      }
      if (IsControl(letter) && letter != '\t') return false;
      value += letter;
    }
    return false;
  }

  const std::string_view text;
  std::size_t at = 0;
};

}  // namespace

bool ReadParameters(std::string_view text, ZRAuthenticationParameters& parameters) {
  return CParameterReader(text).ReadAll(parameters);
}

const ZRAuthenticationParameter* FindParameter(const ZRAuthenticationParameters& parameters,
                                               std::string_view name) {
  const auto isIt = [name](const auto& parameter) { return parameter.name == name; };
  const auto found = std::find_if(parameters.begin(), parameters.end(), isIt);
  return found != parameters.end() ? &*found : nullptr;
}
