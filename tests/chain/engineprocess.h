// One engine of a chain: a site, and the program that runs on it.
#pragma once

#include <gtest/gtest.h>
#include <poll.h>

#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "host/tools/xmldocument.h"
#include "support/eventxml.h"
#include "support/freeport.h"
#include "support/httpclient.h"
#include "support/runningprogram.h"
#include "support/sitefolder.h"
#include "support/tessalyprogram.h"

// Asks again and again. False if it doesn't come true in time.
inline bool Becomes(const std::function<bool()>& isSo, std::chrono::seconds patience) {
  constexpr int kPause = 50;  // ms
  const auto end = std::chrono::steady_clock::now() + patience;
  while (!isSo()) {
    if (std::chrono::steady_clock::now() > end) return false;
    (void)::poll(nullptr, 0, kPause);
  }
  return true;
}

struct tagShownEvent {
  std::string name;
  std::string began;
  std::string acknowledged;
  bool operator==(const tagShownEvent&) const = default;
};
using tagPicture = std::map<std::string, tagShownEvent>;  // by id

// One form of the two that a time is sent in: DDMMYYYYhhmmss.
inline std::string OneForm(std::string time) {
  if (time.size() != 19) return time;
  const auto part = [&time](std::size_t at, std::size_t size) { return time.substr(at, size); };
  return part(8, 2) + part(5, 2) + part(0, 4) + part(11, 2) + part(14, 2) + part(17, 2);
}

// The events of a list whose ids begin with `way`, without it.
inline tagPicture Through(const std::string& way, const tagPicture& picture) {
  tagPicture part;
  for (const auto& [id, event] : picture)
    if (id.rfind(way, 0) == 0) part[id.substr(way.size())] = event;
  return part;
}

class EngineProcess {
 public:
  static constexpr std::chrono::seconds kPatience{30};

  explicit EngineProcess(const std::string& ofSite) : name(ofSite) {}

  // Its settings: it watches these, each through a driver of the given name.
  void Watch(const std::vector<std::pair<std::string, const EngineProcess*>>& others) {
    watched.clear();
    for (const auto& [driver, engine] : others)
      watched += "[[driver]]\ntype = \"engine\"\nname = \"" + driver +
                 "\"\nhost = \"127.0.0.1\"\nport = " + std::to_string(engine->port) + "\n";
  }
  // Tables of the variables of its simulator `sim`.
  void Simulate(const std::string& tables) {
    simulated = "[[driver]]\ntype = \"simulator\"\nname = \"sim\"\nperiod_ms = 100\n" + tables;
  }
  void Events(const std::string& xml) const {
    site.Write("config/default.xeve", "<main><events>" + xml + "</events></main>");
  }

  [[nodiscard]] ::testing::AssertionResult Start() {
    site.Write("tessaly.toml", "name = \"" + name + "\"\nlog.target = \"log.txt\"\nhttp.port = " +
                                   std::to_string(port) + "\n" + simulated + watched);
    program = std::make_unique<RunningProgram>(
        std::vector<std::string>{TessalyProgram(), "run", site.path.string()});
    if (Becomes([this] { return HttpClient(port).Get("/readyz").status == 200; }, kPatience))
      return ::testing::AssertionSuccess();
    program->Signal(SIGTERM);
    (void)program->Wait();
    return ::testing::AssertionFailure() << name << ": " << program->Error() << Log();
  }
  void Kill() { program.reset(); }
  void Signal(int number) const { program->Signal(number); }
  // The exit code of an orderly end.
  int Stop() {
    program->Signal(SIGTERM);
    return program->Wait();
  }

  // The most memory that it had at once, in MiB.
  [[nodiscard]] long PeakMemory() const {
    std::ifstream status("/proc/" + std::to_string(program->Id()) + "/status");
    for (std::string line; std::getline(status, line);)
      if (line.rfind("VmHWM:", 0) == 0) return std::stol(line.substr(6)) / 1024;
    return -1;
  }

