#include "zrevents/publication/zrselectionxmlcreatoreventsvariables.h"

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "host/driversupport/zrdriver.h"
#include "host/tools/zrstringtable.h"
#include "support/golden.h"
#include "support/text.h"

namespace {

using Names = std::vector<std::string>;

constexpr const char* kId = "aaaaaaaa-0000-4000-8000-000000000001";
const tagVariableFlags kEach = tagVariableFlags().set();

// A driver that tells of its variables what the test wants, and keeps the calls.
class CDevice final : public ZRDriver {
 public:
  explicit CDevice(const std::string& name) : ZRDriver(Wide(kId), Wide(name)) {}

  void Has(const std::string& variable, const tagVariableFlags& flags = kEach) {
    names.push_back(variable);
    told[variable] = flags;
  }
  bool FindVariable(const wchar_t* variable, tagSVariableHandle& handle) override {
    const std::string wanted = Narrow(variable);
    calls.push_back("find " + wanted);
    const auto found = std::find(names.begin(), names.end(), wanted);
    if (found == names.end()) return false;
    handle.number = found - names.begin();
    return true;
  }
  void ReleaseVariable(tagSVariableHandle& handle, int reserved) override {
    calls.push_back("release " + names[static_cast<std::size_t>(handle.number)]);
    EXPECT_EQ(0, reserved);
  }
  bool VariableInfo(const tagSVariableHandle& handle, tagSVariableInfo& info,
                    int reserved) override {
    const std::string& name = names[static_cast<std::size_t>(handle.number)];
    calls.push_back("info " + name);
    EXPECT_EQ(0, reserved);
    if (name == silent) return false;
    info.name = Wide(shownAs.empty() ? name : shownAs);
    info.flags = told[name];
    return true;
  }

  Names calls;
  std::string silent;   // nothing is told of this one
  std::string shownAs;  // in place of the name that was asked for

 private:
  Names names;
  std::map<std::string, tagVariableFlags> told;
};

class Selection : public ::testing::Test {
 protected:
  ~Selection() override { EXPECT_TRUE(SetStringLanguage("en")); }

  void HasAll() {
    // Not in the order of the form.
    for (const char* name : {"CTIM", "CACK", "OTHER", "ST", "CDIS", "TACT", "CACT"})
      device.Has(name);
  }
  std::string Make(const tagVariableFlags& flags = kEach) {
    ZRSelectionXmlCreatorEventsVariables creator(&device, &metrics);
    XmlDocument document;
    document.Create(L"earlier");
    EXPECT_TRUE(creator.CreateSelection(document, flags));
    ZRString code;
    document.CreateXmlCode(code, true);
    return Str(code);
  }
  // What stands between the tags of that name, in its order.
  static Names Values(const std::string& xml, const std::string& tag) {
    Names values;
    const std::string start = "<" + tag + ">";
    for (std::size_t at = xml.find(start); at != std::string::npos; at = xml.find(start, at + 1)) {
      const std::size_t from = at + start.size();
      values.push_back(xml.substr(from, xml.find("</" + tag + ">", from) - from));
    }
    return values;
  }

