#include "zrevents/actions/zrmsmtp.h"

#include <algorithm>
#include <string>

#include "host/base/zrlogger.h"
#include "host/eventactions/zrprivatefile.h"
#include "host/platform/zrplatform.h"
#include "host/tools/zrfiles.h"
#include "host/tools/zrtext.h"

namespace {

constexpr std::uint32_t kLongestRun = 12'000;  // ms
constexpr std::uint32_t kLongestEnd = 1000;    // ms, of a process that has been ended
constexpr std::size_t kCommandRoom = 1024;     // characters, the terminator included

constexpr const char* kShell = "/bin/sh";
constexpr const wchar_t* kCommand = L"\"%lsmsmtp\" -d -a tz -C \"%ls\" %ls < \"%ls\"";

constexpr const char* kAccountFileText = "Unable to create configuration file account";
constexpr const char* kMailFileText = "Unable to create mail file";
constexpr const char* kScriptText = "Unable to create bat file";
constexpr const char* kProcessText = "Unable to start process";
constexpr const char* kTimeOutText = "Unable to send mail -1-";
constexpr const char* kExitCodeText = "Unable to access process";
constexpr const char* kNotSentText = "Unable to send mail -2-";

constexpr const wchar_t* kLogCommand = L"Calling command line order '%ls'...";
constexpr const wchar_t* kLogTimeOut = L"TIMEOUT received when sending eMail \"%ls\" to %ls";
constexpr const wchar_t* kLogNotSent = L"Unable to send eMail \"%ls\" to %ls (errorCode: %d)";

constexpr std::string_view kLineEnds("\r\n\0", 3);

// A header's content: it stays on its line.
ZRString OnOneLine(const char* text) {
  std::string line(text);
  std::replace_if(
      line.begin(), line.end(), [](char byte) { return kLineEnds.find(byte) != kLineEnds.npos; },
      ' ');
  return ZRString(std::string_view(line));
}

// One unit for each byte.
ZRWString Widened(const ZRString& text) {
  std::wstring wide;
  for (const char byte : text.View())
    wide += static_cast<wchar_t>(static_cast<unsigned char>(byte));
  return ZRWString(std::wstring_view(wide));
}

// One word of the shell that stands for the text as it is.
std::string Quoted(std::string_view text) {
  std::string word = "'";
  for (const char byte : text)
    word += byte == '\'' ? std::string("'\\''") : std::string(1, byte);
  return word + "'";
}
std::string Quoted(const ZRWString& path) {
  return Quoted(Utf16ToUtf8(path.View()).View());
}

// The recipients as words of the shell, each with a blank in front.
std::string QuotedWords(std::string_view to) {
  constexpr std::string_view kBlanks = " \t";
  std::string words;
  for (std::size_t at = to.find_first_not_of(kBlanks); at != to.npos;) {
    const std::size_t end = std::min(to.find_first_of(kBlanks, at), to.size());
    words += " " + Quoted(to.substr(at, end - at));
    at = to.find_first_not_of(kBlanks, end);
  }
  return words;
}

// The command in the language of the shell: it becomes the tool itself, which gets each recipient
// behind "--", so that none is an option.
std::string ScriptText(const ZRWString& account, const ZRString& to, const ZRWString& mail) {
  return "exec " + Quoted(GetSharePath() + L"msmtp") + " -d -a tz -C " + Quoted(account) + " --" +
         QuotedWords(to.View()) + " < " + Quoted(mail) + "\n";
}

}  // namespace

bool ZRMSmtp::Send(const char* to, const char* subject, const char* body) {
  errorCode = kDone;
  errorMsg.Clear();
  // They go in the opposite order.
  ZRPrivateFile script(GetSharePath(), L"", L".bat");
  ZRPrivateFile mail(GetSharePath(), L"", L".txt");
  ZRPrivateFile account(GetSharePath(), L"", L".txt");
  if (HasLineEnd() || !account.Create(AccountText().View()))
    return Fail(kNoAccountFile, kAccountFileText);
  const ZRString recipients = OnOneLine(to);
  const ZRString title = OnOneLine(subject);
  if (!mail.Create(MailText(recipients, title, body).View()))
    return Fail(kNoMailFile, kMailFileText);
  const ZRWString command = FormatWide(kCommand, GetSharePath().Text(), account.Name().Text(),
                                       Widened(recipients).Text(), mail.Name().Text());
  if (command.Length() >= kCommandRoom) return Fail(kNoProcess, kProcessText);
  if (!script.Create(ScriptText(account.Name(), recipients, mail.Name())))
    return Fail(kNoScript, kScriptText);
  logger(kLogTrace, kLogCommand, command.Text());
  return Run(script.Name(), recipients, title);
}

bool ZRMSmtp::Run(const ZRWString& script, const ZRString& to, const ZRString& subject) {
  ZRPlatform& platform = ZRPlatform::Get();
  const int process =
      platform.StartProcess({kShell, {std::string(Utf16ToUtf8(script.View()).View())}, ""});
  if (process == 0) return Fail(kNoProcess, kProcessText);
  int exitCode = 0;
  if (platform.WaitProcess(process, kLongestRun, exitCode))
    return TakeResult(exitCode, to, subject);
  platform.EndProcess(process);
  (void)platform.WaitProcess(process, kLongestEnd, exitCode);
  logger(kLogDelivery, kLogTimeOut, Utf8ToUtf16(subject.View()).Text(), Widened(to).Text());
  return Fail(kNoExitCode, kTimeOutText);
}

bool ZRMSmtp::TakeResult(int exitCode, const ZRString& to, const ZRString& subject) {
  if (exitCode == 0) return true;
  if (exitCode == ZRPlatform::kNoExitCode) return Fail(kNoExitCode, kExitCodeText);
  logger(kLogDelivery, kLogNotSent, Utf8ToUtf16(subject.View()).Text(), Widened(to).Text(),
         exitCode);
  return Fail(static_cast<std::uint32_t>(exitCode), kNotSentText);
}

bool ZRMSmtp::Fail(std::uint32_t code, const char* text) {
  errorCode = code;
  errorMsg = text;
  return false;
}

// True if a setting would run over its line of the configuration file.
bool ZRMSmtp::HasLineEnd() const {
  const auto breaks = [](const ZRString& text) {
    return text.View().find_first_of(kLineEnds) != std::string_view::npos;
  };
  return breaks(server) || breaks(from) || (auth && (breaks(user) || breaks(password)));
}

ZRString ZRMSmtp::AccountText() const {
  ZRString text("account tz\r\n");
  const auto add = [&text](const char* key, std::string_view value) {
    text += key;
    text.Append(value);
    text += "\r\n";
  };
  add("host ", server.View());
  add("port ", std::to_string(port));
  add("protocol smtp", "");
  const std::size_t at = from.View().find('@');
  if (at != std::string_view::npos) add("domain ", from.View().substr(at + 1));
  add("from ", from.View());
  if (auth) {
    add("auth on", "");
    add("user ", user.View());
    add("password ", password.View());
  }
  if (ssl) text += "tls on\r\ntls_starttls on\r\ntls_certcheck off\r\n";
  text += "timeout 10\r\n\r\naccount default: tz\r\n";
  return text;
}

ZRString ZRMSmtp::MailText(const ZRString& to, const ZRString& subject, const char* body) const {
  return "To: " + to + "\r\nSubject: " + subject + "\r\nFrom: " + from +
         "\r\nUser-Agent: Tessaly\r\nContent-type: text/plain; charset=UTF-8\r\n\r\n" + body +
         "\r\n";
}
