#include "plausiblesite.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "host/platform/zrplatform.h"
#include "host/support/zrtessalysetup.h"
#include "host/tools/zrtext.h"

namespace {

// A uuid that ends in a number.
std::string Id(const char* start, int number) {
  constexpr std::size_t kDigits = 12;
  const std::string digits = std::to_string(number);
  return start + std::string(kDigits - digits.size(), '0') + digits;
}

std::string GroupId(int group) {
  return Id("bbbbbbbb-0000-4000-8000-", group);
}

std::string Event(int number, int groups) {
  const std::string place = std::to_string(number);
  const std::string first = std::to_string(number % PlantDriver::kVariables);
  const std::string second = std::to_string((number * 7 + 1) % PlantDriver::kVariables);
  return "<event>\n <id>" + Id("aaaaaaaa-0000-4000-8000-", number) + "</id>\n <idn>E" + place +
         "</idn>\n <name>Feeder " + std::to_string((number * 7919) % 1000003) +
         " power out of range</name>\n <description>Active power of feeder " + place +
         " in substation " + std::to_string(number % 97) +
         ", measured at the low-voltage side of its transformer; call the duty engineer if it "
         "lasts for "
         "more than an hour, and tell the grid operator which loads were shed meanwhile." +
         "</description>\n <annotation>Power of feeder " + place +
         " is %a1 kW, for more than %b s</annotation>\n <deaAnnotation>Power of feeder " + place +
         " is back at %a1 kW</deaAnnotation>\n <ackAnnotation>Seen</ackAnnotation>\n"
         " <notify>T</notify>\n <record>T</record>\n <rssActivate>F</rssActivate>\n"
         " <rssDeactivate>F</rssDeactivate>\n <rssAcknowledge>F</rssAcknowledge>\n"
         " <delayToActivate>5</delayToActivate>\n <delayToDeactivate>10</delayToDeactivate>\n"
         " <condition>[plant.V" +
         first + "] &gt; " + std::to_string(100 + number % 50) + " and [plant.V" + second +
         "] &gt; 0.9</condition>\n <eventsGroups>\n  <eventsGroup>" + GroupId(number % groups) +
         "</eventsGroup>\n </eventsGroups>\n <arguments>\n  <argument>\n"
         "   <value>[plant.V" +
         first +
         "]</value>\n   <format>1</format>\n"
         "   <thousandSeparator>F</thousandSeparator>\n  </argument>\n </arguments>\n"
         " <actions>\n  <activate></activate>\n  <deactivate></deactivate>\n "
         "</actions>\n</event>\n";
}

}  // namespace

PlausibleSite::PlausibleSite(const tagPlausibleSite& shape) {
  std::string pattern =
      (std::filesystem::temp_directory_path() / "tessaly-benchmark-XXXXXX").string();
  folder = ::mkdtemp(pattern.data());
  std::filesystem::create_directory(folder + "/config");
  std::ofstream(folder + "/tessaly.toml") << "name = \"Plant\"\n";
  std::ofstream xeve(folder + "/config/default.xeve");
  xeve << "<main><eventsGroups>";
  for (int group = 0; group < shape.groups; ++group) {
    xeve << "<eventsGroup><id>" << GroupId(group) << "</id><name>Substation " << group
         << "</name></eventsGroup>";
  }
  xeve << "</eventsGroups><events>\n";
  for (int event = 0; event < shape.events; ++event) {
    const std::string xml = Event(event, shape.groups);
    bytes += xml.size();
    xeve << xml;
  }
  xeve << "</events></main>";
  xeve.close();
  std::vector<ZRSettingProblem> problems;
  std::vector<ZRSettingProblem> warnings;
  if (!ZRTessalySetup::Get().Load(Utf8ToUtf16(std::string_view(folder)), problems, warnings))
    std::abort();
}

ZRWString PlausibleSite::EventsFile() const {
  return Utf8ToUtf16(std::string_view(folder + "/config/default.xeve"));
}

PlausibleSite::~PlausibleSite() {
  std::error_code ignored;
  std::filesystem::remove_all(folder, ignored);
}

PlantDriver::PlantDriver() : ZRDriver(L"plant", L"plant") {
  for (int i = 0; i < kVariables; ++i)
    numbers.push_back(AddVariable(FormatWide(L"V%d", i)));
}

void PlantDriver::Show(double value) {
  for (const std::int64_t number : numbers)
    Variable(number).SetNumber(value, ZRPlatform::Get().UtcMilliseconds());
}

void PlantDriver::ShowQuiet() {
  Show(1.0);
}

void PlantDriver::ShowActive() {
  Show(200.0);
}

void PlantDriver::ShowNothing() {
  for (const std::int64_t number : numbers)
    Variable(number).SetUnavailable();
}
