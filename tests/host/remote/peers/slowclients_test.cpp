// Many clients that take their time, with the limits in force. How quickly the others are answered
// meanwhile is measured by scripts/slow-clients; here it counts that they are.
#include <memory>
#include <vector>

#include "host/remote/webserverfixture.h"

namespace {

class SlowClients : public WebServer {
 protected:
  static constexpr int kOfEachKind = 100;
  static constexpr int kSmallBuffer = 4096;
  static constexpr int kLargeAnswer = 1'500'000;

  SlowClients() {
    Answer("/large", kContentXml, std::string(kLargeAnswer, 'x'));
    server.Put("/take", 1000, [](ZRHttpRequest&, const std::string&, ZRHttpResponse& response) {
      response.Begin(204, kContentNone);
      (void)response.End();
    });
  }
  ~SlowClients() override { server.Stop(); }

  // Each comes from one of many addresses, below the limit for one.
  void Add(const std::string& bytes) {
    const std::size_t address = 1 + slow.size() / settings.connectionsPerAddress;
    slow.push_back(std::make_unique<HttpClient>(server.Port(), kSmallBuffer,
                                                "127.0.1." + std::to_string(address)));
    ASSERT_TRUE(slow.back()->IsConnected());
    ASSERT_TRUE(slow.back()->Send(bytes));
  }
  void AddEachKind() {
    for (int i = 0; i < kOfEachKind; ++i) {
      Add("GET /plain HTTP/1.1\r\nHost: loc");
      Add("PUT /take HTTP/1.1\r\nHost: localhost\r\nContent-Length: 1000\r\n\r\nx");
      Add("GET /large HTTP/1.1\r\nHost: localhost\r\n\r\n");
    }
    while (answered < kOfEachKind)
      ZRPlatform::Get().Sleep(1);
  }

  std::vector<std::unique_ptr<HttpClient>> slow;
};

TEST_F(SlowClients, KeepNobodyElseFromHisAnswer) {
  Start();
  AddEachKind();
  for (int i = 0; i < 50; ++i)
    EXPECT_EQ(200, Get("/plain").status);
  HttpClient client(server.Port());
  for (int i = 0; i < 50; ++i)
    EXPECT_EQ(200, client.Get("/plain").status);
  for (std::size_t i = 0; i < slow.size(); i += 3)
    EXPECT_TRUE(slow[i]->Send("alhost\r\n\r\n")) << "and none of them has been cut off so early";
  for (std::size_t i = 0; i < slow.size(); i += 3)
    EXPECT_EQ(200, slow[i]->ReceiveReply().status);
}

TEST_F(SlowClients, AreGoneWhenTheServerStops) {
  Start();
  AddEachKind();
  server.Stop();
  for (std::size_t i = 0; i < slow.size(); ++i) {
    const std::string all = slow[i]->ReceiveAll();
    EXPECT_TRUE(slow[i]->IsClosed());
    EXPECT_LT(all.size(), std::size_t{kLargeAnswer});
  }
}

TEST_F(SlowClients, AreCutOffWhenTheirTimeIsOver) {
  settings.pace = {1000, 1000, 1024};
  Start();
  AddEachKind();
  for (std::size_t i = 0; i < slow.size(); ++i) {
    if (i % 3 != 2) {
      EXPECT_EQ("", slow[i]->ReceiveAll());
      EXPECT_TRUE(slow[i]->IsClosed());
    }
  }
  EXPECT_EQ(200, Get("/plain").status);
}

}  // namespace
