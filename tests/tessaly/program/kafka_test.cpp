// The event bus of a running site on a Kafka cluster that nobody here wrote.
#include <gmock/gmock.h>

#include "support/kafkacluster.h"
#include "tessaly/program/programfixture.h"

namespace {

using testing::HasSubstr;
using testing::SizeIs;

class KafkaProgram : public Program {
 protected:
  void SetUp() override {
    Settings("[bus]\nkind = \"kafka\"\nhost = \"127.0.0.1\"\nport = " +
             std::to_string(cluster.Port()) + "\n");
    Events(EventXml("Always", 1).Condition("1 = 1").Record());
  }

  KafkaCluster cluster;
};

TEST_F(KafkaProgram, ShowsDefinitionsStatesAndTransitions) {
  ASSERT_NE(0, Start()) << program->Error();
  const auto transitions = cluster.Read("tessaly.transition", 1);
  ASSERT_THAT(transitions, SizeIs(1)) << program->Error();
  EXPECT_THAT(transitions[0].value, HasSubstr(R"("transition":"ON")"));
  const auto definitions = cluster.Read("tessaly.definition", 1);
  ASSERT_THAT(definitions, SizeIs(1));
  EXPECT_THAT(definitions[0].value, HasSubstr(R"("name":"Always")"));
  EXPECT_EQ(definitions[0].key, transitions[0].key);
  EXPECT_EQ(kDone, Stop());
  const std::size_t changes = cluster.Size("tessaly.state");
  const auto states = cluster.Read("tessaly.state", changes);
  ASSERT_FALSE(states.empty());
  EXPECT_THAT(states.back().value, HasSubstr(R"("state":"ON")"));
  const auto status = cluster.Read("tessaly.status", 2);
  ASSERT_THAT(status, SizeIs(2));
  EXPECT_EQ("online", status[0].value);
  EXPECT_EQ("offline", status[1].value);
}

TEST_F(KafkaProgram, TakesAnEventAwayThatAReloadDoesNotFind) {
  ASSERT_NE(0, Start()) << program->Error();
  const auto before = cluster.Read("tessaly.definition", 1);
  ASSERT_THAT(before, SizeIs(1)) << program->Error();
  Events(EventXml("Ever", 2).Condition("1 = 1"));
  program->Signal(SIGHUP);
  const auto after = cluster.Read("tessaly.definition", 3);
  ASSERT_THAT(after, SizeIs(3)) << program->Error();
  EXPECT_THAT(after[1].value + after[2].value, HasSubstr(R"("name":"Ever")"));
  const auto& tombstone = after[1].isTombstone ? after[1] : after[2];
  EXPECT_TRUE(tombstone.isTombstone);
  EXPECT_EQ(before[0].key, tombstone.key);
}

TEST_F(KafkaProgram, GoesOnWithoutAClusterAndFindsItLater) {
  cluster.GoDown();
  ASSERT_NE(0, Start()) << program->Error();
  ASSERT_TRUE(program->WaitFor("Connection refused")) << program->Error();
  cluster.ComeUp();
  EXPECT_THAT(cluster.Read("tessaly.transition", 1), SizeIs(1)) << program->Error();
  cluster.GoDown();
  EXPECT_EQ(kDone, Stop());
}

TEST_F(KafkaProgram, IsToldWhichSettingsAreForTheOtherKind) {
  Settings("[bus]\nkind = \"kafka\"\nhost = \"127.0.0.1\"\ndiscovery = true\n");
  EXPECT_EQ(kImpossible, Run({"check"}));
  EXPECT_THAT(out + error, HasSubstr("bus.discovery is for a bus of the kind \"mqtt\" only"));
}

}  // namespace
