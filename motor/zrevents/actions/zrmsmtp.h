#pragma once

#include <cstdint>
#include <string_view>

#include "host/tools/zrbasicstring.h"
#include "zrevents/zreventsexport.h"

// Submits a mail to one recipient, by the program `msmtp` in the share folder: it gets its
// settings and the mail as files, is started by a small shell script, and its exit code tells how
// it went.
//
// Threads   one at a time.
// Promise   a call takes 13 s at most; afterwards neither its files nor its processes exist. The
//           password stands in a file that only this user can read, and in no line of the log.
class ZREVENTS_API ZRMSmtp {
 public:
  // Results of a Send. Any other one, with kNotSent as its text, is the tool's exit code, or 128
  // and the number of the signal that ended it; such a code may also be one of these numbers.
  static constexpr std::uint32_t kDone = 0;
  static constexpr std::uint32_t kNoAccountFile = 1;
  static constexpr std::uint32_t kNoMailFile = 2;
  static constexpr std::uint32_t kNoScript = 3;
  static constexpr std::uint32_t kNoProcess = 4;
  static constexpr std::uint32_t kNoExitCode = 6;  // it took too long, or somebody else waited

  ZRMSmtp(const char* toServer, int atPort) : server(toServer), port(atPort) {}
  virtual ~ZRMSmtp() = default;
  ZRMSmtp(const ZRMSmtp&) = default;
  ZRMSmtp& operator=(const ZRMSmtp&) = default;

  void SetFrom(const char* sender) { from = sender; }  // before the first Send
  // Both switch the authentication on.
  void SetUserPassword(const char* name, const char* secret) {
    user = name;
    SetPassword(secret);
  }
  void SetPassword(const char* secret) {
    password = secret;
    auth = true;
  }
  void SetAuth(bool on) { auth = on; }
  void SetSSL(bool on) { ssl = on; }

  // True when the server has taken the mail. All three are UTF-8. Blanks in `to` divide it into
  // several recipients; nothing in it is read as a command or as an option. Line ends in `to` and
  // `subject` become blanks; in a setting they are kNoAccountFile. A command above 1023 characters
  // is kNoProcess.
  [[nodiscard]] bool Send(const char* to, const char* subject, const char* body);

  // Of the last Send.
  [[nodiscard]] unsigned long ErrorCode() const { return errorCode; }
  [[nodiscard]] const ZRBasicString<char>& ErrorMsg() const { return errorMsg; }

 private:
  [[nodiscard]] bool HasLineEnd() const;
  [[nodiscard]] ZRString AccountText() const;
  [[nodiscard]] ZRString MailText(const ZRString& to, const ZRString& subject,
                                  const char* body) const;
  [[nodiscard]] bool Run(const ZRWString& script, const ZRString& to, const ZRString& subject);
  [[nodiscard]] bool TakeResult(int exitCode, const ZRString& to, const ZRString& subject);
  bool Fail(std::uint32_t code, const char* text);

  ZRString user;
  ZRString password;
  ZRString from;
  ZRString server;
  int port;
  bool ssl = false;
  std::uint32_t errorCode = kDone;
  ZRString errorMsg;
  bool auth = false;
};
