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

}  // namespace
