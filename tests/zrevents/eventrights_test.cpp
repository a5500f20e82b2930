// Who sees and acknowledges what: each kind of right, held alone and missing alone, on each group
// and each driver.

#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <string>
#include <tuple>

#include "support/accessrule.h"
#include "support/enginetest.h"
#include "support/fakesecurity.h"
#include "support/golden.h"
#include "support/listtest.h"

namespace {

constexpr const char* kNorth = "bbbbbbbb-0000-4000-8000-00000000000a";
constexpr const char* kSouth = "bbbbbbbb-0000-4000-8000-00000000000b";
constexpr int kRights[] = {6, 7, 8, 11, 16, 17, 18};

// Local events "N" and "S", in the groups North and South; remote ones "r" and "s", through the
// drivers R and S. All of them are active and notified.
class RightsSite : public EngineTest {
 protected:
  RightsSite() {
    for (const char* id : {"R", "S"})
      remotes.push_back(
          static_cast<RemoteDriver*>(ZRDriver::Register(std::make_unique<RemoteDriver>(id, id))));
  }
  void Serve() {
    LoadXeve(Event("N", 1, kNorth).Xml() + Event("S", 2, kSouth).Xml(),
             GroupXml(kNorth, "North") + GroupXml(kSouth, "South"));
    StartServer();
    Remote("R.1", "r");
    Remote("S.1", "s");
  }
  static EventXml Event(const std::string& name, int number, const char* group) {
    return EventXml(name, number).Condition("1 = 1").Notify().Group(group);
  }
  void Remote(const std::string& id, const std::string& name) {
    XmlDocument received;
    ASSERT_TRUE(received.Parse(RemoteXml(id)
                                   .With("idn", "Hall." + name)
                                   .With("name", name)
                                   .With("notified", "T")
                                   .With("canAcknowledge", "T")
                                   .On("2026-03-01 07:00:00")
                                   .Xml()
                                   .c_str()));
    for (const bool isActive : {true, false})
      server->EventList().UpdateEntry(received.Root(), isActive);
  }
  template <typename Service>
  std::string Ask(Service service) {
    FakeRequest request(false, "Ann");
    FakeResponse response;
    EXPECT_TRUE((server.get()->*service)(request, response));
    return response.body;
  }
  std::string ActiveAnswer() { return Ask(&ZREventServer::ProcessHttpServiceEventsActived); }
  std::string NotifiedAnswer() { return Ask(&ZREventServer::ProcessHttpServiceEventsNotified); }
  // The names that an answer lists; with a "!" where `canAcknowledge` is "T".
  static std::string Names(const std::string& xml) {
    XmlDocument document;
    EXPECT_TRUE(document.Parse(xml.c_str()));
    std::string names;
    for (auto event = document.Root()->ChildsBegin(); event != document.Root()->ChildsEnd();
         ++event) {
      names += (*event)->ValueUtf8("name");
      if ((*event)->bValue(L"canAcknowledge", false)) names += "!";
    }
    return names;
  }

