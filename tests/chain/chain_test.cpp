// Engines that watch each other, without users.
#include "chain/engineprocess.h"
#include "chain/ownnetwork.h"

namespace {

using namespace std::chrono_literals;

constexpr std::chrono::seconds kPatience = EngineProcess::kPatience;

// A variable that rises from 0 to 100 in so many seconds, and stays there.
std::string Rising(int seconds) {
  return "[[driver.variable]]\nname = \"LEVEL\"\nform = \"ramp\"\nfrom = 0\nto = 100\nonce = true\n"
         "period_s = " +
         std::to_string(seconds) + "\n";
}

// An event that has to be acknowledged.
EventXml Alarm(const std::string& name, int number, const std::string& condition) {
  return EventXml(name, number).Condition(condition).Notify();
}

bool Has(const tagPicture& picture, const std::string& id) {
  return picture.find(id) != picture.end();
}

// The one whose name that is; empty without.
std::string IdOf(const tagPicture& picture, const std::string& name) {
  for (const auto& [id, event] : picture)
    if (event.name == name) return id;
  return "";
}

// --- a plant and a control room ---

class PlantAndControl : public ::testing::Test {
 protected:
  PlantAndControl() { control.Watch({{"plant", &plant}}); }

  EngineProcess plant{"Plant"};
  EngineProcess control{"Control"};
};

TEST_F(PlantAndControl, SeeAndAcknowledgeTheSameEvent) {
  plant.Simulate(Rising(20));
  plant.Events(Alarm("Pump", 1, "[sim.LEVEL] &gt; 40 AND [sim.LEVEL] &lt; 80").Xml());
  control.Events("");
  ASSERT_TRUE(plant.Start());
  ASSERT_TRUE(control.Start());
  const std::string id = EventXml::Id(1);
  EXPECT_FALSE(Has(plant.Active(), id)) << "the test is too slow for its plant";
  ASSERT_TRUE(Becomes([&] { return Has(plant.Active(), id); }, kPatience));
  const auto began = std::chrono::steady_clock::now();
  ASSERT_TRUE(Becomes([&] { return Has(control.Active(), "plant." + id); }, 10s)) << control.Log();
  const auto took = std::chrono::steady_clock::now() - began;
  RecordProperty("seen_after_ms", static_cast<int>(took / 1ms));
  std::printf("seen in the control room after %d ms\n", static_cast<int>(took / 1ms));

  RunningProgram listeners(
      {TessalyProgram(), "listeners", plant.site.path.string(), "--format", "csv"});
  EXPECT_EQ(listeners.Wait(), 0) << listeners.Error();
  EXPECT_NE(listeners.Out().find(",plant,plant,,127.0.0.1," + std::to_string(control.port) +
                                 ",204,false,false\r\n"),
            std::string::npos)
      << listeners.Out();

  std::string toAcknowledge;
  ASSERT_TRUE(Becomes([&] { return !(toAcknowledge = IdOf(control.Notified(), "Pump")).empty(); },
                      kPatience));
  EXPECT_EQ(toAcknowledge.rfind("plant.", 0), 0u);
  EXPECT_EQ(control.Notified()[toAcknowledge].acknowledged, "");
  EXPECT_EQ(control.Acknowledge(toAcknowledge), 204);
  ASSERT_TRUE(Becomes(
      [&] {
        const tagPicture notified = plant.Notified();
        const std::string marked = IdOf(notified, "Pump");
        return marked.empty() || !notified.at(marked).acknowledged.empty();
      },
      10s));
  EXPECT_NE(IdOf(plant.Notified(), "Pump"), "") << "it is still active";
  ASSERT_TRUE(Becomes([&] { return plant.Active().empty() && plant.Notified().empty(); }, 60s));
  EXPECT_TRUE(Becomes([&] { return control.Active().empty() && control.Notified().empty(); }, 10s));
  EXPECT_EQ(control.Stop(), 0);
  EXPECT_EQ(plant.Stop(), 0);
}

// A listener that takes the connection and says nothing more is dropped; the other one, and the
// plant itself, go on. Then it wakes up, and sees everything again.
TEST_F(PlantAndControl, SilentListenerIsDroppedAndComesBack) {
  plant.Simulate(Rising(20));
  plant.Events(Alarm("Pump", 1, "[sim.LEVEL] &gt; 60").Xml());
  EngineProcess other("Other room");
  other.Watch({{"works", &plant}});
  control.Events("");
  other.Events("");
  ASSERT_TRUE(plant.Start());
  ASSERT_TRUE(control.Start());
  ASSERT_TRUE(other.Start());
  for (const EngineProcess* room : {&control, &other})
    ASSERT_TRUE(Becomes([&] { return room->Log().find("tells its events") != std::string::npos; },
                        kPatience));
  control.Signal(SIGSTOP);
  const std::string id = EventXml::Id(1);
  EXPECT_TRUE(Becomes([&] { return Has(plant.Active(), id); }, kPatience));
  EXPECT_TRUE(Becomes([&] { return Has(other.Active(), "works." + id); }, 60s));
  control.Signal(SIGCONT);
  EXPECT_TRUE(Becomes([&] { return Has(control.Active(), "plant." + id); }, 60s));
}

// A plant that says nothing any more is told apart from one without events.
TEST_F(PlantAndControl, SilentPlantLosesItsEventsUntilItSpeaksAgain) {
  plant.Events(Alarm("Pump", 1, "1 = 1").Xml());
  control.Events("");
  ASSERT_TRUE(plant.Start());
  ASSERT_TRUE(control.Start());
  const std::string id = "plant." + EventXml::Id(1);
  ASSERT_TRUE(Becomes([&] { return Has(control.Active(), id); }, kPatience));
  plant.Signal(SIGSTOP);
  EXPECT_TRUE(Becomes([&] { return control.Active().empty(); }, 60s));
  plant.Signal(SIGCONT);
  EXPECT_TRUE(Becomes([&] { return Has(control.Active(), id); }, 60s));
}

// --- longer chains, and circles ---

TEST(Chain, OfFiveForwardsEventsAndAcknowledgements) {
  std::vector<std::unique_ptr<EngineProcess>> engines;
  EngineProcess* before = nullptr;
  for (int i = 0; i < 5; ++i) {
    engines.push_back(std::make_unique<EngineProcess>("Engine " + std::to_string(i)));
    if (i > 0) engines.back()->Watch({{"d" + std::to_string(i), before}});
    before = engines.back().get();
    before->Events(Alarm("Pump " + std::to_string(i), i + 1, "1 = 1").Xml());
  }
  for (const auto& engine : engines)
    ASSERT_TRUE(engine->Start());
  const std::vector<std::string> all{EventXml::Id(5), "d4." + EventXml::Id(4),
                                     "d4.d3." + EventXml::Id(3), "d4.d3.d2." + EventXml::Id(2),
                                     "d4.d3.d2.d1." + EventXml::Id(1)};
  const auto seesAll = [&] {
    const tagPicture picture = engines[4]->Active();
    for (const std::string& id : all)
      if (!Has(picture, id)) return false;
    return picture.size() == all.size();
  };
  ASSERT_TRUE(Becomes(seesAll, 60s)) << engines[4]->Log();

  std::string first;
  ASSERT_TRUE(
      Becomes([&] { return !(first = IdOf(engines[4]->Notified(), "Pump 0")).empty(); }, 60s));
  EXPECT_EQ(first.rfind("d4.d3.d2.d1.", 0), 0u) << first;
  EXPECT_EQ(engines[4]->Acknowledge(first), 204);
  const auto isMarked = [](const EngineProcess& engine) {
    const tagPicture notified = engine.Notified();
    const std::string id = IdOf(notified, "Pump 0");
    return !id.empty() && !notified.at(id).acknowledged.empty();
  };
  for (const auto& engine : engines)
    EXPECT_TRUE(Becomes([&] { return isMarked(*engine); }, 30s)) << engine->name;
}

// Each has its own event and the other's, and nothing that has been here before: also after many
// rounds in which they tell each other everything.
TEST(Chain, OfTwoThatWatchEachOtherHasNoCircles) {
  EngineProcess north("North");
  EngineProcess south("South");
  north.Watch({{"south", &south}});
  south.Watch({{"north", &north}});
  north.Events(Alarm("N", 1, "1 = 1").Xml());
  south.Events(Alarm("S", 2, "1 = 1").Xml());
  ASSERT_TRUE(north.Start());
  ASSERT_TRUE(south.Start());
  const auto isRight = [](const EngineProcess& engine, int own, const std::string& others) {
    const tagPicture picture = engine.Active();
    return picture.size() == 2 && Has(picture, EventXml::Id(own)) && Has(picture, others);
  };
  const auto northIsRight = [&] { return isRight(north, 1, "south." + EventXml::Id(2)); };
  const auto southIsRight = [&] { return isRight(south, 2, "north." + EventXml::Id(1)); };
  ASSERT_TRUE(Becomes(northIsRight, kPatience)) << north.Log();
  ASSERT_TRUE(Becomes(southIsRight, kPatience)) << south.Log();
  // Never more, whatever moment it is looked at.
  EXPECT_FALSE(Becomes(
      [&] {
        for (const EngineProcess* engine : {&north, &south})
          for (const auto& [id, event] : engine->Active())
            if (id.find("north.south.") != std::string::npos ||
                id.find("south.north.") != std::string::npos)
              return true;
        return false;
      },
      8s));
  EXPECT_TRUE(Becomes(northIsRight, 10s));
  EXPECT_TRUE(Becomes(southIsRight, 10s));
}

// --- what happens to engines and to the network between them ---

int Disturbances() {
  constexpr int kDefault = 4;
  const char* const text = std::getenv("ZR_CHAIN_DISTURBANCES");
  const int wanted = text != nullptr ? std::atoi(text) : 0;
  return wanted > 0 ? wanted : kDefault;
}

// Three in a row: the plant has events that stay and events that come and go.
class DisturbedChain : public ::testing::Test {
 protected:
  DisturbedChain() {
    plant.Simulate("[[driver.variable]]\nname = \"S\"\nform = \"switch\"\non_s = 3\noff_s = 3\n");
    std::string events;
    for (int i = 1; i <= 20; ++i)
      events += Alarm("Always " + std::to_string(i), i, "1 = 1").Xml();
    for (int i = 21; i <= 40; ++i)
      events += Alarm("At times " + std::to_string(i), i, "[sim.S] = 1").Xml();
    plant.Events(events);
    middle.Watch({{"plant", &plant}});
    middle.Events(Alarm("Middle", 50, "1 = 1").Xml());
    top.Watch({{"middle", &middle}});
    top.Events("");
  }

