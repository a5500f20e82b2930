// A real mail server with a folder of what it got, and a share folder with the real tool.
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <vector>

#include "support/faketool.h"
#include "support/runningprogram.h"
#include "support/sourcedir.h"

// The share folder with a link to the mail program of this machine.
class SharedTool : public ShareFolder {
 public:
  SharedTool() { std::filesystem::create_symlink("/usr/bin/msmtp", path / "msmtp"); }
};

class Mailbox {
 public:
  explicit Mailbox(const std::vector<std::string>& options = {}) {
    std::string pattern = (std::filesystem::temp_directory_path() / "tessaly-mail-XXXXXX").string();
    folder = ::mkdtemp(pattern.data());
    std::vector<std::string> words = {
        "/usr/bin/python3", RepositoryPath("tests/zrevents/peers/smtpserver.py"), folder.string()};
    words.insert(words.end(), options.begin(), options.end());
    server = std::make_unique<RunningProgram>(words);
    EXPECT_TRUE(server->WaitFor("port ")) << server->Error();
    EXPECT_TRUE(server->WaitFor("\n"));
    const std::string& said = server->Error();
    const std::size_t at = said.find("port ");
    if (at != std::string::npos) port = std::atoi(said.c_str() + at + 5);
  }
  ~Mailbox() {
    server.reset();
    std::error_code ignored;
    std::filesystem::remove_all(folder, ignored);
  }
  Mailbox(const Mailbox&) = delete;
  Mailbox& operator=(const Mailbox&) = delete;

  [[nodiscard]] int Port() const { return port; }
  // Of the mail of that number, from 1; empty if it hasn't come.
  [[nodiscard]] std::string Mail(int number = 1) const {
    return FileText(folder / (std::to_string(number) + ".mail"));
  }
  [[nodiscard]] std::string Envelope(int number = 1) const {
    return FileText(folder / (std::to_string(number) + ".envelope"));
  }

 private:
  std::filesystem::path folder;
  std::unique_ptr<RunningProgram> server;
  int port = 0;
};

// A key and a certificate for it that nobody has signed.
class Certificate {
 public:
  Certificate() {
    std::string pattern = (std::filesystem::temp_directory_path() / "tessaly-cert-XXXXXX").string();
    folder = ::mkdtemp(pattern.data());
    RunningProgram openssl({"openssl", "req", "-x509", "-newkey", "ec", "-pkeyopt",
                            "ec_paramgen_curve:prime256v1", "-nodes", "-subj", "/CN=localhost",
                            "-days", "2", "-keyout", Key(), "-out", File()});
    EXPECT_EQ(0, openssl.Wait()) << openssl.Error();
  }
  ~Certificate() {
    std::error_code ignored;
    std::filesystem::remove_all(folder, ignored);
  }
  Certificate(const Certificate&) = delete;
  Certificate& operator=(const Certificate&) = delete;

  [[nodiscard]] std::string File() const { return (folder / "certificate.pem").string(); }
  [[nodiscard]] std::string Key() const { return (folder / "key.pem").string(); }

 private:
  std::filesystem::path folder;
};

// Processes of this machine whose command line names `text`.
inline std::vector<std::string> ProcessesNaming(const std::string& text) {
  std::vector<std::string> found;
  std::error_code ignored;
  for (const auto& entry : std::filesystem::directory_iterator("/proc", ignored)) {
    const std::string line = FileText(entry.path() / "cmdline");
    if (line.find(text) != std::string::npos) found.push_back(entry.path().filename().string());
  }
  return found;
}
