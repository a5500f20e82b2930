// Transitions into the data files of an event.

#include <string_view>

#include "host/driversupport/eventfile/zreventfile.h"
#include "host/support/zrtessalysetup.h"
#include "zrevents/history/zrhistorypath.h"
#include "zrevents/zreventdriver.h"

namespace {

constexpr std::uint32_t kFileWait = 10;  // ms
constexpr int kOtherFile = 1;
constexpr std::wstring_view kExtension = L"suc";
constexpr std::wstring_view kOtherExtension = L"dat";

// Puts text into a buffer of fixed size, piece by piece, and the terminator behind it.
class CBuffer {
 public:
  CBuffer(wchar_t* toFill, std::size_t units) : at(toFill), left(units) {}

  void Text(std::wstring_view text) {
    fits = fits && text.size() < left;
    if (!fits) return;
    at += text.copy(at, text.size());
    left -= text.size();
    *at = L'\0';
  }
  void Unit(wchar_t unit) {
    fits = fits && left > 1;
    if (!fits) return;
    *at++ = unit;
    --left;
    *at = L'\0';
  }
  void Digits(int value, std::size_t count) {
    std::array<wchar_t, 4> digits{};
    for (std::size_t i = count; i-- > 0; value /= 10)
      digits[i] = static_cast<wchar_t>(L'0' + value % 10);
    for (std::size_t i = 0; i < count; ++i)
      Unit(digits[i]);
  }
  [[nodiscard]] bool Fits() const { return fits; }

 private:
  wchar_t* at;
  std::size_t left;
  bool fits = true;
};

bool OpenOrCreate(ZREventFile& file, const wchar_t* path) {
  if (file.Open(path, false)) return true;
  const ZREventFile::CNewFileTemplate newFile(ZREventFile::kType, ZREventFile::kCapacity);
  return ZREventFile::Create(path, newFile) && file.Open(path, false);
}

// Gives back on every way out what was taken by hand.
class ZR_SCOPED_CAPABILITY CTakenLock {
 public:
  explicit CTakenLock(ZRMutex& taken) ZR_REQUIRES(taken) : mutex(taken) {}
  ~CTakenLock() ZR_RELEASE() { mutex.Unlock(); }
  CTakenLock(const CTakenLock&) = delete;
  CTakenLock& operator=(const CTakenLock&) = delete;

 private:
  ZRMutex& mutex;
};

}  // namespace

void ZREventDriver::EventFileName(wchar_t* buffer, int size, const ZRDateTime& when, int type) {
  if (size <= 0) return;
  const int year = when.Year();
  const int month = when.Month();
  CBuffer path(buffer, static_cast<std::size_t>(size));
  path.Text(ZRTessalySetup::Get().DataPath().View());
  path.Digits(year, 4);
  path.Unit(L'/');
  path.Digits(month, 2);
  path.Unit(L'/');
  path.Text(name.View());
  path.Unit(L' ');
  path.Digits(month, 2);
  path.Unit(L'-');
  path.Digits(year, 4);
  path.Unit(L'.');
  path.Text(type == kOtherFile ? kOtherExtension : kExtension);
  if (!path.Fits() || !IsPartOfPath(name.View())) *buffer = L'\0';
}

void ZREventDriver::SaveEvent(tagSEventRT* transition) {
  ZREventPath path{};
  EventFileName(path.data(), kEventPathSize, transition->actived, kEventHistory);
  transition->fileName = path.data();
  if (fileQueue == nullptr) fileQueue = std::make_unique<std::list<tagSEventRT>>();
  fileQueue->push_back(*transition);
  waitingRecords.fetch_add(1, std::memory_order_relaxed);
  if (!fileMutex.TryLockFor(kFileWait)) return;
  const CTakenLock lock(fileMutex);
  while (!fileQueue->empty() && Write(fileQueue->front())) {
    fileQueue->pop_front();
    waitingRecords.fetch_sub(1, std::memory_order_relaxed);
  }
}

// A file of its own for each record: none stays open between two transitions.
bool ZREventDriver::Write(tagSEventRT& transition) {
  ZREventFile file(true);
  if (!OpenOrCreate(file, transition.fileName.Text())) return false;
  (void)file.NewRecord();
  file.SetEventId(transition.id);
  file.SetDateValue(transition.actived);
  file.SetEventValue(transition.status);
  file.SetEventAnnotation(transition.annotation);
  return file.Update();
}
