// A GSM modem on a pseudo terminal, as far as sending SMS goes.
#pragma once

#include <fcntl.h>
#include <poll.h>
#include <termios.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cstdlib>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "host/platform/zrmutex.h"
#include "support/text.h"

// What the modem has put on the air.
struct tagSms {
  std::string phone;
  std::string text;  // UTF-8; of the GSM alphabet only what is ASCII too, the rest as "<number>"
  bool isUcs2 = false;
  int part = 1;  // of linked ones
  int parts = 1;
};

// Reads the PDU of an SMS to be sent, in hexadecimal.
class SmsPdu {
 public:
  static tagSms Decode(const std::string& hexadecimal) {
    SmsPdu pdu(hexadecimal);
    return pdu.Read();
  }

 private:
  explicit SmsPdu(const std::string& hexadecimal) {
    for (std::size_t at = 0; at + 1 < hexadecimal.size(); at += 2)
      bytes.push_back(std::stoi(hexadecimal.substr(at, 2), nullptr, 16));
  }
  int Next() { return next < bytes.size() ? bytes[next++] : 0; }

  tagSms Read() {
    constexpr int kHasHeader = 0x40;
    constexpr int kValidity = 0x18;
    constexpr int kUcs2 = 8;
    tagSms sms;
    next += static_cast<std::size_t>(Next());  // the service centre
    const int first = Next();
    (void)Next();  // reference
    sms.phone = ReadNumber();
    (void)Next();  // protocol
    sms.isUcs2 = (Next() & 0x0C) == kUcs2;
    if ((first & kValidity) == 0x10) (void)Next();
    const int length = Next();  // septets or bytes, the header included
    const std::size_t start = next;
    if ((first & kHasHeader) != 0) ReadHeader(sms);
    sms.text = sms.isUcs2 ? ReadUcs2() : ReadSeptets(start, length);
    return sms;
  }
  std::string ReadNumber() {
    constexpr int kInternational = 0x91;
    const int digits = Next();
    std::string number = Next() == kInternational ? "+" : "";
    for (int index = 0; index < digits; index += 2) {
      const int pair = Next();
      number += static_cast<char>('0' + (pair & 15));
      if (index + 1 < digits) number += static_cast<char>('0' + (pair >> 4));
    }
    return number;
  }
  void ReadHeader(tagSms& sms) {
    const int length = Next();
    const std::size_t end = next + static_cast<std::size_t>(length);
    (void)Next();  // kind
    (void)Next();  // its length
    (void)Next();  // reference
    sms.parts = Next();
    sms.part = Next();
    next = end;
  }
  std::string ReadUcs2() {
    std::wstring wide;
    while (next + 1 < bytes.size()) {
      const int high = Next();
      wide += static_cast<wchar_t>(high * 256 + Next());
    }
    return Narrow(ZRWString(std::wstring_view(wide)));
  }
  std::string ReadSeptets(std::size_t start, int count) {
    std::string text;
    const int skipped = static_cast<int>(((next - start) * 8 + 6) / 7);  // those of the header
    for (int index = skipped; index < count; ++index) {
      const int bit = index * 7;
      const std::size_t at = start + static_cast<std::size_t>(bit / 8);
      const int low = at < bytes.size() ? bytes[at] : 0;
      const int high = at + 1 < bytes.size() ? bytes[at + 1] : 0;
      text += Shown(((low | high << 8) >> (bit % 8)) & 0x7F);
    }
    return text;
  }
  static std::string Shown(int septet) {
    const bool isAscii =
        (septet >= ' ' && septet <= 'Z' && septet != '$') || (septet >= 'a' && septet <= 'z');
    return isAscii ? std::string(1, static_cast<char>(septet)) : "<" + std::to_string(septet) + ">";
  }

  std::vector<int> bytes;
  std::size_t next = 0;
};

// Threads   its own one answers; the test sets what it likes before it starts a run.
class EmulatedModem {
 public:
  EmulatedModem() {
    master = ::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    (void)::grantpt(master);
    (void)::unlockpt(master);
    std::array<char, 64> name{};
    (void)::ptsname_r(master, name.data(), name.size());
    device = name.data();
    // Kept open, so that the terminal lives on between two runs.
    slave = ::open(name.data(), O_RDWR | O_NOCTTY | O_CLOEXEC);
    termios raw{};
    (void)::tcgetattr(slave, &raw);
    ::cfmakeraw(&raw);
    (void)::tcsetattr(slave, TCSANOW, &raw);
    thread = std::thread([this] { Serve(); });
  }
  ~EmulatedModem() {
    ends = true;
    thread.join();
    (void)::close(slave);
    (void)::close(master);
  }
  EmulatedModem(const EmulatedModem&) = delete;
  EmulatedModem& operator=(const EmulatedModem&) = delete;

