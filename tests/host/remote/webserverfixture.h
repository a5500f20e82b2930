// A running web server and the words that its tests share.
#pragma once

#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <string>

#include "host/platform/zrthread.h"
#include "host/remote/zrwebserver.h"
#include "support/httpclient.h"

// Offers /plain, which answers kText as plain XML, and /packed, which compresses it.
class WebServer : public testing::Test {
 protected:
  static constexpr const char* kText = "<?xml version=\"1.0\"?><a>&lt;text&gt; \xC3\xA9</a>";

  WebServer() {
    Answer("/plain", kContentXml, kText);
    Answer("/packed", kContentXmlDeflated, kText);
  }

  void Answer(const std::string& path, int kind, const std::string& text) {
    server.Get(path, [this, kind, text](ZRHttpRequest&, ZRHttpResponse& response) {
      response.Begin(200, kind);
      response.Write(text.c_str(), -1);
      ended = response.End();
      ++answered;
    });
  }

  void Start() {
    ZRString reason;
    ASSERT_TRUE(server.Start(settings, reason)) << reason.Text();
  }

  // The answer to a GET on a connection of its own.
  HttpReply Get(const std::string& target, const std::string& headers = "") {
    HttpClient client(server.Port());
    return client.Get(target, headers);
  }

  // The status of the answer to these bytes, on a connection of their own.
  int StatusOf(const std::string& bytes) {
    HttpClient client(server.Port());
    (void)client.Send(bytes);
    return client.ReceiveReply().status;
  }

  ZRWebServerSettings settings;
  std::atomic<int> answered{0};
  std::atomic<bool> ended{false};  // what the last End said
  ZRWebServer server;
};
