#include "support/chaintest.h"
#include "support/golden.h"

namespace {

class Board : public ChainTest {
 protected:
  Board() {
    EXPECT_TRUE(ZRDateTime::SetLocalZone("Europe/Madrid"));
    time.SetUtc(1'772'351'910'500);  // 2026-03-01T07:58:30.500Z
    Serve({Pump()});
  }
  ~Board() override { EXPECT_TRUE(ZRDateTime::SetLocalZone("")); }

  std::string Shown() {
    FakeRequest request;
    FakeResponse response;
    EXPECT_TRUE(server->ProcessHttpServiceListeners(request, response));
    EXPECT_EQ(response.status, 200);
    return response.body;
  }
  // The values `key` of the listeners.
  std::string Column(const char* key) {
    XmlDocument document;
    EXPECT_TRUE(document.Parse(Shown().c_str()));
    std::string text;
    for (auto at = document.Root()->ChildsBegin(); at != document.Root()->ChildsEnd(); ++at)
      if ((*at)->TagUtf8() == "listener")
        text += (text.empty() ? "" : " ") +
                ((*at)->Child(key) != nullptr ? std::string((*at)->ValueUtf8(key)) : "-");
    return text;
  }
};

TEST_F(Board, IsEmptyWithoutListeners) {
  EXPECT_EQ(Shown(),
            "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>"
            "<listeners><waiting>0</waiting></listeners>");
}

TEST_F(Board, IsTheExampleOfItsPage) {
  EXPECT_EQ(Register(WishXml("plant").At("192.168.1.20").With("driverName", "Plant &amp; co"),
                     "control room"),
            204);
  Passes();
  EXPECT_EQ(Shown(), PageExample("docs/wire/listeners.md"));
}

TEST_F(Board, TellsWhoIsThereAtOnceAndWhatWasAnsweredLater) {
  Listen("L");
  EXPECT_EQ(Column("status"), "-");
  EXPECT_EQ(Column("all"), "T");
  Passes();
  EXPECT_EQ(Column("status"), "204");
  EXPECT_EQ(Column("all"), "F");
  EXPECT_EQ(Register(WishXml("L").At("elsewhere", "81").With("all", "T"), "Ann"), 204);
  EXPECT_EQ(Column("ip"), "elsewhere");
  EXPECT_EQ(Column("port"), "81");
  EXPECT_EQ(Column("user"), "Ann");
  EXPECT_EQ(Column("all"), "T");
}

TEST_F(Board, KeepsSinceWhenAListenerRegistersAgain) {
  Listen("L");
  const std::string since = Column("since");
  EXPECT_EQ(since, "01032026075830");
  Passes(5);
  EXPECT_EQ(Register(WishXml("L").At("L")), 204);
  EXPECT_EQ(Column("since"), since);
  Listen("M");
  EXPECT_NE(Column("since"), since + " " + since);
}

TEST_F(Board, ForgetsAListenerThatIsDropped) {
  Listen("L");
  wire.status = 500;
  Passes(7);
  EXPECT_EQ(Column("driverId"), "");
  wire.status = 204;
  Listen("L");
  EXPECT_EQ(Column("status"), "-") << "it is a new one";
}

// A round holds the listeners through all its attempts; who asks is told all the same.
TEST_F(Board, IsShownWhileARoundTriesAListener) {
  Listen("L");
  Passes();
  wire.status = 500;
  Set("RUN", 1);
  Passes(3);
  EXPECT_EQ(Listeners(), 1) << "it is still tried";
  EXPECT_EQ(Column("status"), "500");
  EXPECT_NE(Shown().find("<waiting>1</waiting>"), std::string::npos) << Shown();
}

}  // namespace
