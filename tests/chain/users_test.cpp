// Engines that watch each other, with users on both sides.
#include "chain/engineprocess.h"

namespace {

using namespace std::chrono_literals;

constexpr std::chrono::seconds kPatience = EngineProcess::kPatience;
constexpr const char* kPassword = "correct horse";
constexpr const char* kProducer = "/services/events/producer.xml";

// At the plant the control room is the user `control`, at the control room the plant is the user
// `plant`, and ana looks after both.
class ChainWithUsers : public ::testing::Test {
 protected:
  ChainWithUsers() {
    plant.Events(EventXml("Pump", 1).Condition("1 = 1").Notify().Xml());
    control.Watch({{"plant", &plant}, {"depot", &depot}});
    control.Events("");
    for (EngineProcess* engine : {&plant, &control}) {
      Add(*engine, "ana", {"--administrator"});
      engine->login = std::string("ana:") + kPassword;
    }
    Add(plant, "control");
    for (const char* right : {"active", "notified", "acknowledge"})
      EXPECT_TRUE(plant.User("grant", {"control", right, "*"}));
    control.SignIn(plant, "control", kPassword);
    plant.SignIn(control, "plant", kPassword);
  }

  static void Add(const EngineProcess& engine, const std::string& user,
                  const std::vector<std::string>& more = {}) {
    std::vector<std::string> words{user};
    words.insert(words.end(), more.begin(), more.end());
    EXPECT_TRUE(engine.User("add", words, std::string(kPassword) + "\n"));
  }
  // The control room takes what comes from the user `plant` through that driver.
  void Trust(const std::string& user, const std::string& driver) {
    ASSERT_TRUE(control.Start());  // makes its list of drivers
    ASSERT_EQ(control.Stop(), 0);
    Add(control, user);
    ASSERT_TRUE(control.User("grant", {user, "producer", driver}));
  }
  void StartBoth() {
    ASSERT_TRUE(plant.Start());
    ASSERT_TRUE(control.Start());
  }
  bool SeesThePump() const {
    const tagPicture picture = control.Active();
    return picture.find("plant." + EventXml::Id(1)) != picture.end();
  }
  static std::string Wipe(const std::string& driver) {
    return "<producer><driverId>" + driver + "</driverId><all>T</all></producer>";
  }

  EngineProcess plant{"Plant"};
  EngineProcess depot{"Depot"};  // doesn't run
  EngineProcess control{"Control"};
};

TEST_F(ChainWithUsers, PushesAndAcknowledges) {
  ASSERT_NO_FATAL_FAILURE(Trust("plant", "plant"));
  ASSERT_NO_FATAL_FAILURE(StartBoth());
  ASSERT_TRUE(Becomes([&] { return SeesThePump(); }, kPatience)) << control.Log() << plant.Log();
  ASSERT_TRUE(Becomes([&] { return !control.Notified().empty(); }, kPatience));
  const std::string id = control.Notified().begin()->first;
  EXPECT_EQ(control.PutAs(control.login, "/services/events/ack.xml",
                          "<eventsAck><id>" + id + "</id></eventsAck>"),
            "204");
  EXPECT_TRUE(Becomes(
      [&] {
        const tagPicture notified = plant.Notified();
        return notified.size() == 1 && !notified.begin()->second.acknowledged.empty();
      },
      10s))
      << control.Log() << plant.Log();
}

TEST_F(ChainWithUsers, AccountWithoutTheRightWipesNothing) {
  ASSERT_NO_FATAL_FAILURE(Trust("plant", "plant"));
  Add(control, "depot");
  ASSERT_TRUE(control.User("grant", {"depot", "producer", "depot"}));
  ASSERT_NO_FATAL_FAILURE(StartBoth());
  ASSERT_TRUE(Becomes([&] { return SeesThePump(); }, kPatience)) << control.Log() << plant.Log();
  const std::string wrong = "depot:wrong password";
  const std::string right = std::string("depot:") + kPassword;
  EXPECT_EQ(control.PutAs(wrong, kProducer, Wipe("plant")), "401");
  EXPECT_EQ(control.PutAs(right, kProducer, Wipe("plant")), "403");
  EXPECT_EQ(control.PutAs(right, kProducer, Wipe("depot")), "204");
  EXPECT_TRUE(SeesThePump());
  // Nor with something behind the document that only the engine overlooks.
  EXPECT_EQ(control.PutAs(right, kProducer, Wipe("plant") + std::string("\0x", 2)), "400");
  EXPECT_TRUE(SeesThePump());
}

TEST_F(ChainWithUsers, WrongPasswordIsRefusedByThePlant) {
  ASSERT_NO_FATAL_FAILURE(Trust("plant", "plant"));
  control.SignIn(plant, "control", "some other password");
  ASSERT_NO_FATAL_FAILURE(StartBoth());
  EXPECT_TRUE(Becomes(
      [&] {
        return control.Log().find("refuses to tell its events: status 401") != std::string::npos;
      },
      kPatience))
      << control.Log();
  EXPECT_FALSE(SeesThePump());
  EXPECT_EQ(control.Log().find("some other password"), std::string::npos);
}

// The plant's account may not speak for the driver: the plant gives it up, and nothing is shown.
TEST_F(ChainWithUsers, AccountThatMayNotSpeakIsNotHeard) {
  ASSERT_NO_FATAL_FAILURE(Trust("plant", "depot"));
  ASSERT_NO_FATAL_FAILURE(StartBoth());
  EXPECT_TRUE(Becomes(
      [&] {
        return control.Log().find("of user plant: it may not speak for driver plant") !=
               std::string::npos;
      },
      kPatience))
      << control.Log();
  EXPECT_FALSE(SeesThePump());
}

}  // namespace