  // The three pictures are one, with the times of this life of the plant; the plant's own doesn't
  // change while it is looked.
  bool IsOnePicture() {
    const tagPicture before = plant.Active();
    const tagPicture seen = Through("plant.", middle.Active());
    const tagPicture above = Through("middle.plant.", top.Active());
    return before.size() >= 20 && before == seen && before == above && before == plant.Active() &&
           Has(top.Active(), "middle." + EventXml::Id(50));
  }

  EngineProcess plant{"Plant"};
  EngineProcess middle{"Middle"};
  EngineProcess top{"Top"};
};

// One disturbance of each kind in turn; who is hit, and for how long, is chance.
TEST_F(DisturbedChain, ShowsThePlantsOwnListInTheEnd) {
  const OwnNetwork network;
  if (!network.IsMade()) std::printf("no network of one's own: what would be cut is held\n");
  EngineProcess* const engines[] = {&plant, &middle, &top};
  for (EngineProcess* engine : engines)
    ASSERT_TRUE(engine->Start());
  std::mt19937 random{20261121};
  const auto wait = [&random](unsigned milliseconds) {
    (void)::poll(nullptr, 0, static_cast<int>(random() % milliseconds));
  };
  const int disturbances = Disturbances();
  for (int i = 0; i < disturbances; ++i) {
    EngineProcess& victim = *engines[random() % 3];
    switch (i % 4) {
      case 0:  // an end without a word
        victim.Kill();
        wait(3000);
        ASSERT_TRUE(victim.Start());
        break;
      case 1:  // an orderly one
        EXPECT_EQ(victim.Stop(), 0);
        wait(3000);
        ASSERT_TRUE(victim.Start());
        break;
      case 2:  // asleep
        victim.Signal(SIGSTOP);
        wait(9000);
        victim.Signal(SIGCONT);
        break;
      default:  // cut off
        if (!network.IsMade()) victim.Signal(SIGSTOP);
        ASSERT_TRUE(!network.IsMade() || network.Cut());
        wait(9000);
        ASSERT_TRUE(!network.IsMade() || network.Heal());
        victim.Signal(SIGCONT);
    }
    wait(3000);
  }
  const auto ended = std::chrono::steady_clock::now();
  EXPECT_TRUE(Becomes([this] { return IsOnePicture(); }, 90s))
      << "plant " << plant.Active().size() << ", middle " << middle.Active().size() << ", top "
      << top.Active().size() << "\n"
      << middle.Log() << top.Log();
  std::printf("%d disturbances; one picture %d ms after the last one\n", disturbances,
              static_cast<int>((std::chrono::steady_clock::now() - ended) / 1ms));
}

}  // namespace
