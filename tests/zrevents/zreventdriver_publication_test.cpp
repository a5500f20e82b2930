// What an event tells the bus, and what it does without one.

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "host/messaging/zrmessaging.h"
#include "support/enginetest.h"
#include "support/logcapture.h"
#include "support/oneevent.h"

namespace {

namespace Engine = Domain::EventsNS::EngineEventsNS;

// A bus that notes each step, and that can be without publishers or refuse what it is given.
struct tagBus {
  bool hasPublishers = true;
  bool accepts = true;
  int factoriesAlive = 0;
  int publishersAlive = 0;
  int asked = 0;  // for a publisher
  std::vector<std::wstring> sent;
};

template <typename Publisher>
class CPublisher final : public Publisher {
 public:
  explicit CPublisher(tagBus& of) : bus(of) { ++bus.publishersAlive; }
  ~CPublisher() override { --bus.publishersAlive; }
  CPublisher(const CPublisher&) = delete;
  CPublisher& operator=(const CPublisher&) = delete;
  bool Publish(const std::wstring& json) override {
    bus.sent.push_back(json);
    return bus.accepts;
  }

 private:
  tagBus& bus;
};

template <typename Factory, typename Publisher>
class CFactory final : public Factory {
 public:
  explicit CFactory(tagBus& of) : bus(of) { ++bus.factoriesAlive; }
  ~CFactory() override { --bus.factoriesAlive; }
  CFactory(const CFactory&) = delete;
  CFactory& operator=(const CFactory&) = delete;
  std::shared_ptr<Publisher> Create() override {
    ++bus.asked;
    return bus.hasPublishers ? std::make_shared<CPublisher<Publisher>>(bus) : nullptr;
  }

 private:
  tagBus& bus;
};

class OpenEvent : public OwnEvent {
 public:
  void Publish(tagSEventRT transition) { PublishTriggeredEvent(&transition); }
};

class Publication : public EngineTest {
 protected:
  static constexpr const char* kName = "Pump";

  Publication() {
    LoadXeve("");
    EngineCreationPublisherManager::SetEngineUuid(L"engine-1");
  }
  ~Publication() override {
    SetCreation(false);
    SetTriggered(false);
    EngineCreationPublisherManager::SetEngineUuid(L"");
  }

  void SetCreation(bool there) {
    using tagFactory =
        CFactory<Engine::EventCreationPublisherFactory, Engine::EventCreationPublisher>;
    EventCreationPublisherManager::SetEventCreationPublisherFactory(
        there ? std::make_shared<tagFactory>(creation) : nullptr);
  }
  void SetTriggered(bool there) {
    using tagFactory =
        CFactory<Engine::EventTriggeredPublisherFactory, Engine::EventTriggeredPublisher>;
    EventTriggeredPublisherManager::SetEventTriggeredPublisherManagerFactory(
        there ? std::make_shared<tagFactory>(triggered) : nullptr);
  }

  static EventXml Definition(const std::string& name = kName) {
    return EventXml(name).Condition("1 = 1").Record();
  }
  bool MakeEvent(const EventXml& definition) {
    event = std::make_unique<OpenEvent>();
    return event->LoadText(definition.Xml());
  }
  // A record of a transition, with an annotation in UTF-8.
  static tagSEventRT Record(int status, const char* annotation = "") {
    tagSEventRT record;
    record.status = status;
    record.actived = ZRDateTime::FromUtcMilliseconds(ZRVirtualTime::kDefaultUtc + 1234);
    record.annotation = annotation;
    return record;
  }
  static std::wstring Expected(const std::wstring& transition, const std::wstring& annotation) {
    return GetPublishTriggeredEventJSON(L"engine-1", L"2026-01-01T00:00:01.234Z",
                                        std::wstring(Wide(EventXml::Id(1)).View()), transition,
                                        annotation);
  }
  using tagLines = std::vector<LogCapture::tagLine>;

