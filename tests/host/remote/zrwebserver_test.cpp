#include "host/remote/zrwebserver.h"

#include <memory>
#include <stdexcept>
#include <vector>

#include "host/remote/inflated.h"
#include "host/remote/webserverfixture.h"

namespace {

TEST_F(WebServer, AnswersPlainly) {
  Start();
  const HttpReply reply = Get("/plain", "Accept-Encoding: gzip\r\n");
  EXPECT_EQ(200, reply.status);
  EXPECT_EQ(kText, reply.body);
  EXPECT_EQ("application/xml; charset=utf-8", reply.Header("Content-Type"));
  EXPECT_EQ("", reply.Header("Content-Encoding"));
  EXPECT_EQ("Accept-Encoding", reply.Header("Vary"));
}

TEST_F(WebServer, CompressesWithGzip) {
  Start();
  const HttpReply reply = Get("/packed", "Accept-Encoding: deflate, gzip\r\n");
  EXPECT_EQ("gzip", reply.Header("Content-Encoding"));
  EXPECT_EQ("Accept-Encoding", reply.Header("Vary"));
  EXPECT_EQ("application/xml; charset=utf-8", reply.Header("Content-Type"));
  EXPECT_EQ(kText, Inflated(reply.body, kInflateGzip));
}

TEST_F(WebServer, CompressesWithDeflate) {
  Start();
  const HttpReply reply =
      Get("/packed", "Accept-Encoding: deflate\r\nAccept-Encoding: gzip;q=0.1\r\n");
  EXPECT_EQ("deflate", reply.Header("Content-Encoding"));
  EXPECT_EQ(kText, Inflated(reply.body, kInflateZlib));
}

TEST_F(WebServer, LeavesPlainWhatTheClientRefusesToInflate) {
  Start();
  for (const char* header : {"", "Accept-Encoding: gzip;q=0, deflate;q=0\r\n"}) {
    const HttpReply reply = Get("/packed", header);
    EXPECT_EQ("", reply.Header("Content-Encoding"));
    EXPECT_EQ("Accept-Encoding", reply.Header("Vary"));
    EXPECT_EQ(kText, reply.body);
  }
}

TEST_F(WebServer, TellsRoutesWhatTheClientSays) {
  bool accepts = false;
  std::string authorization = "unset";
  std::string user = "unset";
  server.Get("/look", [&](ZRHttpRequest& request, ZRHttpResponse& response) {
    accepts = request.AcceptDeflate();
    authorization = request.Authorization().Header().Text();
    user = request.Authorization().User().Text();
    response.Begin(200, kContentNone);
    (void)response.End();
  });
  Start();
  EXPECT_EQ(200, Get("/look").status);
  EXPECT_FALSE(accepts);
  EXPECT_EQ("", authorization);
  EXPECT_EQ(200,
            Get("/look", "accept-encoding: *\r\nAUTHORIZATION: Basic YTpi\r\nAuthorization: x\r\n")
                .status);
  EXPECT_TRUE(accepts);
  EXPECT_EQ("Basic YTpi", authorization);
  EXPECT_EQ("", user) << "a claim makes no user";
}

TEST_F(WebServer, TellsRoutesTheParametersOfTheQuery) {
  std::string seen;
  server.Get("/look", [&](ZRHttpRequest& request, ZRHttpResponse& response) {
    for (const char* name : {"a", "b", "c", "A"})
      seen += "[" + std::string(request.Parameter(name).View()) + "]";
    response.Begin(200, kContentNone);
    (void)response.End();
  });
  Start();
  EXPECT_EQ(200, Get("/look?b=2%3A+0%2B1&a&c=%3d%26&b=3&d=4").status);
  EXPECT_EQ("[][2: 0+1][=&][]", seen);
  seen.clear();
  EXPECT_EQ(200, Get("/look").status);
  EXPECT_EQ("[][][][]", seen);
}

TEST_F(WebServer, SendsTextForAPerson) {
  Answer("/text", kContentText, "no <b>\n");
  Start();
  const HttpReply reply = Get("/text", "Accept-Encoding: gzip\r\n");
  EXPECT_EQ("text/plain; charset=utf-8", reply.Header("Content-Type"));
  EXPECT_EQ("no <b>\n", reply.body);
}

TEST_F(WebServer, SendsItsHeadersWithEveryAnswer) {
  Start();
  for (const char* path : {"/plain", "/missing"}) {
    const HttpReply reply = Get(path);
    EXPECT_EQ("nosniff", reply.Header("X-Content-Type-Options"));
    EXPECT_EQ("no-store", reply.Header("Cache-Control"));
    EXPECT_EQ("", reply.Header("Server"));
  }
}

TEST_F(WebServer, AnswersAHeadWithoutTheBody) {
  Start();
  HttpClient client(server.Port());
  ASSERT_TRUE(client.Send("HEAD /plain HTTP/1.1\r\nHost: localhost\r\n\r\n"));
  const HttpReply head = client.ReceiveReply(false);
  EXPECT_EQ(200, head.status);
  EXPECT_EQ(std::to_string(std::string(kText).size()), head.Header("Content-Length"));
  // Had a body come, this answer wouldn't start where it does.
  EXPECT_EQ(200, client.Get("/plain").status);
}

TEST_F(WebServer, SendsNoBodyWithKindZero) {
  server.Get("/busy", [](ZRHttpRequest&, ZRHttpResponse& response) {
    response.Begin(503, kContentNone);
    (void)response.End();
  });
  Start();
  HttpClient client(server.Port());
  const HttpReply reply = client.Get("/busy", "Accept-Encoding: gzip\r\n");
  EXPECT_EQ(503, reply.status);
  EXPECT_EQ("0", reply.Header("Content-Length"));
  EXPECT_EQ("", reply.Header("Content-Type"));
  EXPECT_EQ(200, client.Get("/plain").status);
}

TEST_F(WebServer, ComparesPathsByteByByte) {
  Start();
  EXPECT_EQ(200, Get("/plain?x=1&y").status);
  EXPECT_EQ(200, Get("/plain?").status);
  for (const char* target : {"/", "/Plain", "/plain/", "//plain", "/./plain", "/x/../plain",
                             "/%70lain", "/plain%00", "/plain%3Fx", "/plain;x", "/plai", "*"}) {
    const HttpReply reply = Get(target);
    EXPECT_EQ(404, reply.status) << target;
    EXPECT_EQ("404 Not Found\n", reply.body);
  }
  EXPECT_EQ(2, answered);
}

TEST_F(WebServer, RefusesOtherMethods) {
  Start();
  HttpClient client(server.Port());
  ASSERT_TRUE(client.Send("DELETE /plain HTTP/1.1\r\nHost: localhost\r\n\r\n"));
  const HttpReply reply = client.ReceiveReply();
  EXPECT_EQ(405, reply.status);
  EXPECT_EQ("GET, HEAD", reply.Header("Allow"));
  EXPECT_EQ(405, StatusOf("POST /plain HTTP/1.1\r\nHost: localhost\r\nContent-Length: 1\r\n\r\nx"));
  EXPECT_EQ(404, StatusOf("POST /other HTTP/1.1\r\nHost: localhost\r\n\r\n"));
  EXPECT_EQ(0, answered);
}

TEST_F(WebServer, RefusesABody) {
  Start();
  const std::string head = "GET /plain HTTP/1.1\r\nHost: localhost\r\n";
  EXPECT_EQ(400, StatusOf(head + "Content-Length: 5\r\n\r\n12345"));
  EXPECT_EQ(413, StatusOf(head + "Content-Length: 65537\r\n\r\n"));
  EXPECT_EQ(413, StatusOf(head + "Content-Length: 100000\r\n\r\n" + std::string(100'000, 'x')));
  EXPECT_EQ(413, StatusOf(head + "Transfer-Encoding: chunked\r\n\r\n1\r\nx\r\n0\r\n\r\n"));
  EXPECT_EQ(200, StatusOf(head + "Content-Length: 0\r\n\r\n"));
  EXPECT_EQ(1, answered);
}

TEST_F(WebServer, TakesNothingThatFollowsARefusedBodyForARequest) {
  Start();
  HttpClient client(server.Port());
  (void)client.Send(
      "GET /plain HTTP/1.1\r\nHost: localhost\r\nContent-Length: 48\r\n\r\n"
      "GET /plain HTTP/1.1\r\nHost: localhost\r\nX: yes\r\n\r\n");
  const std::string all = client.ReceiveAll();
  EXPECT_TRUE(client.IsClosed());
  EXPECT_TRUE(all.starts_with("HTTP/1.1 400 "));
  EXPECT_EQ(std::string::npos, all.find("200 OK"));
  EXPECT_EQ(0, answered);
}

TEST_F(WebServer, RefusesAHeadThatIsTooLarge) {
  settings.headerBytes = 4096;
  Start();
  EXPECT_EQ(200, Get("/plain", "X: " + std::string(4000, 'x') + "\r\n").status);
  EXPECT_EQ(431, Get("/plain", "X: " + std::string(4100, 'x') + "\r\n").status);
  EXPECT_EQ(431, Get("/plain", "X: " + std::string(100'000, 'x') + "\r\n").status);
  EXPECT_EQ(1, answered);
}

TEST_F(WebServer, RefusesTheNameOfAnotherSite) {
  Start();
  EXPECT_EQ(403, StatusOf("GET /plain HTTP/1.1\r\nHost: rebound.example\r\n\r\n"));
  EXPECT_EQ(403, StatusOf("GET /plain HTTP/1.1\r\nHost: localhost.example:80\r\n\r\n"));
  EXPECT_EQ(400, StatusOf("GET /plain HTTP/1.1\r\nHost: localhost\r\nHost: a.example\r\n\r\n"));
  EXPECT_EQ(400, StatusOf("GET /plain HTTP/1.1\r\n\r\n"));
  EXPECT_EQ(400, StatusOf("GET /plain HTTP/1.0\r\n\r\n"));
  EXPECT_EQ(0, answered);
  EXPECT_EQ(200, StatusOf("GET /plain HTTP/1.1\r\nHost: 127.0.0.1:1\r\n\r\n"));
  EXPECT_EQ(200, StatusOf("GET /plain HTTP/1.1\r\nhost: [::1]:8480\r\n\r\n"));
}

TEST_F(WebServer, KeepsAConnectionForTheNextRequest) {
  Start();
  HttpClient client(server.Port());
  for (const char* path : {"/plain", "/missing", "/packed", "/plain"})
    (void)client.Send(std::string("GET ") + path + " HTTP/1.1\r\nHost: localhost\r\n\r\n");
  for (const int status : {200, 404, 200, 200}) {
    const HttpReply reply = client.ReceiveReply();
    EXPECT_EQ(status, reply.status);
    EXPECT_TRUE(reply.isWhole);
  }
}

TEST_F(WebServer, PutsTogetherARequestThatComesInPieces) {
  Start();
  HttpClient client(server.Port());
  for (const char* piece : {"G", "ET /pl", "ain HTTP/1.1\r", "\nHost: local", "host\r\n\r", "\n"})
    ASSERT_TRUE(client.Send(piece));
  EXPECT_EQ(kText, client.ReceiveReply().body);
}

// --- requests with a body ---

// Offers /echo, which takes up to 100,000 bytes and answers with them.
class WebServerBodies : public WebServer {
 protected:
  static constexpr std::size_t kMost = 100'000;

  WebServerBodies() {
    server.Put("/echo", kMost,
               [this](ZRHttpRequest&, const std::string& body, ZRHttpResponse& response) {
                 ++answered;
                 response.Begin(200, kContentText);
                 response.Write(body.data(), static_cast<int>(body.size()));
                 (void)response.End();
               });
    server.Put("/take", kMost, [](ZRHttpRequest&, const std::string&, ZRHttpResponse& response) {
      response.Begin(204, kContentNone);
      (void)response.End();
    });
    Start();
  }
  static std::string Request(const std::string& method, const std::string& body,
                             const std::string& headers = "", const std::string& path = "/echo") {
    return method + " " + path + " HTTP/1.1\r\nHost: localhost\r\n" + headers +
           "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
  }
  HttpReply Send(const std::string& bytes) {
    HttpClient client(server.Port());
    (void)client.Send(bytes);
    return client.ReceiveReply();
  }
};

TEST_F(WebServerBodies, ReachTheirRouteWhole) {
  std::string every;
  for (int byte = 0; byte < 256; ++byte)
    every += static_cast<char>(byte);
  for (const std::string& body :
       {std::string("<a/>"), std::string(), every, std::string(kMost, 'x')}) {
    for (const char* method : {"PUT", "POST"}) {
      const HttpReply reply = Send(Request(method, body));
      EXPECT_EQ(200, reply.status);
      EXPECT_EQ(body, reply.body);
    }
  }
}

TEST_F(WebServerBodies, ArePutTogetherFromPieces) {
  HttpClient client(server.Port());
  const std::string bytes = Request("PUT", "one two three");
  for (std::size_t at = 0; at < bytes.size(); at += 7)
    ASSERT_TRUE(client.Send(bytes.substr(at, 7)));
  EXPECT_EQ("one two three", client.ReceiveReply().body);
}

TEST_F(WebServerBodies, LeaveTheConnectionForTheNextRequest) {
  HttpClient client(server.Port());
  for (const char* body : {"first", "second"}) {
    ASSERT_TRUE(client.Send(Request("PUT", body)));
    EXPECT_EQ(body, client.ReceiveReply().body);
  }
  ASSERT_TRUE(client.Send(Request("PUT", "third", "", "/take")));
  const HttpReply taken = client.ReceiveReply();
  EXPECT_EQ(204, taken.status);
  EXPECT_EQ("", taken.body);
  EXPECT_EQ(200, client.Get("/plain").status);
}

TEST_F(WebServerBodies, AreRefusedAboveWhatTheirPathTakes) {
  EXPECT_EQ(413, Send(Request("PUT", std::string(kMost + 1, 'x'))).status);
  EXPECT_EQ(413, StatusOf("PUT /echo HTTP/1.1\r\nHost: localhost\r\nContent-Length: "
                          "99999999999999999999\r\n\r\n"));
  EXPECT_EQ(413, StatusOf("PUT /echo HTTP/1.1\r\nHost: localhost\r\n"
                          "Transfer-Encoding: chunked\r\n\r\n1\r\nx\r\n0\r\n\r\n"));
  EXPECT_EQ(0, answered);
}

TEST_F(WebServerBodies, AreRefusedFromAPageOfAnotherSite) {
  EXPECT_EQ(403, Send(Request("POST", "x", "Origin: http://a.example\r\n")).status);
  EXPECT_EQ(0, answered);
  EXPECT_EQ(200, Send(Request("POST", "x", "Origin: http://localhost\r\n")).status);
}

TEST_F(WebServerBodies, HavePathsThatCannotBeGot) {
  const HttpReply reply = Get("/echo");
  EXPECT_EQ(405, reply.status);
  EXPECT_EQ("PUT, POST", reply.Header("Allow"));
  EXPECT_EQ(405, Send(Request("DELETE", "x")).status);
  EXPECT_EQ(405, Send(Request("PUT", "x", "", "/plain")).status);
  EXPECT_EQ(404, Send(Request("PUT", "x", "", "/missing")).status);
  EXPECT_EQ(0, answered);
}

TEST_F(WebServerBodies, ThatDoNotComeWholeReachNobody) {
  {
    HttpClient client(server.Port());
    ASSERT_TRUE(
        client.Send("PUT /echo HTTP/1.1\r\nHost: localhost\r\nContent-Length: 10\r\n\r\n"
                    "12345"));
    client.FinishSending();
    EXPECT_NE(200, client.ReceiveReply().status);
  }
  server.Stop();
  EXPECT_EQ(0, answered);
}

// --- answers that are large, or lost ---

TEST_F(WebServer, SendsALargeAnswerFromAFile) {
  settings.memoryBytes = 1000;
  std::string text;
  while (text.size() < 300'000)
    text += std::to_string(text.size()) + ",";
  Answer("/large", kContentXml, text);
  Answer("/largePacked", kContentXmlDeflated, text);
  Start();
  const HttpReply plain = Get("/large");
  EXPECT_EQ(200, plain.status);
  EXPECT_EQ(text, plain.body);
  const HttpReply packed = Get("/largePacked", "Accept-Encoding: gzip\r\n");
  ASSERT_GT(packed.body.size(), settings.memoryBytes);
  EXPECT_EQ(text, Inflated(packed.body, kInflateGzip));
}

TEST_F(WebServer, SendsAWholeRefusalInsteadOfPartOfAnAnswer) {
  settings.memoryBytes = 1000;
  settings.answerBytes = 100'000;
  Answer("/fits", kContentXml, std::string(100'000, 'x'));
  Answer("/tooLarge", kContentXml, std::string(100'001, 'x'));
  Start();
  EXPECT_EQ(200, Get("/fits").status);
  EXPECT_TRUE(ended);
  HttpClient client(server.Port());
  const HttpReply reply = client.Get("/tooLarge");
  EXPECT_FALSE(ended);
  EXPECT_EQ(500, reply.status);
  EXPECT_EQ("500 Internal Server Error\n", reply.body);
  EXPECT_EQ("text/plain; charset=utf-8", reply.Header("Content-Type"));
  EXPECT_EQ(200, client.Get("/plain").status);
}

TEST_F(WebServer, SendsARefusalWithoutAPlaceForALargeAnswer) {
  settings.memoryBytes = 1000;
  settings.temporaryFolder = testing::TempDir() + "missing/folder";
  Answer("/large", kContentXml, std::string(1001, 'x'));
  Start();
  EXPECT_EQ(500, Get("/large").status);
  EXPECT_FALSE(ended);
  EXPECT_EQ(200, Get("/plain").status);
}

TEST_F(WebServer, SendsARefusalForARouteThatDoesNotAnswer) {
  server.Get("/silent", [](ZRHttpRequest&, ZRHttpResponse&) {});
  server.Get("/unended", [](ZRHttpRequest&, ZRHttpResponse& response) {
    response.Begin(200, kContentXml);
    response.Write("<a/>", -1);
  });
  Start();
  EXPECT_EQ(500, Get("/silent").status);
  EXPECT_EQ(500, Get("/unended").status);
}

TEST_F(WebServer, SendsARefusalForARouteThatThrows) {
  server.Get("/throws", [](ZRHttpRequest&, ZRHttpResponse& response) {
    response.Begin(200, kContentXml);
    (void)response.End();
    throw std::runtime_error("no such event");
  });
  server.Get("/throwsNumber", [](ZRHttpRequest&, ZRHttpResponse&) { throw 1; });
  std::string faults;
  server.OnFault([&](std::string_view path, std::string_view what) {
    faults.append(path).append(": ").append(what).append("; ");
  });
  Start();
  EXPECT_EQ(500, Get("/throws").status);
  EXPECT_EQ(500, Get("/throwsNumber").status);
  EXPECT_EQ("/throws: no such event; /throwsNumber: unknown exception; ", faults);
  EXPECT_EQ(200, Get("/plain").status);
}

// --- slow clients, many clients ---

TEST_F(WebServer, HoldsUpNeitherRouteNorThreadForASlowClient) {
  constexpr int kSmallBuffer = 64 * 1024;
  settings.threads = 1;
  const std::string text(5'000'000, 'x');
  ZRStateWord routes(0);
  server.Get("/large", [&](ZRHttpRequest&, ZRHttpResponse& response) {
    response.Begin(200, kContentXml);
    response.Write(text.c_str(), -1);
    (void)response.End();
    routes.Set(1);
  });
  Start();
  HttpClient slow(server.Port(), kSmallBuffer);
  ASSERT_TRUE(slow.Send("GET /large HTTP/1.1\r\nHost: localhost\r\n\r\n"));
  routes.WaitUntil(1);
  EXPECT_EQ(kText, Get("/plain").body);
  const HttpReply reply = slow.ReceiveReply();
  EXPECT_EQ(text.size(), reply.body.size());
}

TEST_F(WebServer, AnswersManyClientsAtOnce) {
  constexpr int kClients = 8;
  constexpr int kRequests = 25;
  settings.memoryBytes = 20'000;
  Answer("/large", kContentXml, std::string(50'000, 'x'));
  Start();
  std::atomic<int> good{0};
  {
    ZRThread clients[kClients];
    for (ZRThread& client : clients) {
      ASSERT_TRUE(client.Start([&] {
        HttpClient connection(server.Port());
        for (int i = 0; i < kRequests; ++i) {
          const bool large = i % 5 == 0;
          const HttpReply reply = connection.Get(large ? "/large" : "/plain");
          if (reply.status == 200 && (large ? reply.body.size() == 50'000 : reply.body == kText)) {
            ++good;
          }
        }
      }));
    }
  }
  EXPECT_EQ(kClients * kRequests, good);
  EXPECT_EQ(kClients * kRequests, answered);
}

TEST_F(WebServer, CallsRoutesAtTheSameTime) {
  // Each of two calls ends only when the other one has begun.
  ZRStateWord first(0);
  ZRStateWord second(0);
  const auto meet = [](ZRStateWord& mine, ZRStateWord& other, ZRHttpResponse& response) {
    mine.Set(1);
    other.WaitUntil(1);
    response.Begin(200, kContentNone);
    (void)response.End();
  };
  server.Get("/first", [&](ZRHttpRequest&, ZRHttpResponse& to) { meet(first, second, to); });
  server.Get("/second", [&](ZRHttpRequest&, ZRHttpResponse& to) { meet(second, first, to); });
  Start();
  HttpClient client(server.Port());
  ASSERT_TRUE(client.Send("GET /first HTTP/1.1\r\nHost: localhost\r\n\r\n"));
  first.WaitUntil(1);
  EXPECT_EQ(200, Get("/second").status);
  EXPECT_EQ(200, client.ReceiveReply().status);
}

TEST_F(WebServer, ServesNoMoreConnectionsAtOnceThanItMay) {
  settings.threads = 1;
  settings.connections = 2;
  std::atomic<int> turn{0};
  server.Get("/turn", [&](ZRHttpRequest&, ZRHttpResponse& response) {
    response.Begin(200, kContentXml);
    response.Write(std::to_string(++turn).c_str(), -1);
    (void)response.End();
  });
  Start();
  HttpClient first(server.Port());
  HttpClient second(server.Port());
  EXPECT_EQ("1", first.Get("/turn").body);
  EXPECT_EQ("2", second.Get("/turn").body);
  HttpClient third(server.Port());
  ASSERT_TRUE(third.Send("GET /turn HTTP/1.1\r\nHost: localhost\r\n\r\n"));
  for (int i = 3; i < 10; ++i)
    EXPECT_EQ(std::to_string(i), first.Get("/turn").body);
  first.Close();
  EXPECT_EQ("10", third.ReceiveReply().body);
}

// --- start and stop ---

TEST_F(WebServer, SaysThatItsPortIsInUse) {
  Start();
  ZRWebServer other;
  ZRWebServerSettings samePort;
  samePort.port = server.Port();
  ZRString reason;
  EXPECT_FALSE(other.Start(samePort, reason));
  EXPECT_EQ("port " + std::to_string(samePort.port) + " of 127.0.0.1 is in use",
            std::string(reason.Text()));
  EXPECT_EQ(0, other.Port());
  EXPECT_EQ(200, Get("/plain").status);
}

TEST_F(WebServer, RefusesAnAddressThatIsNone) {
  ZRString reason;
  settings.address = "localhost";
  EXPECT_FALSE(server.Start(settings, reason));
  EXPECT_STREQ("'localhost' is no address of IPv4 or IPv6 in digits", reason.Text());
}

TEST_F(WebServer, RefusesSettingsThatCannotWork) {
  ZRString reason;
  settings.threads = 0;
  EXPECT_FALSE(server.Start(settings, reason));
  settings.threads = 3;
  settings.connections = 2;
  EXPECT_FALSE(server.Start(settings, reason));
  EXPECT_FALSE(reason.IsEmpty());
}

TEST_F(WebServer, RefusesASecondStart) {
  Start();
  ZRString reason;
  EXPECT_FALSE(server.Start(settings, reason));
  EXPECT_STREQ("the web server runs already", reason.Text());
  EXPECT_EQ(200, Get("/plain").status);
}

TEST_F(WebServer, StartsAgainAtTheSamePort) {
  Start();
  settings.port = server.Port();
  HttpClient open(settings.port);
  EXPECT_EQ(200, open.Get("/plain").status);
  server.Stop();
  EXPECT_EQ(0, server.Port());
  EXPECT_EQ("", open.ReceiveAll());
  EXPECT_TRUE(open.IsClosed());
  server.Stop();
  Start();
  EXPECT_EQ(settings.port, server.Port());
  EXPECT_EQ(200, Get("/plain").status);
}

TEST_F(WebServer, StopsWhileNothingHappens) {
  for (const unsigned int threads : {1u, 4u}) {
    settings.threads = threads;
    Start();
    HttpClient silent(server.Port());
    EXPECT_TRUE(silent.IsConnected());
    server.Stop();
  }
}

TEST_F(WebServer, StopLetsRequestsInProgressFinish) {
  for (const unsigned int threads : {1u, 2u}) {
    settings.threads = threads;
    ZRStateWord begun(0);
    ZRStateWord allowed(0);
    server.Get("/waits", [&](ZRHttpRequest&, ZRHttpResponse& response) {
      begun.Set(begun.Get() + 1);
      allowed.WaitUntil(1);
      response.Begin(200, kContentXml);
      response.Write(kText, -1);
      (void)response.End();
    });
    Start();
    std::vector<std::unique_ptr<HttpClient>> clients;
    for (unsigned int i = 1; i <= threads; ++i) {
      clients.push_back(std::make_unique<HttpClient>(server.Port()));
      ASSERT_TRUE(clients.back()->Send("GET /waits HTTP/1.1\r\nHost: localhost\r\n\r\n"));
      begun.WaitUntil(i);
    }
    // No thread is free to take this connection: it ends when the server stops listening.
    HttpClient refused(server.Port());
    std::atomic<bool> stopped{false};
    ZRThread stopper;
    ASSERT_TRUE(stopper.Start([&] {
      server.Stop();
      stopped = true;
    }));
    EXPECT_EQ("", refused.ReceiveAll());
    EXPECT_TRUE(refused.IsClosed());
    EXPECT_FALSE(stopped);
    allowed.Set(1);
    for (const auto& client : clients) {
      const HttpReply reply = client->ReceiveReply();
      EXPECT_EQ(200, reply.status);
      EXPECT_EQ(kText, reply.body);
      EXPECT_EQ("close", reply.Header("Connection"));
    }
    stopper.Join();
    EXPECT_TRUE(stopped);
  }
}

TEST_F(WebServer, StopCutsOffAClientThatDoesNotTakeItsAnswer) {
  constexpr int kSmallBuffer = 64 * 1024;
  settings.stopMilliseconds = 1;
  const std::string text(5'000'000, 'x');
  Answer("/large", kContentXml, text);
  Start();
  HttpClient slow(server.Port(), kSmallBuffer);
  ASSERT_TRUE(slow.Send("GET /large HTTP/1.1\r\nHost: localhost\r\n\r\n"));
  while (answered == 0)
    ZRPlatform::Get().Sleep(0);
  server.Stop();
  const HttpReply reply = slow.ReceiveReply();
  EXPECT_FALSE(reply.isWhole);
  EXPECT_TRUE(slow.IsClosed());
}

TEST_F(WebServer, StopLetsAnAnswerUnderWayArrive) {
  constexpr int kSmallBuffer = 64 * 1024;
  settings.stopMilliseconds = 200'000;
  const std::string text(5'000'000, 'x');
  Answer("/large", kContentXml, text);
  Start();
  HttpClient slow(server.Port(), kSmallBuffer);
  ASSERT_TRUE(slow.Send("GET /large HTTP/1.1\r\nHost: localhost\r\n\r\n"));
  while (answered == 0)
    ZRPlatform::Get().Sleep(0);
  ZRThread stopper;
  ASSERT_TRUE(stopper.Start([&] { server.Stop(); }));
  const HttpReply reply = slow.ReceiveReply();
  EXPECT_TRUE(reply.isWhole);
  EXPECT_EQ(text.size(), reply.body.size());
}

}  // namespace
