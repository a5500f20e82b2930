// Any text as a template of an event's texts: it is expanded, and what is no escape comes out as
// it stands.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "host/base/zrlogger.h"
#include "host/tools/zrtext.h"
#include "zrevents/zreventdriver.h"
#include "zrevents/zreventsystem.h"

namespace {

constexpr const char* kDefinition =
    "<main><events><event><id>aaaaaaaa-0000-4000-8000-000000000001</id><name>100%n</name>"
    "<description>of &lt;it&gt;</description><condition>1 = 1</condition>"
    "<conditionStop>1 = 0</conditionStop><arguments>"
    "<argument><value>1234.5 * 2</value><format>2</format>"
    "<thousandSeparator>T</thousandSeparator></argument>"
    "<argument><value>[NO.DRIVER]</value></argument>"
    "</arguments></event></events></main>";

// The longest text of an escape of two characters.
constexpr std::size_t kLongestEscape = 64;

void Require(bool promise) {
  if (!promise) std::abort();
}

// An engine's store with one event: two arguments, the second of which always fails, and one
// group.
class Site {
 public:
  Site() {
    SetLogSink([](void*, int, const ZRWString&) {}, nullptr);
    Require(document.Parse(kDefinition) && store.LoadXml(document) && store.EventsSize() == 1);
  }
  ZREventDriver& Event() { return **store.EventsBegin(); }

 private:
  XmlDocument document;
  ZREventSystem store;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static Site site;
  const ZRWString text = Utf8ToUtf16(std::string_view(reinterpret_cast<const char*>(data), size));
  ZRWString first;
  Require(site.Event().ParseAnnotation(first, text));
  ZRWString again(L"left from before");
  Require(site.Event().ParseAnnotation(again, text));
  Require(first == again);
  Require(first.Length() <= text.Length() * kLongestEscape);
  if (text.View().find(L'%') == ZRWString::tagView::npos) Require(first == text);
  return 0;
}