  const ZRDriverLayoutMetrics metrics{};
  CDevice device{"Pump"};
};

TEST_F(Selection, OfAllVariablesHasARowForEachAndOneForAll) {
  HasAll();
  const std::string xml = Make();
  EXPECT_EQ(Golden("selection-all.xml"), xml);
  EXPECT_EQ((Names{"Select all", "State", "Active time", "Activations", "Deactivations",
                   "Acknowledgements", "Active time"}),
            Values(xml, "text"));
}

TEST_F(Selection, OfOneVariableHasOneRowAndOneForAll) {
  device.Has("ST");
  EXPECT_EQ(Golden("selection-one.xml"), Make());
  EXPECT_EQ(PageExample("docs/wire/selection.md"), Golden("selection-one.xml"));
}

TEST_F(Selection, OfNoVariableIsAText) {
  device.Has("OTHER");
  EXPECT_EQ(Golden("selection-none.xml"), Make());
}

TEST_F(Selection, RowsAreInTheOrderOfTheForm) {
  HasAll();
  const Names order{"Pump.ST", "Pump.TACT", "Pump.CACT", "Pump.CDIS", "Pump.CACK", "Pump.CTIM"};
  Names expected = order;  // of the row for all
  for (const std::string& name : order)
    expected.insert(expected.end(), 2, name);
  EXPECT_EQ(expected, Values(Make(), "var"));
}

TEST_F(Selection, WithoutFlagsHasNothing) {
  HasAll();
  EXPECT_EQ(Golden("selection-none.xml"), Make({}));
}

TEST_F(Selection, IsOfTheVariablesThatMatchAFlag) {
  device.Has("ST", tagVariableFlags("100"));
  device.Has("TACT", tagVariableFlags("10000"));
  device.Has("CACT", tagVariableFlags("1000"));
  device.Has("CDIS", {});
  EXPECT_EQ((Names{"Pump.ST", "Pump.ST"}), Values(Make(tagVariableFlags("100")), "var"));
  EXPECT_EQ((Names{"Pump.ST", "Pump.CACT", "Pump.ST", "Pump.ST", "Pump.CACT", "Pump.CACT"}),
            Values(Make(tagVariableFlags("1100")), "var"));
  EXPECT_EQ(Golden("selection-none.xml"), Make(tagVariableFlags("10")));
}

TEST_F(Selection, RowForAllGoesByTheWantedFlagsAlone) {
  device.Has("ST", tagVariableFlags("100"));
  EXPECT_EQ((Names{"State"}), Values(Make(tagVariableFlags("100")), "text"));
  EXPECT_EQ((Names{"Select all", "State"}), Values(Make(tagVariableFlags("1100")), "text"));
  EXPECT_EQ((Names{"Select all", "State"}), Values(Make(tagVariableFlags("10100")), "text"));
}

TEST_F(Selection, LeavesOutWhatCanNotBeTold) {
  device.Has("ST");
  device.Has("CACT");
  device.silent = "ST";
  EXPECT_EQ((Names{"Pump.CACT", "Pump.CACT", "Pump.CACT"}), Values(Make(), "var"));
}

TEST_F(Selection, EachVariableThatIsFoundIsReleasedOnce) {
  device.Has("ST");
  device.Has("CACT", {});
  device.Has("CTIM");
  device.silent = "CTIM";
  (void)Make();
  EXPECT_EQ(
      (Names{"find ST", "info ST", "release ST", "find TACT", "find CACT", "info CACT",
             "release CACT", "find CDIS", "find CACK", "find CTIM", "info CTIM", "release CTIM"}),
      device.calls);
}

TEST_F(Selection, NamesAreThoseThatTheDriverTells) {
  device.Has("ST");
  device.shownAs = "st <1>";
  EXPECT_EQ((Names(3, "Pump.st &lt;1&gt;")), Values(Make(), "var"));
}

TEST_F(Selection, FullNamesHave255UnitsAtMost) {
  device.Has("ST");
  device.shownAs = std::string(250, 'x');
  EXPECT_EQ((Names(3, "Pump." + std::string(250, 'x'))), Values(Make(), "var"));
  device.shownAs = std::string(251, 'x');
  EXPECT_EQ((Names(3, "Pump." + std::string(250, 'x'))), Values(Make(), "var"));
}

TEST_F(Selection, SpeaksTheLanguageOfTheSite) {
  ASSERT_TRUE(SetStringLanguage("es"));
  EXPECT_EQ((Names{"No hay variables que seleccionar"}), Values(Make(), "text"));
  HasAll();
  EXPECT_EQ((Names{"Seleccionar todo", "Estado", "Tiempo activo", "Activaciones", "Desactivaciones",
                   "Reconocimientos", "Tiempo activo"}),
            Values(Make(), "text"));
}

TEST_F(Selection, IsMadeAnewEachTimeAndByCopies) {
  HasAll();
  ZRSelectionXmlCreatorEventsVariables creator(&device, &metrics);
  XmlDocument document;
  EXPECT_TRUE(creator.CreateSelection(document, kEach));
  ZRSelectionXmlCreatorEventsVariables copy(creator);
  EXPECT_TRUE(copy.CreateSelection(document, {}));
  copy = creator;
  EXPECT_TRUE(copy.CreateSelection(document, kEach));
  ZRString code;
  document.CreateXmlCode(code, true);
  EXPECT_EQ(Golden("selection-all.xml"), Str(code));
}

TEST_F(Selection, TellsOfADriverWithoutAnIdToo) {
  ZRDriver plain(L"meter", L"Meter");
  ZRSelectionXmlCreatorEventsVariables creator(&plain, nullptr);
  XmlDocument document;
  EXPECT_TRUE(creator.CreateSelection(document, kEach));
  EXPECT_EQ("00000000-0000-0000-0000-000000000000", Narrow(document.Root()->Value(L"id", L"")));
  EXPECT_EQ("Meter", Narrow(document.Root()->Value(L"device", L"")));
}

}  // namespace
