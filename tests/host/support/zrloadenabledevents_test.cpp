#include "host/support/zrloadenabledevents.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "host/tools/zrtext.h"

namespace {

namespace fs = std::filesystem;

class EnabledEvents : public testing::Test {
 protected:
  EnabledEvents() {
    std::string pattern = (fs::temp_directory_path() / "zreventsXXXXXX").string();
    folder = ::mkdtemp(pattern.data());
  }
  ~EnabledEvents() override { fs::remove_all(folder); }

  // What is left of a document; "" if it isn't loaded.
  std::string Loaded(const std::string& xml) {
    std::ofstream(folder / "site.xeve") << xml;
    ZRString code;
    if (ZRLoadEnabledEvents::Load(Path("site.xeve").Text(), document, &refusal))
      document.CreateXmlCode(code, false);
    return code.Text();
  }
  [[nodiscard]] ZRWString Path(const char* name) const {
    return Utf8ToUtf16((folder / name).string());
  }

  fs::path folder;
  XmlDocument document;
  XmlDocument::tagRefusal refusal;
};

TEST_F(EnabledEvents, AreKeptUnlessTheyAreDisabled) {
  EXPECT_EQ(
      "<main><events>"
      "<event><id>1</id></event>"
      "<event><id>3</id><enabled>T</enabled></event>"
      "<event><id>4</id><enabled></enabled></event>"
      "<event><id>5</id><enabled>f</enabled></event>"
      "</events></main>",
      Loaded("<main><events>"
             "<event><id>1</id></event>"
             "<event><id>2</id><enabled>F</enabled></event>"
             "<event><id>3</id><enabled>T</enabled></event>"
             "<event><id>4</id><enabled></enabled></event>"
             "<event><id>5</id><enabled>f</enabled></event>"
             "<event><id>6</id><enabled>F</enabled></event>"
             "</events></main>"));
}

TEST_F(EnabledEvents, GroupsAreTreatedAlike) {
  EXPECT_EQ("<main><eventsGroups><eventsGroup><id>2</id></eventsGroup></eventsGroups></main>",
            Loaded("<main><eventsGroups>"
                   "<eventsGroup><enabled>F</enabled><id>1</id></eventsGroup>"
                   "<eventsGroup><id>2</id></eventsGroup>"
                   "</eventsGroups></main>"));
}

TEST_F(EnabledEvents, OtherElementsStayWhateverTheyHold) {
  const std::string xml =
      "<main><screens><screen><enabled>F</enabled></screen></screens><enabled>F</enabled>"
      "<events><event><action><enabled>F</enabled></action></event></events></main>";
  EXPECT_EQ(xml, Loaded(xml));
}

TEST_F(EnabledEvents, MissingFileGivesNoDocument) {
  document.Create(L"before");
  EXPECT_FALSE(ZRLoadEnabledEvents::Load(Path("none.xeve").Text(), document));
  EXPECT_FALSE(document.IsOK());
}

TEST_F(EnabledEvents, DamagedFileIsRefusedWithItsPlace) {
  EXPECT_EQ("", Loaded("<main>\n<events></main>"));
  EXPECT_FALSE(document.IsOK());
  EXPECT_EQ(2u, refusal.line);
  EXPECT_NE("", refusal.reason);
}

}  // namespace