  std::vector<RemoteDriver*> remotes;
};

enum class Service { kActive, kNotified, kAcknowledge };
using tagCase = std::tuple<Service, int, const char*, bool>;

class RightsMatrix : public RightsSite, public ::testing::WithParamInterface<tagCase> {
 protected:
  // All rights on all resources but one, or that one alone.
  static std::set<std::pair<int, std::string>> Held(int right, const std::string& resource,
                                                    bool isAlone) {
    if (isAlone) return {{right, resource}};
    std::set<std::pair<int, std::string>> all;
    for (const int each : kRights)
      for (const char* on : {kNorth, kSouth, "R", "S"})
        all.emplace(each, on);
    all.erase({right, resource});
    return all;
  }
  // What is acknowledged when all four events are named.
  std::string Acknowledge() {
    FakeRequest request(false, "Ann");
    const std::string body = "<eventsAck><id>" + EventXml::Id(1) + "</id><id>" + EventXml::Id(2) +
                             "</id><id>R.1</id><id>S.1</id></eventsAck>";
    EXPECT_TRUE(server->ProcessHttpServiceAck(
        request, reinterpret_cast<const unsigned char*>(body.c_str())));
    std::string names;
    for (const char* local : {"N", "S"})
      if (Find(local)->GetLastEventAcknowledgeDateTime().Valid()) names += local;
    if (!remotes[0]->acknowledged.empty()) names += "r";
    if (!remotes[1]->acknowledged.empty()) names += "s";
    return names;
  }
};

// The table: which right decides on which event, and what then is seen of it.
struct tagRule {
  Service service;
  const char* resource;
  int right;        // shows, or acknowledges
  int acknowledge;  // gives canAcknowledge; 0 where there is none
  const char* name;
};
constexpr tagRule kRules[] = {
    {Service::kActive, kNorth, 7, 0, "N"},      {Service::kActive, kSouth, 7, 0, "S"},
    {Service::kActive, "R", 17, 0, "r"},        {Service::kActive, "S", 17, 0, "s"},
    {Service::kNotified, kNorth, 8, 6, "N"},    {Service::kNotified, kSouth, 8, 6, "S"},
    {Service::kNotified, "R", 18, 16, "r"},     {Service::kNotified, "S", 18, 16, "s"},
    {Service::kAcknowledge, kNorth, 6, 0, "N"}, {Service::kAcknowledge, kSouth, 6, 0, "S"},
    {Service::kAcknowledge, "R", 16, 0, "r"},   {Service::kAcknowledge, "S", 16, 0, "s"}};

std::string Expected(Service service, int right, const std::string& resource, bool isAlone) {
  std::string names;
  for (const tagRule& rule : kRules) {
    if (rule.service != service) continue;
    const bool isThisOne = resource == rule.resource;
    const bool isSeen = (isThisOne && right == rule.right) == isAlone;
    if (!isSeen) continue;
    names += rule.name;
    if (rule.acknowledge != 0 && !isAlone && !(isThisOne && right == rule.acknowledge))
      names += "!";
  }
  return names;
}

TEST_P(RightsMatrix, Gives) {
  const auto [service, right, resource, isAlone] = GetParam();
  Serve();
  const auto held = Held(right, resource, isAlone);
  const AccessRule rule(held);
  const FakeSecurity security(held);
  const std::string expected = Expected(service, right, resource, isAlone);
  if (service == Service::kAcknowledge) {
    EXPECT_EQ(Acknowledge(), expected);
    return;
  }
  const bool isActive = service == Service::kActive;
  EXPECT_EQ(Names(isActive ? ActiveAnswer() : NotifiedAnswer()), expected);
  FakeRequest request(false, "Ann");
  FakeResponse response;
  const int count = isActive ? server->ActiveEventsCount(request, response)
                             : server->NotifiedEventsCount(request, response);
  const auto letters =
      std::count_if(expected.begin(), expected.end(), [](char c) { return c != '!'; });
  EXPECT_EQ(count, letters) << "the counter agrees";
}

std::string NameOf(const ::testing::TestParamInfo<tagCase>& info) {
  const auto [service, right, resource, isAlone] = info.param;
  const std::string on = resource == kNorth   ? "GroupNorth"
                         : resource == kSouth ? "GroupSouth"
                                              : "Driver" + std::string(resource);
  const char* const names[] = {"Active", "Notified", "Acknowledge"};
  return std::string(names[static_cast<std::size_t>(service)]) + (isAlone ? "With" : "Without") +
         "Right" + std::to_string(right) + "On" + on;
}

INSTANTIATE_TEST_SUITE_P(EachRight, RightsMatrix,
                         ::testing::Combine(::testing::Values(Service::kActive, Service::kNotified,
                                                              Service::kAcknowledge),
                                            ::testing::ValuesIn(kRights),
                                            ::testing::Values(kNorth, kSouth, "R", "S"),
                                            ::testing::Bool()),
                         NameOf);

// --- local and remote events mixed, byte for byte ---

class MixedDocuments : public RightsSite {
 protected:
  MixedDocuments() {
    EXPECT_TRUE(ZRDateTime::SetLocalZone("Europe/Madrid"));
    time.SetUtc(1'772'351'910'500);  // 2026-03-01T07:58:30.500Z
  }
  ~MixedDocuments() override { EXPECT_TRUE(ZRDateTime::SetLocalZone("")); }

  // The ids of occurrences are drawn: those of the golden file take their place.
  static std::string WithFixedIds(std::string xml) {
    int number = 0;
    XmlDocument document;
    EXPECT_TRUE(document.Parse(xml.c_str()));
    for (auto event = document.Root()->ChildsBegin(); event != document.Root()->ChildsEnd();
         ++event) {
      const std::string drawn((*event)->ValueUtf8("id"));
      if (drawn.find('.') != std::string::npos) continue;
      const std::string fixed = "cccccccc-0000-4000-8000-00000000000" + std::to_string(++number);
      for (std::size_t at = xml.find(drawn); at != std::string::npos; at = xml.find(drawn, at))
        xml.replace(at, drawn.size(), fixed);
    }
    return xml;
  }
  // What the listener thread sends to an engine that gets everything.
  std::string Complete() {
    ZREventListener listener(L"L", "", 0);
    XmlDocument document;
    document.Create(L"producer");
    for (const char* name : {"N", "S"}) {
      EXPECT_TRUE(Find(name)->ProcessHttpServiceEventsNotified(document, true, L"L", L"Lobby"));
      EXPECT_TRUE(Find(name)->ProcessHttpServiceEventsActived(document, L"L", L"Lobby"));
    }
    EXPECT_TRUE(server->EventList().AddAllActived(listener, document, L"Ann", L"L", L"Lobby"));
    EXPECT_TRUE(server->EventList().AddAllNotified(document, L"Ann", L"L", L"Lobby"));
    ZRString code;
    document.CreateXmlCode(code, true);
    return Str(code);
  }
};

TEST_F(MixedDocuments, WithoutUsersAreTheGoldenFiles) {
  Serve();
  EXPECT_EQ(ActiveAnswer(), Golden("active-remote.xml"));
  EXPECT_EQ(WithFixedIds(NotifiedAnswer()), Golden("notified-remote.xml"));
  EXPECT_EQ(Complete(), Golden("complete-engine.xml"));
}

TEST_F(MixedDocuments, WithRightsAreTheGoldenFiles) {
  Serve();
  const std::set<std::pair<int, std::string>> held = {{7, kSouth}, {8, kNorth}, {8, kSouth},
                                                      {6, kNorth}, {17, "R"},   {18, "R"},
                                                      {18, "S"},   {16, "S"}};
  const AccessRule rule(held);
  const FakeSecurity security(held);
  EXPECT_EQ(ActiveAnswer(), Golden("active-remote-rights.xml"));
  EXPECT_EQ(WithFixedIds(NotifiedAnswer()), Golden("notified-remote-rights.xml"));
}

}  // namespace
