#include "zrevents/lists/zrremoteevents.h"

#include <gtest/gtest.h>

#include <string>

namespace {

// Neither finding nor adding an element looks at the others, however many there are: nothing
// changes when their own values tell of other ids.
TEST(RemoteEventsIndex, FindsAnElementWithoutReadingAny) {
  ZRRemoteEvents events;
  events.Prepare();
  const std::string ids[] = {"R.1", "R.2", "R.3"};
  for (const std::string& id : ids)
    events.Add(true, id)->SetValue(L"name", ZRString(id));
  for (const std::string& id : ids)
    events.Find(true, id)->SetValue(L"id", L"R.4");
  for (const std::string& id : ids) {
    const XmlDocument::XmlNode* const found = events.Find(true, id);
    ASSERT_NE(found, nullptr) << id;
    EXPECT_EQ(found->ValueUtf8("name"), id);
  }
  EXPECT_EQ(events.Find(true, "R.4"), nullptr);
}

TEST(RemoteEventsIndex, KeepsTheSectionsApartAndForgetsWhatIsRemoved) {
  ZRRemoteEvents events;
  events.Prepare();
  const XmlDocument::XmlNode* const active = events.Add(true, "R.1");
  const XmlDocument::XmlNode* const notified = events.Add(false, "R.1");
  EXPECT_EQ(events.Find(true, "R.1"), active);
  EXPECT_EQ(events.Find(false, "R.1"), notified);
  events.Remove(true, "R.1");
  EXPECT_EQ(events.Find(true, "R.1"), nullptr);
  EXPECT_EQ(events.Find(false, "R.1"), notified);
  events.RemoveIf(false, [](const XmlDocument::XmlNode&) { return true; });
  EXPECT_EQ(events.Find(false, "R.1"), nullptr);
  EXPECT_EQ(events.Section(kSectionNotified)->Size(), 0);
}

}  // namespace
