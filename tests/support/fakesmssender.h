// A sender of SMS that the test plays: nothing is sent, and it takes as long as the test says.
#pragma once

#include <functional>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "host/eventactions/eventactionsmssender.h"
#include "host/platform/zrplatform.h"

// What was tried, and what will happen. Outlives its sender.
struct SmsTrials {
  struct tagTrial {
    std::string phone;
    std::string text;
    std::uint32_t begun = 0;  // ticks
  };

  std::vector<tagTrial> all;
  std::set<std::string> failing;  // numbers
  std::uint32_t takes = 0;        // ms for each SMS
  bool isAlive = false;           // the sender

  // "number:text" of each, in their order.
  [[nodiscard]] std::vector<std::string> Words() const {
    std::vector<std::string> words;
    for (const tagTrial& trial : all)
      words.push_back(trial.phone + ":" + trial.text);
    return words;
  }
  // When each began, since the first one, in ms.
  [[nodiscard]] std::vector<std::uint32_t> Starts() const {
    std::vector<std::uint32_t> starts;
    for (const tagTrial& trial : all)
      starts.push_back(trial.begun - all.front().begun);
    return starts;
  }
};

class FakeSmsSender final : public EventActionSmsSender {
 public:
  explicit FakeSmsSender(SmsTrials& toFill) : trials(toFill) { trials.isAlive = true; }
  ~FakeSmsSender() override { trials.isAlive = false; }
  FakeSmsSender(const FakeSmsSender&) = delete;
  FakeSmsSender& operator=(const FakeSmsSender&) = delete;

  [[nodiscard]] bool sendSingleSms(const char* phone, const char* text) override {
    trials.all.push_back({phone, text, ZRPlatform::Get().TickCount()});
    if (trials.takes > 0) ZRPlatform::Get().Sleep(trials.takes);
    return trials.failing.count(phone) == 0;
  }

 private:
  SmsTrials& trials;
};
