#include "support/listtest.h"

namespace {

class RemoteOutput : public ListTest {
 protected:
  using tagSend = bool (ZREventList::*)(ZRHttpRequest&, ZRHttpResponse&);
  static constexpr tagSend kActived = &ZREventList::SendActived;
  static constexpr tagSend kNotified = &ZREventList::SendNotified;

  // Two drivers' elements: active R.1 and S.1, notified R.2 and S.2, which may be acknowledged.
  void Fill() {
    for (const std::string driver : {"R", "S"}) {
      Active(RemoteXml(driver + ".1").On());
      Notified(RemoteXml(driver + ".2").With("notified", "T").With("canAcknowledge", "T").On());
    }
  }
  std::string Send(tagSend send, const char* user = "", bool expected = true) {
    FakeRequest request(false, user);
    FakeResponse response;
    EXPECT_EQ((list.*send)(request, response), expected);
    EXPECT_EQ(response.begun + response.ended, 0) << "the answer is the caller's";
    return response.body;
  }
  // The texts of all elements `tag`, one behind the other.
  static std::string All(const std::string& xml, const std::string& tag) {
    std::string found;
    const std::string opening = "<" + tag + ">";
    for (std::size_t at = xml.find(opening); at != std::string::npos; at = xml.find(opening, at)) {
      at += opening.size();
      found += (found.empty() ? "" : " ") + xml.substr(at, xml.find('<', at) - at);
    }
    return found;
  }
};

// --- without anything ---

TEST_F(RemoteOutput, WithoutAnythingReceivedIsFalse) {
  XmlDocument document;
  document.Create(L"producer");
  ZREventListener listener(L"L", "", 0);
  EXPECT_EQ(Send(kActived, "", false), "");
  EXPECT_EQ(Send(kNotified, "", false), "");
  EXPECT_FALSE(list.AddAllActived(listener, document, L"", L"L", L"N"));
  EXPECT_FALSE(list.AddAllNotified(document, L"", L"L", L"N"));
  EXPECT_EQ(Code(document), "<producer></producer>");
  EXPECT_EQ(ActiveCount() + NotifiedCount(), 0);
}

TEST_F(RemoteOutput, OfWhatWasEmptiedIsTrueAndMakesItsSections) {
  Active(RemoteXml("R.1").On());
  list.RemoveDriverEvents(L"R");
  EXPECT_EQ(Send(kActived), "");
  EXPECT_EQ(Send(kNotified), "");
  EXPECT_EQ(ActivePicture(), "<producer><actived></actived></producer>");
  EXPECT_EQ(NotifiedPicture(), "<producer><notified></notified></producer>");
}

TEST_F(RemoteOutput, IntoADocumentWithoutRootIsRefused) {
  Fill();
  XmlDocument document;
  ZREventListener listener(L"L", "", 0);
  EXPECT_FALSE(list.AddAllActived(listener, document, L"", L"L", L"N"));
  EXPECT_FALSE(list.AddAllNotified(document, L"", L"L", L"N"));
}

// --- elements ---

TEST_F(RemoteOutput, ActiveElementIsWrittenInItsOrderAndEscaped) {
  Active(RemoteXml("R.&lt;1&gt;")
             .With("idn", "Hall.&amp;")
             .With("name", "n \xC3\xB1 &quot;")
             .With("description", "d&apos;")
             .With("annotation", "&lt;a&gt;")
             .With("deaAnnotation", "b")
             .With("ackAnnotation", "c")
             .With("notified", "T")
             .On("&lt;raw&gt;"));
  EXPECT_EQ(Send(kActived),
            "<event><id>R.&lt;1&gt;</id><idn>Hall.&amp;</idn><name>n \xC3\xB1 "
            "&quot;</name><description>d&apos;</description><annotation>&lt;a&gt;</annotation>"
            "<deaAnnotation>b</deaAnnotation><ackAnnotation>c</ackAnnotation>"
            "<dateTime><raw></dateTime></event>")
      << "a date goes out as it came in";
}

TEST_F(RemoteOutput, NotifiedElementIsWrittenInItsOrder) {
  Notified(
      RemoteXml("R.1").With("idn", "Hall").With("notified", "T").With("canAcknowledge", "T").On());
  const std::string head =
      "<event><id>R.1</id><idn>Hall</idn><name></name><description></description><annotation>"
      "</annotation><deaAnnotation></deaAnnotation><ackAnnotation></ackAnnotation>"
      "<dateTime>on</dateTime>";
  const std::string end = "<canAcknowledge>T</canAcknowledge></event>";
  EXPECT_EQ(Send(kNotified), head + end);
  Notified(RemoteXml("R.1").With("notified", "T").With("canAcknowledge", "T").Ack("&amp;"));
  EXPECT_EQ(Send(kNotified), head + "<ackDateTime>&</ackDateTime>" + end);
  Notified(RemoteXml("R.1").With("notified", "T").With("canAcknowledge", "T").On().Off());
  EXPECT_EQ(Send(kNotified), head + "<disableDateTime>off</disableDateTime>" + end);
}

TEST_F(RemoteOutput, ElementWithoutIdnOrDateHasNoTagForThem) {
  Active(RemoteXml("R.1").Why("ACTIVATION"));
  const std::string xml = Send(kActived);
  EXPECT_EQ(xml.find("<idn>"), std::string::npos);
  EXPECT_EQ(xml.find("<dateTime>"), std::string::npos);
}

TEST_F(RemoteOutput, CompleteCopyOfANotifiedElementHasItsTagsInTheirOrder) {
  Notified(RemoteXml("R.1")
               .With("idn", "Hall.Pump")
               .With("name", "n")
               .With("description", "d")
               .With("annotation", "a")
               .With("deaAnnotation", "b")
               .With("ackAnnotation", "c")
               .With("canAcknowledge", "T")
               .With("notified", "T")
               .On()
               .Ack());
  EXPECT_EQ(NotifiedPicture(),
            "<producer><notified><event><id>L.R.1</id><idn>Lobby.Hall.Pump</idn><annotation>a"
            "</annotation><deaAnnotation>b</deaAnnotation><ackAnnotation>c</ackAnnotation><name>n"
            "</name><description>d</description><dateTime>on</dateTime><ackDateTime>ack"
            "</ackDateTime><disableDateTime></disableDateTime><notified>T</notified>"
            "<canAcknowledge>T</canAcknowledge></event></notified></producer>");
}

TEST_F(RemoteOutput, CompleteCopyWithoutADriverNameHasNoIdn) {
  Notified(RemoteXml("R.1").With("notified", "T").On());
  XmlDocument document;
  document.Create(L"producer");
  EXPECT_TRUE(list.AddAllNotified(document, L"", L"L", L""));
  EXPECT_EQ(Code(document).find("<idn>"), std::string::npos);
  EXPECT_NE(NotifiedPicture().find("<idn>Lobby.</idn>"), std::string::npos)
      << "with one, a missing idn is empty behind its point";
}

TEST_F(RemoteOutput, CompleteCopyOfAnActiveElementHasItsIdnAlsoWithoutADriverName) {
  Active(RemoteXml("R.1").With("idn", "Hall").On());
  XmlDocument document;
  document.Create(L"producer");
  const ZREventListener listener(L"L", "", 0);
  EXPECT_TRUE(list.AddAllActived(listener, document, L"", L"K", L""));
  EXPECT_EQ(All(Code(document), "idn"), ".Hall");
  EXPECT_EQ(All(Code(document), "id"), "K.R.1") << "behind the id given, not the listener's";
}

TEST_F(RemoteOutput, CompleteCopyForAUserFindsNothingAndMakesNoSection) {
  Fill();
  XmlDocument document;
  document.Create(L"producer");
  ZREventListener listener(L"L", "", 0);
  listener.isUser = true;
  EXPECT_TRUE(list.AddAllActived(listener, document, L"", L"L", L""));
  EXPECT_EQ(Code(document), "<producer></producer>");
}

TEST_F(RemoteOutput, CompleteCopiesJoinTheSectionsThatAreThere) {
  Fill();
  XmlDocument document;
  ASSERT_TRUE(document.Parse("<producer><notified><event/></notified><actived/></producer>"));
  ZREventListener listener(L"L", "", 0);
  EXPECT_TRUE(list.AddAllActived(listener, document, L"", L"L", L"N"));
  EXPECT_TRUE(list.AddAllNotified(document, L"", L"L", L"N"));
  EXPECT_EQ(document.Root()->Size(), 2);
  EXPECT_EQ(document.Root()->Node(L"notified")->Size(), 3);
  EXPECT_EQ(document.Root()->Node(L"actived")->Size(), 2);
}

// --- which elements ---

TEST_F(RemoteOutput, CounterOfNotifiedOnesCountsAlsoWhatTheServiceLeavesOut) {
  for (const char* text : {"T", "F", ""})
    Notified(RemoteXml(std::string("R.") + text).With("notified", text).On());
  EXPECT_EQ(NotifiedCount(), 3);
  EXPECT_EQ(All(Send(kNotified), "id"), "R.T");
  EXPECT_EQ(NotifiedIds(), "L.R.T");
}

TEST_F(RemoteOutput, ElementWithoutADriverIsNeitherCountedNorWritten) {
  Active(RemoteXml("R").On());
  Notified(RemoteXml("R").With("notified", "T").On());
  EXPECT_EQ(ActiveCount() + NotifiedCount(), 0);
  EXPECT_EQ(Send(kActived) + Send(kNotified), "");
  EXPECT_EQ(ActiveIds() + NotifiedIds(), "");
}

// --- rights ---

TEST_F(RemoteOutput, UnknownUserGetsNothing) {
  Fill();
  const FakeSecurity security({{17, "R"}, {18, "R"}});
  for (const char* user : {"", "Bob", "ann"}) {
    EXPECT_EQ(Send(kActived, user, false), "");
    EXPECT_EQ(Send(kNotified, user, false), "");
    EXPECT_EQ(ActiveCount(user) + NotifiedCount(user), 0);
    XmlDocument document;
    document.Create(L"producer");
    ZREventListener listener(L"L", "", 0);
    EXPECT_FALSE(list.AddAllActived(listener, document, Wide(user), L"L", L"N"));
    EXPECT_FALSE(list.AddAllNotified(document, Wide(user), L"L", L"N"));
    EXPECT_EQ(Code(document), "<producer></producer>");
  }
}

TEST_F(RemoteOutput, UserSeesWhatComesThroughTheDriversOfHisRights) {
  Fill();
  {
    const FakeSecurity security({{17, "R"}, {18, "S"}});
    EXPECT_EQ(All(Send(kActived, "Ann"), "id"), "R.1");
    EXPECT_EQ(All(Send(kNotified, "Ann"), "id"), "S.2");
    EXPECT_EQ(ActiveCount("Ann"), 1);
    EXPECT_EQ(NotifiedCount("Ann"), 1);
    XmlDocument document;
    document.Create(L"producer");
    ZREventListener listener(L"L", "", 0);
    EXPECT_TRUE(list.AddAllActived(listener, document, L"Ann", L"L", L"N"));
    EXPECT_TRUE(list.AddAllNotified(document, L"Ann", L"L", L"N"));
    EXPECT_EQ(All(Code(document), "id"), "L.R.1 L.S.2");
    EXPECT_EQ(All(Code(document), "canAcknowledge"), "F");
  }
  const FakeSecurity nothing({{7, "R"}, {8, "R"}, {16, "R"}});
  EXPECT_EQ(Send(kActived, "Ann") + Send(kNotified, "Ann"), "");
}

// The name comes in UTF-8.
TEST_F(RemoteOutput, UserIsKnownWhateverTheLettersOfHisName) {
  const char* const kName = "Jos\xC3\xA9 \xF0\x9F\x94\xA5";
  Fill();
  const FakeSecurity security({{17, "R"}, {18, "R"}}, kName);
  EXPECT_EQ(All(Send(kActived, kName), "id"), "R.1");
  EXPECT_EQ(All(Send(kNotified, kName), "id"), "R.2");
  EXPECT_EQ(ActiveCount(kName), 1);
  EXPECT_EQ(NotifiedCount(kName), 1);
}

TEST_F(RemoteOutput, AcknowledgingTakesTheSendersConsentAndTheRight) {
  Fill();
  Notified(RemoteXml("R.3").With("notified", "T").With("canAcknowledge", "F").On());
  EXPECT_EQ(All(Send(kNotified), "canAcknowledge"), "T T F");
  const FakeSecurity security({{18, "R"}, {18, "S"}, {16, "R"}});
  EXPECT_EQ(All(Send(kNotified, "Ann"), "id"), "R.2 S.2 R.3");
  EXPECT_EQ(All(Send(kNotified, "Ann"), "canAcknowledge"), "T F F");
}

}  // namespace
