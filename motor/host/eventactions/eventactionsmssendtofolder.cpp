#include "host/eventactions/eventactionsmssendtofolder.h"

#include <string>

#include "host/base/zrlogger.h"
#include "host/eventactions/zrprivatefile.h"
#include "host/eventactions/zrsmstext.h"
#include "host/tools/zrdatetime.h"
#include "host/tools/zrtext.h"

namespace {

constexpr const wchar_t* kNameTime = L"%04d%02d%02dT%02d%02d%02d.%03dZ-";
constexpr const wchar_t* kDate = L"%04d-%02d-%02dT%02d:%02d:%02d.%03dZ";
constexpr const wchar_t* kUnderWay = L".part";
constexpr const wchar_t* kComplete = L".txt";

ZRWString Shown(const ZRDateTime& time, const wchar_t* format) {
  return FormatWide(format, time.Year(), time.Month(), time.Day(), time.Hour(), time.Minute(),
                    time.Second(), time.Millisecond());
}

}  // namespace

bool EventActionSmsSendToFolder::sendSingleSms(const char* phone, const char* text) {
  if (!IsSmsNumber(phone)) {
    logger(kLogDelivery, L"SMS: '%s' is no telephone number", phone);
    return false;
  }
  const ZRDateTime now = ZRDateTime::UTC();
  ZRPrivateFile file(folder, Shown(now, kNameTime), kUnderWay);
  const ZRString content = ZRString("To: ") + phone +
                           "\nDate: " + Utf16ToUtf8(Shown(now, kDate).View()) + "\n\n" +
                           SmsText(text) + "\n";
  if (file.Create(content.View()) && file.Keep(kComplete)) return true;
  logger(kLogDelivery, L"SMS: no file can be made in '%ls', which has to be this user's alone",
         folder.Text());
  return false;
}
