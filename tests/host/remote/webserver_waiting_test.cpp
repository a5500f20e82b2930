// Routes that may wait.
#include <atomic>
#include <memory>
#include <vector>

#include "host/platform/zrthread.h"
#include "host/remote/webserverfixture.h"
#include "host/remote/zrservicethreads.h"
#include "support/httpclient.h"

namespace {

class WaitingRoutes : public ::testing::Test {
 protected:
  WaitingRoutes() {
    EXPECT_TRUE(hold.Acquire(0));
    server.Put(
        "/wait", 1000,
        [this](ZRHttpRequest& request, const std::string& body, ZRHttpResponse& response) {
          ++waiting;
          (void)hold.Acquire(ZRPlatform::kInfinite);
          hold.Release();
          response.Begin(200, kContentText);
          response.Write((body + request.Parameter("x").Text()).c_str(), -1);
          (void)response.End();
        },
        ZRWebServer::tagPace::kMayWait);
    server.Get("/quick", [](ZRHttpRequest&, ZRHttpResponse& response) {
      response.Begin(204, kContentNone);
      (void)response.End();
    });
    server.Get(
        "/fails", [](ZRHttpRequest&, ZRHttpResponse&) {}, ZRWebServer::tagFor::kUsers,
        ZRWebServer::tagPace::kMayWait);
    settings.threads = 1;
    settings.waitingThreads = 2;
    ZRString reason;
    EXPECT_TRUE(server.Start(settings, reason)) << reason.Text();
  }
  ~WaitingRoutes() override {
    hold.Release();
    server.Stop();
  }

  std::unique_ptr<HttpClient> Ask(const std::string& body) {
    auto client = std::make_unique<HttpClient>(server.Port());
    EXPECT_TRUE(client->Send("PUT /wait?x=1 HTTP/1.1\r\nHost: localhost\r\nContent-Length: " +
                             std::to_string(body.size()) + "\r\n\r\n" + body));
    return client;
  }

  ZRSemaphore hold{1};
  std::atomic<int> waiting{0};
  ZRWebServerSettings settings;
  ZRWebServer server;
};

TEST_F(WaitingRoutes, KeepNobodyElseFromHisAnswer) {
  std::vector<std::unique_ptr<HttpClient>> clients;
  for (const char* body : {"a", "b", "c", "d"})
    clients.push_back(Ask(body));
  EXPECT_EQ(HttpClient(server.Port()).Get("/quick").status, 204);
  hold.Release();
  for (std::size_t i = 0; i < clients.size(); ++i) {
    const HttpReply reply = clients[i]->ReceiveReply();
    EXPECT_EQ(reply.status, 200);
    EXPECT_EQ(reply.body, std::string(1, static_cast<char>('a' + i)) + "1");
  }
  EXPECT_EQ(waiting, 4);
}

TEST_F(WaitingRoutes, ConnectionGoesOnAfterTheAnswer) {
  hold.Release();
  HttpClient client(server.Port());
  for (int i = 0; i < 3; ++i) {
    ASSERT_TRUE(
        client.Send("PUT /wait?x=2 HTTP/1.1\r\nHost: localhost\r\nContent-Length: 1\r\n\r\nb"));
    EXPECT_EQ(client.ReceiveReply().body, "b2");
  }
}

TEST_F(WaitingRoutes, OneThatAnswersNothingIsAnInternalError) {
  EXPECT_EQ(HttpClient(server.Port()).Get("/fails").status, 500);
}

TEST_F(WaitingRoutes, ThatRunAreWaitedForByAStop) {
  const std::unique_ptr<HttpClient> client = Ask("a");
  while (waiting == 0)
    (void)HttpClient(server.Port()).Get("/quick");
  ZRThread later;
  ASSERT_TRUE(later.Start([this] { hold.Release(); }));
  server.Stop();
  later.Join();
  EXPECT_EQ(client->ReceiveReply().status, 200);
}

TEST_F(WaitingRoutes, ClientThatHasLeftDoesNoHarm) {
  Ask("a")->Close();
  while (waiting == 0)
    (void)HttpClient(server.Port()).Get("/quick");
  hold.Release();
  EXPECT_EQ(HttpClient(server.Port()).Get("/quick").status, 204);
}

TEST(ServiceThreads, DoAllWorkBeforeTheyEnd) {
  ZRServiceThreads threads;
  ASSERT_TRUE(threads.Start(3));
  std::atomic<int> done{0};
  for (int i = 0; i < 100; ++i)
    threads.Do([&done] { ++done; });
  threads.End();
  EXPECT_EQ(done, 100);
  ASSERT_TRUE(threads.Start(1));
  threads.Do([&done] { ++done; });
  threads.End();
  EXPECT_EQ(done, 101);
}

}  // namespace
