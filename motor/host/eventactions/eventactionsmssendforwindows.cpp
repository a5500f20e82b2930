#include "host/eventactions/eventactionsmssendforwindows.h"

#include "host/base/zrlogger.h"
#include "host/eventactions/zrprivatefile.h"
#include "host/eventactions/zrsmstext.h"
#include "host/platform/zrplatform.h"
#include "host/support/zrtessalysetup.h"
#include "host/tools/zrfiles.h"
#include "host/tools/zrtext.h"

namespace {

constexpr std::uint32_t kLongestRun = 15'000;  // ms
constexpr std::uint32_t kLongestEnd = 1000;    // ms, of a process that has been ended

// How a run ends, besides the program's exit codes.
constexpr int kDone = 0;
constexpr int kWantsCode = 123;
constexpr int kTimeOut = -2;
constexpr int kNotStarted = -3;

constexpr const char* kMostCharacters = "160";
constexpr const wchar_t* kFront = L"sms-";
constexpr const wchar_t* kExtension = L".txt";

constexpr const wchar_t* kPinLine = L"entersecuritycode PIN %04u\n";  // of four digits or more

constexpr const wchar_t* kLogNumber = L"SMS: '%s' is no telephone number";
constexpr const wchar_t* kLogPort = L"SMS: the modem's port %u has no device";
constexpr const wchar_t* kLogFile =
    L"SMS: no file can be made in '%ls', which has to be this user's alone";
constexpr const wchar_t* kLogStart = L"SMS: '%s' can't be started";
constexpr const wchar_t* kLogTimeOut = L"SMS: the modem took more than %u s and was given up";
constexpr const wchar_t* kLogPin =
    L"SMS: the modem didn't take its PIN, which isn't entered again until the next start";
constexpr const wchar_t* kLogFailed = L"SMS: not sent to %s (code %d)";

ZRString SettingsText(const ZRString& device, std::uint32_t baudRate) {
  return "[gammu]\nconnection = at" + ZRString(std::to_string(baudRate).c_str()) +
         "\ndevice = " + device + "\nsynchronizetime = no\nlogformat = nothing\n";
}

std::string PathOf(const ZRPrivateFile& file) {
  return Utf16ToUtf8(file.Name().View()).Text();
}

}  // namespace

EventActionSmsSendForWindows::EventActionSmsSendForWindows(std::uint32_t atPort,
                                                           std::uint32_t atBaudRate,
                                                           std::uint32_t withPin)
    : port(atPort),
      baudRate(atBaudRate),
      pin(withPin),
      device(ZRTessalySetup::Get().SmsDevice(atPort)),
      program(ZRTessalySetup::Get().SmsProgram()) {}

bool EventActionSmsSendForWindows::sendSingleSms(const char* phone, const char* text) {
  if (!IsSmsNumber(phone)) {
    logger(kLogDelivery, kLogNumber, phone);
    return false;
  }
  if (device.IsEmpty()) {
    logger(kLogDelivery, kLogPort, port);
    return false;
  }
  // The text is the last word, behind the option that it belongs to.
  const std::vector<std::string> command = {
      "sendsms", "TEXT", phone, "-autolen", kMostCharacters, "-textutf8", SmsText(text).Text()};
  int code = Run(command);
  if (code == kWantsCode && EnterPin()) code = Run(command);
  if (code != kDone) logger(kLogDelivery, kLogFailed, phone, code);
  return code == kDone;
}

bool EventActionSmsSendForWindows::EnterPin() {
  if (pin == kNoPin) return false;
  ZRPrivateFile batch(GetSharePath(), kFront, kExtension);
  if (!batch.Create(Utf16ToUtf8(FormatWide(kPinLine, pin).View()).View())) return false;
  const int code = Run({"batch", PathOf(batch)});
  if (code == kDone || code == kNotStarted) return code == kDone;
  logger(kLogDelivery, kLogPin);
  pin = kNoPin;
  return false;
}

int EventActionSmsSendForWindows::Run(const std::vector<std::string>& command) const {
  ZRPrivateFile settings(GetSharePath(), kFront, kExtension);
  if (!settings.Create(SettingsText(device, baudRate).View())) {
    logger(kLogDelivery, kLogFile, GetSharePath().Text());
    return kNotStarted;
  }
  ZRProcessStart start{program.Text(), {"-c", PathOf(settings)}, ""};
  start.arguments.insert(start.arguments.end(), command.begin(), command.end());
  ZRPlatform& platform = ZRPlatform::Get();
  const int process = platform.StartProcess(start);
  if (process == 0) {
    logger(kLogDelivery, kLogStart, program.Text());
    return kNotStarted;
  }
  int exitCode = 0;
  if (platform.WaitProcess(process, kLongestRun, exitCode)) return exitCode;
  platform.EndProcess(process);
  (void)platform.WaitProcess(process, kLongestEnd, exitCode);
  logger(kLogDelivery, kLogTimeOut, kLongestRun / 1000);
  return kTimeOut;
}