  [[nodiscard]] std::string Log() const {
    std::ostringstream text;
    text << std::ifstream(site.path / "log.txt").rdbuf();
    return text.str();
  }

  [[nodiscard]] tagPicture Active() const { return List("actived"); }
  [[nodiscard]] tagPicture Notified() const { return List("notified"); }
  // The status of the answer.
  int Put(const std::string& path, const std::string& body) const {
    HttpClient client(port);
    (void)client.Send("PUT " + path + " HTTP/1.1\r\nHost: localhost\r\nContent-Length: " +
                      std::to_string(body.size()) + "\r\n\r\n" + body);
    return client.ReceiveReply().status;
  }
  int Acknowledge(const std::string& id) const {
    return Put("/services/events/ack.xml", "<eventsAck><id>" + id + "</id></eventsAck>");
  }

  // Runs `tessaly user VERB SITE words...`, with `input` on its standard input.
  [[nodiscard]] bool User(const std::string& verb, const std::vector<std::string>& more,
                          const std::string& input = "") const {
    site.Write("input", input);
    std::vector<std::string> words{
        "sh",   "-c", "exec \"$@\" <\"$0\"", (site.path / "input").string(), TessalyProgram(),
        "user", verb, site.path.string()};
    words.insert(words.end(), more.begin(), more.end());
    RunningProgram once(words);
    const int exitCode = once.Wait();
    EXPECT_EQ(exitCode, 0) << once.Error();
    return exitCode == 0;
  }
  // How it signs in at another engine.
  void SignIn(const EngineProcess& at, const std::string& user, const std::string& password) const {
    site.Write("config/peers.toml",
               "[[account]]\nhost = \"127.0.0.1\"\nport = " + std::to_string(at.port) +
                   "\nuser = \"" + user + "\"\npassword = \"" + password + "\"\n");
    using std::filesystem::perms;
    std::filesystem::permissions(site.path / "config/peers.toml",
                                 perms::owner_read | perms::owner_write);
  }
  // The status of a document that is put as a user, "name:password".
  [[nodiscard]] std::string PutAs(const std::string& user, const std::string& path,
                                  const std::string& body) const {
    site.Write("body", body);
    RunningProgram curl({"curl", "-sS", "--max-time", "10", "--digest", "--user", user, "-X", "PUT",
                         "--data-binary", "@" + (site.path / "body").string(), "-o", "/dev/null",
                         "-w", "%{http_code}", "http://127.0.0.1:" + std::to_string(port) + path});
    EXPECT_EQ(curl.Wait(), 0) << curl.Error();
    return curl.Out();
  }

  const std::string name;
  const std::uint16_t port = FreePort();
  SiteFolder site;
  std::string login;  // of who looks at the lists, "name:password"; empty without users

 private:
  [[nodiscard]] std::string GetAs(const std::string& user, const std::string& path) const {
    RunningProgram curl({"curl", "-sS", "--max-time", "10", "--digest", "--user", user,
                         "http://127.0.0.1:" + std::to_string(port) + path});
    EXPECT_EQ(curl.Wait(), 0) << curl.Error();
    return curl.Out();
  }
  [[nodiscard]] tagPicture List(const std::string& which) const {
    const std::string path = "/services/events/" + which + ".xml";
    const std::string answer = login.empty() ? HttpClient(port).Get(path).body : GetAs(login, path);
    XmlDocument document;
    tagPicture picture;
    if (!document.Parse(answer.c_str())) return picture;
    const auto text = [](const XmlDocument::XmlNode& event, const char* key) {
      return std::string(event.ValueUtf8(key));
    };
    for (auto at = document.Root()->ChildsBegin(); at != document.Root()->ChildsEnd(); ++at)
      picture[text(**at, "id")] = {text(**at, "name"), OneForm(text(**at, "dateTime")),
                                   OneForm(text(**at, "ackDateTime"))};
    return picture;
  }

  std::string watched;
  std::string simulated;
  std::unique_ptr<RunningProgram> program;
};