  [[nodiscard]] const std::string& Device() const { return device; }

  void Lock(const std::string& withPin) {
    const ZRMutexLock lock(mutex);
    pin = withPin;
  }
  void RefuseNext(int count) { refusals = count; }  // SMS
  void Die() { isDead = true; }

  [[nodiscard]] std::vector<tagSms> Sent() const {
    const ZRMutexLock lock(mutex);
    return sent;
  }
  // The codes that were entered.
  [[nodiscard]] std::vector<std::string> Codes() const {
    const ZRMutexLock lock(mutex);
    return codes;
  }

 private:
  void Serve() {
    while (!ends) {
      pollfd polled{master, POLLIN, 0};
      if (::poll(&polled, 1, 20) <= 0) continue;
      char byte = 0;
      if (::read(master, &byte, 1) == 1 && !isDead) Take(byte);
    }
  }
  void Take(char byte) {
    constexpr char kEscape = 0x1B;
    constexpr char kEnd = 0x1A;
    if (byte == kEscape) {
      line.clear();
      isPdu = false;
    } else if (isPdu && byte == kEnd) {
      isPdu = false;
      Write(Send(std::exchange(line, {})));
    } else if (!isPdu && byte == '\r') {
      Write("\r");
      Write(Answer(std::exchange(line, {})));
    } else if (byte != '\n') {
      if (!isPdu) Write(std::string(1, byte));  // the echo
      line += byte;
    }
  }
  std::string Send(const std::string& pdu) {
    if (refusals > 0) {
      --refusals;
      return "\r\n+CMS ERROR: 38\r\n";
    }
    const ZRMutexLock lock(mutex);
    sent.push_back(SmsPdu::Decode(pdu));
    return "\r\n+CMGS: 7\r\n\r\nOK\r\n";
  }
  std::string Answer(const std::string& command) {
    const std::string end = "\r\n\r\nOK\r\n";
    const ZRMutexLock lock(mutex);
    if (command == "AT+CPIN?")
      return "\r\n+CPIN: " + std::string(pin.empty() ? "READY" : "SIM PIN") + end;
    if (command.starts_with("AT+CPIN=")) return Enter(command);
    if (command == "AT+CSCA?") return "\r\n+CSCA: \"+34600000000\",145" + end;
    if (command == "AT+CGMI") return "\r\nEmulated" + end;
    if (command == "AT+CGMM") return "\r\nModem" + end;
    if (command == "AT+CGMR") return "\r\n1.0" + end;
    if (command.starts_with("AT+CMGS=")) {
      if (!pin.empty()) return "\r\n+CMS ERROR: 311\r\n";
      isPdu = true;
      return "\r\n> ";
    }
    return command.ends_with("?") ? "\r\nERROR\r\n" : "\r\nOK\r\n";
  }
  std::string Enter(const std::string& command) ZR_REQUIRES(mutex) {
    const std::size_t from = command.find('"') + 1;
    codes.push_back(command.substr(from, command.find('"', from) - from));
    if (codes.back() != pin) return "\r\n+CME ERROR: 16\r\n";
    pin.clear();
    return "\r\nOK\r\n";
  }
  void Write(const std::string& text) const {
    if (::write(master, text.data(), text.size()) < 0) return;  // nobody is there any more
  }

  int master = -1;
  int slave = -1;
  std::string device;
  std::thread thread;
  std::atomic<bool> ends{false};
  std::atomic<bool> isDead{false};
  std::atomic<int> refusals{0};
  std::string line;    // the thread's own
  bool isPdu = false;  // the thread's own
  mutable ZRMutex mutex;
  std::string pin ZR_GUARDED_BY(mutex);  // that it waits for; empty: none
  std::vector<std::string> codes ZR_GUARDED_BY(mutex);
  std::vector<tagSms> sent ZR_GUARDED_BY(mutex);
};
