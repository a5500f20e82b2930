#include "tessaly/zreventvariables.h"

#include <gtest/gtest.h>

#include "host/driversupport/zrlivevalue.h"
#include "support/enginetest.h"

namespace {

// Vocabulary: Begin with events, read a variable, Told: what the observer was told, in words.
class EventVariables : public EngineTest {
 protected:
  ~EventVariables() override {
    StopServer();
    variables.reset();
  }

  void Begin(const std::vector<EventXml>& events) {
    Load(events);
    variables = std::make_unique<ZREventVariables>(
        [this](const ZREventDriver& event, bool active, double seconds) {
          told.push_back(Narrow(event.Name()) + (active ? " on " : " off ") +
                         Narrow(FormatWide(L"%g", seconds)));
        });
    variables->Bind(Store());
    StartServer();
  }
  // The value of a variable, or a word for why there is none.
  static std::string Value(const std::string& name) {
    ZRLiveValue* const value = ZRLiveValues::Get().Find(Wide(name));
    if (value == nullptr) return "unknown";
    double number = 0.0;
    const bool isNumber = value->Number(number);
    ZRLiveValues::Get().Release(value);
    return isNumber ? Narrow(FormatWide(L"%g", number)) : "unavailable";
  }
  std::vector<std::string> Told() { return std::exchange(told, {}); }

  std::unique_ptr<ZREventVariables> variables;
  std::vector<std::string> told;
};

using Words = std::vector<std::string>;

EventXml Pump(const std::string& name = "Pump", int number = 1) {
  return EventXml(name, number).Condition("[P.RUN] = 1");
}

TEST_F(EventVariables, ShowStateAndSecondsOfEachEvent) {
  Set("RUN", 0);
  Begin({Pump(), EventXml("Fan", 2).Condition("1 = 1")});
  EXPECT_EQ(Value("Pump.ST"), "0");
  EXPECT_EQ(Value("Pump.TACT"), "0");
  EXPECT_EQ(Value("Fan.ST"), "1");
  Set("RUN", 1);
  Passes();
  EXPECT_EQ(Value("Pump.ST"), "1");
  EXPECT_EQ(Value("Pump.TACT"), "0");
  EXPECT_EQ(Value("Fan.TACT"), "1");
  Passes(5);
  EXPECT_EQ(Value("Pump.TACT"), "5");
  Set("RUN", 0);
  Passes();
  EXPECT_EQ(Value("Pump.ST"), "0");
  EXPECT_EQ(Value("Pump.TACT"), "0");
}

TEST_F(EventVariables, ExistAsSoonAsTheyAreBound) {
  Load(Pump());
  EXPECT_EQ(Value("Pump.ST"), "unknown");
  variables = std::make_unique<ZREventVariables>(nullptr);
  variables->Bind(Store());
  EXPECT_EQ(Value("Pump.ST"), "0");
  EXPECT_EQ(Value("Pump.TACT"), "0");
}

TEST_F(EventVariables, ObserverIsToldOfEachTransitionOnce) {
  Set("RUN", 0);
  Begin({Pump()});
  Passes(3);
  EXPECT_EQ(Told(), Words{}) << "an event that begins inactive is no news";
  Set("RUN", 1);
  Passes(4);
  EXPECT_EQ(Told(), Words{"Pump on 0"});
  Set("RUN", 0);
  Passes(4);
  EXPECT_EQ(Told(), Words{"Pump off 4"});
  Set("RUN", 1);
  Passes();
  Set("RUN", 0);
  Passes();
  EXPECT_EQ(Told(), (Words{"Pump on 0", "Pump off 1"}));
}

TEST_F(EventVariables, ObserverIsToldOfTheWholeTimeADeactivationDelayIncluded) {
  Set("RUN", 1);
  Begin({Pump().DelayToDeactivate("3")});
  Passes(2);
  Set("RUN", 0);
  Passes(10);
  EXPECT_EQ(Told(), (Words{"Pump on 0", "Pump off 6"}));
}

TEST_F(EventVariables, ClockThatIsSetBackMakesNoNegativeTime) {
  Set("RUN", 1);
  Begin({Pump()});
  time.SetUtc(time.UtcMilliseconds() - 3'600'000);
  Set("RUN", 0);
  Passes();
  EXPECT_EQ(Told(), (Words{"Pump on 0", "Pump off 0"}));
}

TEST_F(EventVariables, OtherEventsCanReadThem) {
  Set("RUN", 1);
  Begin({Pump(), EventXml("Long", 2).Condition("[Pump.TACT] >= 3")});
  Passes(2);
  EXPECT_FALSE(Find("Long")->IsEnabled());
  Passes(3);
  EXPECT_TRUE(Find("Long")->IsEnabled());
}

TEST_F(EventVariables, OfTwoEventsOfOneNameTheFirstHasThemAndBothAreTold) {
  Set("RUN", 1);
  Begin({EventXml("Pump", 1).Condition("[P.RUN] = 2"), Pump("Pump", 2)});
  Passes();
  EXPECT_EQ(Value("Pump.ST"), "0");
  EXPECT_EQ(Told(), Words{"Pump on 0"});
  Set("RUN", 2);
  Passes();
  EXPECT_EQ(Value("Pump.ST"), "1");
  EXPECT_EQ(Told(), (Words{"Pump on 0", "Pump off 2"}));
}

TEST_F(EventVariables, NameThatADriverHasStaysTheDrivers) {
  Set("ST", 7);
  Begin({EventXml("P", 1).Condition("1 = 1")});
  EXPECT_EQ(Value("P.ST"), "7");
  EXPECT_EQ(Value("P.TACT"), "0");
  EXPECT_EQ(Told(), Words{"P on 0"});
}

TEST_F(EventVariables, AreGoneWithTheirObject) {
  Set("RUN", 0);
  Begin({Pump()});
  StopServer();
  variables.reset();
  EXPECT_EQ(Value("Pump.ST"), "unknown");
  EXPECT_EQ(Value("Pump.TACT"), "unknown");
}

}  // namespace
