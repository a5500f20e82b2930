// Requests that nobody should send. None of them calls a route that it doesn't name, and the
// server goes on after each.
#include <string>
#include <vector>

#include "host/remote/webserverfixture.h"

namespace {

using namespace std::string_literals;

// Where no answer is promised: none at all, or any.
constexpr int kAnything = 0;

struct tagRequest {
  const char* name;
  std::string bytes;
  int status;
};

std::string Repeated(const std::string& text, int times) {
  std::string all;
  for (int i = 0; i < times; ++i)
    all += text;
  return all;
}

const std::string kLine = "GET /plain HTTP/1.1\r\n";
const std::string kHost = "Host: localhost\r\n";
const std::string kHead = kLine + kHost;

const std::vector<tagRequest> kNoHttp = {
    {"nothing", "", kAnything},
    {"line ends", Repeated("\r\n", 100), kAnything},
    {"NULs", std::string(5000, '\0'), kAnything},
    {"high bytes", std::string(5000, '\xFF'), kAnything},
    {"a start of TLS", "\x16\x03\x01\x00\xA5\x01\x00\x00\xA1\x03\x03"s, kAnything},
    {"half a word", "GE", kAnything},
    {"half a head", kHead, kAnything},
    {"a word", "GET\r\n\r\n", kAnything},
    {"no method", " /plain HTTP/1.1\r\n" + kHost + "\r\n", kAnything},
    {"a long method", std::string(60'000, 'G'), kAnything},
    {"carriage returns alone", "GET /plain HTTP/1.1\rHost: localhost\r\r", kAnything},
    {"tabs for blanks", "GET\t/plain\tHTTP/1.1\r\n" + kHost + "\r\n", kAnything},
    {"another format of the version", "GET /plain http/1.1\r\n" + kHost + "\r\n", 400},
    {"another protocol", "GET /plain FTP/1.1\r\n" + kHost + "\r\n", 400},
    {"no version", "GET /plain\r\n\r\n", 400},
    {"version 0.9", "GET /plain HTTP/0.9\r\n" + kHost + "\r\n", 505},
    {"version 2", "PRI * HTTP/2.0\r\n\r\nSM\r\n\r\n", 505},
    {"version 3", "GET /plain HTTP/3.0\r\n" + kHost + "\r\n", 505},
};

const std::vector<tagRequest> kTargets = {
    {"a way up", "GET /../../etc/passwd HTTP/1.1\r\n" + kHost + "\r\n", 404},
    {"broken escapes", "GET /%2e%2e/%00%ff%zz%4 HTTP/1.1\r\n" + kHost + "\r\n", 404},
    {"a format", "GET /%s%n%p HTTP/1.1\r\n" + kHost + "\r\n", 404},
    {"a fragment", "GET /plain#x HTTP/1.1\r\n" + kHost + "\r\n", 404},
    {"an absolute one", "GET http://localhost/plain HTTP/1.1\r\n" + kHost + "\r\n", 404},
    {"an authority", "CONNECT localhost:80 HTTP/1.1\r\n" + kHost + "\r\n", 404},
    {"a long one", "GET /" + std::string(60'000, 'x') + " HTTP/1.1\r\n" + kHost + "\r\n", 414},
    {"blanks in it", "GET /plain /plain HTTP/1.1\r\n" + kHost + "\r\n", kAnything},
    {"empty arguments", "GET /x?" + std::string(5000, '&') + " HTTP/1.1\r\n\r\n", kAnything},
    {"many arguments", "GET /x?" + Repeated("a=b&", 3000) + " HTTP/1.1\r\n\r\n", kAnything},
};

const std::vector<tagRequest> kHeaders = {
    {"no colon", kHead + "nonsense\r\n\r\n", 400},
    {"a blank before the colon", kHead + "Content-Length : 5\r\n\r\nabcde", 400},
    {"a NUL in a name", kHead + "Ho\0st: a\r\n\r\n"s, 400},
    {"control characters", kHead + "X: \x01\x02\x7F\r\n\r\n", 400},
    {"a folded first one", kLine + " Host: localhost\r\n\r\n", 400},
    {"a folded host", kLine + "Host:\r\n localhost\r\n\r\n", 400},
    {"an empty host", kLine + "Host:\r\n\r\n", 403},
    {"a host of high bytes", kLine + "Host: \xFF\xFE\r\n\r\n", 403},
    {"a host that is a format", kLine + "Host: %s%n\r\n\r\n", 403},
    {"a long name", kHead + std::string(60'000, 'x') + ": y\r\n\r\n", kAnything},
    {"very many", kHead + Repeated("a:\r\n", 3000) + "\r\n", 431},
    {"many cookies", kHead + "Cookie: " + Repeated("a=b;", 2000) + "\r\n\r\n", kAnything},
};

const std::vector<tagRequest> kBodies = {
    {"less than none", kHead + "Content-Length: -1\r\n\r\n", 400},
    {"a sign", kHead + "Content-Length: +0\r\n\r\n", 400},
    {"another base", kHead + "Content-Length: 0x0\r\n\r\n", 400},
    {"no number", kHead + "Content-Length:\r\n\r\n", 400},
    {"two lengths", kHead + "Content-Length: 0\r\nContent-Length: 5\r\n\r\nabcde", 400},
    {"a list of lengths", kHead + "Content-Length: 0, 5\r\n\r\nabcde", 400},
    {"an endless length", kHead + "Content-Length: 99999999999999999999999\r\n\r\n", 413},
    {"a length and pieces",
     kHead + "Content-Length: 0\r\nTransfer-Encoding: chunked\r\n\r\n0\r\n\r\n", 413},
    {"another coding", kHead + "Transfer-Encoding: xchunked\r\n\r\n", 413},
    {"a huge piece", kHead + "Transfer-Encoding: chunked\r\n\r\nFFFFFFFFFFFFFFFFF\r\n", 413},
    {"a piece of less than none", kHead + "Transfer-Encoding: chunked\r\n\r\n-1\r\nx", 413},
    {"a question first", kHead + "Expect: 100-continue\r\nContent-Length: 5\r\n\r\n", 400},
};

class MalformedRequests : public WebServer {
 protected:
  void SendAll(const std::vector<tagRequest>& requests) {
    Start();
    for (const tagRequest& request : requests) {
      SCOPED_TRACE(request.name);
      HttpClient client(server.Port());
      (void)client.Send(request.bytes);
      if (request.status != kAnything) {
        EXPECT_EQ(request.status, client.ReceiveReply().status);
      }
      client.Close();
      EXPECT_EQ(0, answered);
      EXPECT_EQ(kText, Get("/plain").body);
      answered = 0;
    }
  }
};

TEST_F(MalformedRequests, ThatAreNoHttp) {
  SendAll(kNoHttp);
}
TEST_F(MalformedRequests, WithOddTargets) {
  SendAll(kTargets);
}
TEST_F(MalformedRequests, WithOddHeaders) {
  SendAll(kHeaders);
}
TEST_F(MalformedRequests, WithOddBodies) {
  SendAll(kBodies);
}

// No silence is needed to tell that nothing more will come.
TEST_F(MalformedRequests, EndWithTheirClient) {
  settings.idleSeconds = 0;
  Start();
  for (const std::vector<tagRequest>* requests : {&kNoHttp, &kTargets, &kHeaders, &kBodies}) {
    for (const tagRequest& request : *requests) {
      SCOPED_TRACE(request.name);
      HttpClient client(server.Port());
      (void)client.Send(request.bytes);
      client.FinishSending();
      (void)client.ReceiveAll();
      EXPECT_TRUE(client.IsClosed());
    }
  }
}

// The library crashed when it answered such a request in the moment in which it was stopped.
TEST_F(MalformedRequests, ThatComeWhileTheServerStops) {
  constexpr int kTurns = 30;
  constexpr int kClients = 4;
  for (int turn = 0; turn < kTurns; ++turn) {
    Start();
    const std::uint16_t port = server.Port();
    ZRThread clients[kClients];
    for (ZRThread& thread : clients) {
      ASSERT_TRUE(thread.Start([&] {
        while (true) {
          HttpClient client(port);
          if (!client.IsConnected()) return;
          (void)client.Send(kHead + "nonsense\r\n\r\n");
          (void)client.ReceiveAll();
        }
      }));
    }
    (void)Get("/plain");
    server.Stop();
  }
}

// Odd, but every part that counts is clear.
TEST_F(MalformedRequests, ThatAreTakenAllTheSame) {
  Start();
  EXPECT_EQ(200, StatusOf("\r\n" + kHead + "\r\n"));
  EXPECT_EQ(200, StatusOf("GET /plain HTTP/1.1\nHost: localhost\n\n"));
  EXPECT_EQ(200, StatusOf("GET /plain HTTP/1.9\r\n" + kHost + "\r\n"));
  EXPECT_EQ(200, StatusOf(kHead + ": x\r\n\r\n"));
  EXPECT_EQ(200, StatusOf(kHead + "X: a\r\n b\r\n\r\n"));
  EXPECT_EQ(200, StatusOf(kHead + "Accept-Encoding: " + Repeated("gzip;q=,", 1500) + "\r\n\r\n"));
  EXPECT_EQ(200, StatusOf(kHead + "Connection: Upgrade\r\nUpgrade: h2c\r\n\r\n"));
}

}  // namespace