  tagBus creation;
  tagBus triggered;
  std::unique_ptr<OpenEvent> event;
};

// --- a defined event ---

TEST_F(Publication, WithoutAFactoryADefinedEventCostsOneLine) {
  const LogCapture log;
  EXPECT_TRUE(MakeEvent(Definition()));
  EXPECT_EQ((tagLines{{kLogTrace,
                       "Created event 'Pump' with no EventCreationPublisherFactory set. Nothing "
                       "published..."}}),
            log.Lines());
}

TEST_F(Publication, WithoutAPublisherADefinedEventCostsOneLine) {
  SetCreation(true);
  creation.hasPublishers = false;
  const LogCapture log;
  EXPECT_TRUE(MakeEvent(Definition()));
  EXPECT_EQ((tagLines{{kLogTrace,
                       "Created event 'Pump' with no EventCreationPublisher set. Nothing "
                       "published..."}}),
            log.Lines());
  EXPECT_TRUE(creation.sent.empty());
}

TEST_F(Publication, ADefinedEventIsAnnouncedWithItsFourFieldsAndNoLine) {
  SetCreation(true);
  const LogCapture log;
  const std::string id = "{AAAAAAAA-0000-4000-8000-000000000001}";
  EXPECT_TRUE(MakeEvent(EventXml::Bare()
                            .With("id", id)
                            .With("name", kName)
                            .With("description", "\xC3\x91 runs dry")
                            .Condition("1 = 1")));
  ASSERT_EQ(1u, creation.sent.size());
  EXPECT_EQ(GetPublishThatANewEventHasBeenCreatedJSON(L"engine-1", std::wstring(Wide(id).View()),
                                                      L"Pump", L"\x00D1 runs dry"),
            creation.sent[0]);
  EXPECT_TRUE(log.Lines().empty());
  EXPECT_TRUE(triggered.sent.empty());
}

TEST_F(Publication, AnEventWithoutANameIsNotAnnounced) {
  SetCreation(true);
  const LogCapture log;
  EXPECT_FALSE(
      MakeEvent(EventXml::Bare().With("id", EventXml::Id(1)).With("name", "").Condition("1 = 1")));
  EXPECT_EQ(0, creation.asked);
  SetCreation(false);
  EXPECT_FALSE(MakeEvent(EventXml::Bare().With("id", EventXml::Id(1)).Condition("1 = 1")));
  EXPECT_TRUE(log.Lines().empty());
}

TEST_F(Publication, AnEventThatDoesNotLoadIsNotAnnounced) {
  SetCreation(true);
  EXPECT_FALSE(MakeEvent(EventXml(kName)));  // without a condition
  EXPECT_FALSE(MakeEvent(EventXml::Bare().With("id", "none").With("name", kName)));
  EXPECT_EQ(0, creation.asked);
}

TEST_F(Publication, AllEventsOfADocumentAreAnnouncedInItsOrder) {
  SetCreation(true);
  LoadXeve(Definition("b").Xml() + Definition("a").Xml());
  ASSERT_EQ(2u, creation.sent.size());
  EXPECT_NE(std::wstring::npos, creation.sent[0].find(L"\"name\":\"b\""));
  EXPECT_NE(std::wstring::npos, creation.sent[1].find(L"\"name\":\"a\""));
}

// --- a transition ---

TEST_F(Publication, WithoutAFactoryATransitionCostsOneLine) {
  EXPECT_TRUE(MakeEvent(Definition()));
  const LogCapture log;
  event->Publish(Record(kActivated));
  EXPECT_EQ((tagLines{{kLogTrace,
                       "Updated event 'Pump' with no EventTriggeredPublisherFactory set. Nothing "
                       "published..."}}),
            log.Lines());
}

TEST_F(Publication, WithoutAPublisherATransitionCostsOneLine) {
  EXPECT_TRUE(MakeEvent(Definition()));
  SetTriggered(true);
  triggered.hasPublishers = false;
  const LogCapture log;
  event->Publish(Record(kActivated));
  EXPECT_EQ((tagLines{{kLogTrace,
                       "Updated event 'Pump' with no EventTriggeredPublisher set. Nothing "
                       "published..."}}),
            log.Lines());
  EXPECT_TRUE(triggered.sent.empty());
}

// No text from outside is a format.
TEST_F(Publication, ANameIsLoggedToTheLetter) {
  const std::string name = "100% %s %n %ls %5d";
  const LogCapture log;
  EXPECT_TRUE(MakeEvent(Definition(name)));
  event->Publish(Record(kActivated));
  creation.hasPublishers = false;
  triggered.hasPublishers = false;
  SetCreation(true);
  SetTriggered(true);
  EXPECT_TRUE(MakeEvent(Definition(name)));
  event->Publish(Record(kActivated));
  const std::string created = "Created event '" + name + "' with no EventCreationPublisher";
  const std::string updated = "Updated event '" + name + "' with no EventTriggeredPublisher";
  EXPECT_EQ((tagLines{{kLogTrace, created + "Factory set. Nothing published..."},
                      {kLogTrace, updated + "Factory set. Nothing published..."},
                      {kLogTrace, created + " set. Nothing published..."},
                      {kLogTrace, updated + " set. Nothing published..."}}),
            log.Lines());
}

struct tagTransitionCase {
  int status;
  const wchar_t* text;
};
void PrintTo(const tagTransitionCase& one, std::ostream* out) {
  *out << one.status;
}
class PublishedTransition : public Publication,
                            public ::testing::WithParamInterface<tagTransitionCase> {};

// The status is a value here: with several bits it is none of the three.
TEST_P(PublishedTransition, HasItsText) {
  EXPECT_TRUE(MakeEvent(Definition()));
  SetTriggered(true);
  const LogCapture log;
  event->Publish(Record(GetParam().status, "dry"));
  ASSERT_EQ(1u, triggered.sent.size());
  EXPECT_EQ(Expected(GetParam().text, L"dry"), triggered.sent[0]);
  EXPECT_TRUE(log.Lines().empty());
}

INSTANTIATE_TEST_SUITE_P(
    Table, PublishedTransition,
    ::testing::Values(tagTransitionCase{1, L"ON"}, tagTransitionCase{2, L"OFF"},
                      tagTransitionCase{4, L"ACK"}, tagTransitionCase{3, L"NONE"},
                      tagTransitionCase{7, L"NONE"}, tagTransitionCase{0, L"NONE"},
                      tagTransitionCase{5, L"NONE"}));

// Required: the bytes of the UTF-8 text, each as one unit, and none of them negative.
TEST_F(Publication, TheAnnotationGoesOutByteByByte) {
  EXPECT_TRUE(MakeEvent(Definition()));
  SetTriggered(true);
  event->Publish(Record(kActivated, "\xC3\xB1 \xE2\x82\xAC \x7F"));
  ASSERT_EQ(1u, triggered.sent.size());
  EXPECT_EQ(Expected(L"ON", L"\x00C3\x00B1 \x00E2\x0082\x00AC \x007F"), triggered.sent[0]);
  EXPECT_NE(std::wstring::npos, triggered.sent[0].find(L"\\u00c3\\u00b1"));
}

TEST_F(Publication, TransitionsOfAnEventInTheEngineAreAnnouncedInTheirOrder) {
  SetTriggered(true);
  LoadXeve(EventXml(kName)
               .Condition("[P.RUN] = 1")
               .Record()
               .With("annotation", "on")
               .With("deaAnnotation", "off")
               .Xml());
  Set("RUN", 1);
  StartServer();
  Set("RUN", 0);
  Passes();
  const std::wstring id(Wide(EventXml::Id(1)).View());
  EXPECT_EQ(
      (std::vector<std::wstring>{
          GetPublishTriggeredEventJSON(L"engine-1", L"2026-01-01T00:00:00.000Z", id, L"ON", L"on"),
          GetPublishTriggeredEventJSON(L"engine-1", L"2026-01-01T00:00:01.000Z", id, L"OFF",
                                       L"off")}),
      triggered.sent);
}

TEST_F(Publication, AnEventWithoutRecordAsksForNoFactory) {
  SetTriggered(true);
  Load(EventXml(kName).Condition("1 = 1").Notify());
  StartServer();
  EXPECT_TRUE(Find(kName)->IsEnabled());
  EXPECT_EQ(0, triggered.asked);
  StopServer();
  SetTriggered(false);
  Load(EventXml(kName).Condition("1 = 1").Notify());
  const LogCapture log;
  StartServer();
  EXPECT_TRUE(log.Starting("Updated event").empty());
}

// --- the bus ---

TEST_F(Publication, FactoryAndPublisherAreAskedForAnewAndLetGo) {
  SetCreation(true);
  SetTriggered(true);
  for (int message = 1; message <= 3; ++message) {
    EXPECT_TRUE(MakeEvent(Definition()));
    event->Publish(Record(kActivated));
    EXPECT_EQ(message, creation.asked);
    EXPECT_EQ(message, triggered.asked);
    EXPECT_EQ(0, creation.publishersAlive);
    EXPECT_EQ(0, triggered.publishersAlive);
  }
  SetCreation(false);
  SetTriggered(false);
  EXPECT_EQ(0, creation.factoriesAlive);
  EXPECT_EQ(0, triggered.factoriesAlive);
}

TEST_F(Publication, ARefusalIsNobodysConcern) {
  SetCreation(true);
  SetTriggered(true);
  creation.accepts = false;
  triggered.accepts = false;
  const LogCapture log;
  EXPECT_TRUE(MakeEvent(Definition()));
  event->Publish(Record(kActivated));
  EXPECT_EQ(1u, creation.sent.size());
  EXPECT_EQ(1u, triggered.sent.size());  // no retry
  EXPECT_TRUE(log.Lines().empty());
}

TEST_F(Publication, TheEngineIsAskedForItsIdWithEachMessage) {
  EXPECT_TRUE(MakeEvent(Definition()));
  SetTriggered(true);
  event->Publish(Record(kActivated));
  EngineCreationPublisherManager::SetEngineUuid(L"engine-2");
  event->Publish(Record(kActivated));
  ASSERT_EQ(2u, triggered.sent.size());
  EXPECT_NE(std::wstring::npos, triggered.sent[0].find(L"\"engine\":\"engine-1\""));
  EXPECT_NE(std::wstring::npos, triggered.sent[1].find(L"\"engine\":\"engine-2\""));
}

// Required: what the document form of the active service composes stays in the event.
TEST_F(Publication, AfterADocumentForAListenerMessagesCarryTheComposedId) {
  SetTriggered(true);
  XmlDocument forListener;
  forListener.Create(L"producer");
  OpenEvent other;
  ASSERT_TRUE(other.LoadText(Definition().Xml()));
  ASSERT_TRUE(other.Work(ZRDateTime::LTC()));  // active from now on
  triggered.sent.clear();
  other.Publish(Record(kActivated));
  ASSERT_TRUE(other.ProcessHttpServiceEventsActived(forListener, L"north", L"North"));
  other.Publish(Record(kActivated));
  ASSERT_EQ(2u, triggered.sent.size());
  const std::wstring id(Wide(EventXml::Id(1)).View());
  EXPECT_NE(std::wstring::npos, triggered.sent[0].find(L"\"id\":\"" + id + L"\""));
  EXPECT_NE(std::wstring::npos, triggered.sent[1].find(L"\"id\":\"north." + id + L"\""));
}

}  // namespace
