#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "host/driversupport/zrlivevalue.h"
#include "host/platform/zrthread.h"

namespace {

TEST(LiveValues, GiveOneValueForOneName) {
  ZRLiveValues values;
  ZRLiveValue* const first = values.Reference(ZRWString(L"a.b"));
  EXPECT_EQ(first, values.Reference(ZRWString(L"a.b")));
  ZRLiveValue* const other = values.Reference(ZRWString(L"a.B"));
  EXPECT_NE(first, other);
  EXPECT_EQ(2u, values.Size());
  values.Release(first);
  values.Release(first);
  values.Release(other);
}

TEST(LiveValues, ForgetWhatNobodyHolds) {
  ZRLiveValues values;
  ZRLiveValue* const value = values.Reference(ZRWString(L"a.b"));
  EXPECT_EQ(value, values.Publish(ZRWString(L"a.b")));
  values.Release(value);
  EXPECT_EQ(1u, values.Size());
  values.Withdraw(value);
  EXPECT_EQ(0u, values.Size());
}

TEST(LiveValues, AReferenceOutlivesThePublisher) {
  ZRLiveValues values;
  ZRLiveValue* const value = values.Reference(ZRWString(L"a.b"));
  EXPECT_EQ(ZRQuality::kUnknown, value->Quality());
  (void)values.Publish(ZRWString(L"a.b"));
  EXPECT_EQ(ZRQuality::kUnavailable, value->Quality());
  value->SetNumber(4.0, 1);
  values.Withdraw(value);
  EXPECT_EQ(ZRQuality::kUnknown, value->Quality());
  values.Release(value);
}

TEST(LiveValues, ANamePublishedTwiceIsKnownUntilBothGiveItUp) {
  ZRLiveValues values;
  ZRLiveValue* const value = values.Publish(ZRWString(L"a.b"));
  value->SetNumber(4.0, 1);
  (void)values.Publish(ZRWString(L"a.b"));
  EXPECT_EQ(ZRQuality::kGood, value->Quality());
  values.Withdraw(value);
  EXPECT_EQ(ZRQuality::kGood, value->Quality());
  values.Withdraw(value);
  EXPECT_EQ(0u, values.Size());
}

TEST(LiveValues, FindSeesPublishedNamesOnly) {
  ZRLiveValues values;
  EXPECT_EQ(nullptr, values.Find(ZRWString(L"a.b")));
  ZRLiveValue* const value = values.Reference(ZRWString(L"a.b"));
  EXPECT_EQ(nullptr, values.Find(ZRWString(L"a.b")));
  (void)values.Publish(ZRWString(L"a.b"));
  EXPECT_EQ(value, values.Find(ZRWString(L"a.b")));
  values.Withdraw(value);
  values.Release(value);
  EXPECT_EQ(1u, values.Size());  // Find's reference
  values.Release(value);
  EXPECT_EQ(0u, values.Size());
}

TEST(LiveValues, CanBeUsedByManyThreads) {
  ZRLiveValues values;
  {
    ZRThread threads[4];
    for (ZRThread& thread : threads) {
      ASSERT_TRUE(thread.Start([&] {
        for (int turn = 0; turn < 500; ++turn) {
          const ZRWString name((L"a.v" + std::to_wstring(turn % 7)).c_str());
          ZRLiveValue* const published = values.Publish(name);
          ZRLiveValue* const referred = values.Reference(name);
          published->SetNumber(1.0, turn);
          values.Withdraw(published);
          values.Release(referred);
        }
      }));
    }
  }
  EXPECT_EQ(0u, values.Size());
}

// Publishes what begins with "lazy.".
class CSource final : public ZRLiveSource {
 public:
  explicit CSource(ZRLiveValues& toFill) : values(toFill) {}
  void Bring(const ZRWString& fullName) override {
    asked.emplace_back(fullName.View());
    if (fullName.View().rfind(L"lazy.", 0) == 0) published.push_back(values.Publish(fullName));
  }
  void Withdraw() {
    for (ZRLiveValue* const value : published)
      values.Withdraw(value);
    published.clear();
  }

  std::vector<std::wstring> asked;

 private:
  ZRLiveValues& values;
  std::vector<ZRLiveValue*> published;
};

using Asked = std::vector<std::wstring>;

TEST(LiveValues, SourceIsAskedForWhatNobodyHasPublished) {
  ZRLiveValues values;
  CSource source(values);
  ZRLiveValue* const early = values.Reference(std::wstring_view(L"lazy.early"));
  ZRLiveValue* const known = values.Publish(L"meter.kW");
  values.UseSource(&source);
  EXPECT_EQ(source.asked, Asked{L"lazy.early"}) << "what is referred to already";
  EXPECT_EQ(early->Quality(), ZRQuality::kUnavailable);
  source.asked.clear();
  ZRLiveValue* const late = values.Reference(std::wstring_view(L"lazy.late"));
  EXPECT_EQ(late->Quality(), ZRQuality::kUnavailable);
  ZRLiveValue* const found = values.Find(L"lazy.found");
  EXPECT_NE(found, nullptr);
  ZRLiveValue* const none = values.Reference(std::wstring_view(L"other.x"));
  EXPECT_EQ(none->Quality(), ZRQuality::kUnknown);
  EXPECT_EQ(values.Find(L"other.y"), nullptr);
  EXPECT_EQ(source.asked, (Asked{L"lazy.late", L"lazy.found", L"other.x", L"other.y"}));
  source.asked.clear();
  ZRLiveValue* const again = values.Reference(std::wstring_view(L"lazy.late"));
  ZRLiveValue* const meter = values.Find(L"meter.kW");
  EXPECT_EQ(source.asked, Asked{}) << "both are published";
  values.UseSource(nullptr);
  EXPECT_EQ(values.Find(L"lazy.none"), nullptr);
  EXPECT_EQ(source.asked, Asked{});
  for (ZRLiveValue* const value : {early, late, found, none, again, meter})
    values.Release(value);
  source.Withdraw();
  values.Withdraw(known);
  EXPECT_EQ(values.Size(), 0U);
}

TEST(LiveValues, TellWhetherANameIsPublishedWithoutAskingTheSource) {
  ZRLiveValues values;
  CSource source(values);
  values.UseSource(&source);
  EXPECT_FALSE(values.IsPublished(L"lazy.x"));
  EXPECT_EQ(source.asked, Asked{});
  ZRLiveValue* const x = values.Find(L"lazy.x");
  EXPECT_TRUE(values.IsPublished(L"lazy.x"));
  values.Release(x);
  source.Withdraw();
  EXPECT_FALSE(values.IsPublished(L"lazy.x"));
}

}  // namespace
