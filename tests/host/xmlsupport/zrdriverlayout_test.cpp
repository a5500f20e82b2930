#include "host/xmlsupport/zrdriverlayout.h"

#include <gtest/gtest.h>

#include "host/tools/zrstringtable.h"
#include "host/xmlsupport/zrdrivercontrolcheck.h"
#include "host/xmlsupport/zrdrivercontrollabel.h"
#include "host/xmlsupport/zrdriverlayouthorizontal.h"
#include "host/xmlsupport/zrdriverlayoutvertical.h"
#include "support/text.h"

namespace {

constexpr ZRDriverLayoutMetrics kMetrics{5};

std::string Written(const ZRDriverLayout& layout) {
  XmlDocument document;
  document.Create(L"form");
  layout.CreateXmlDocument(document.Root());
  ZRString code;
  document.CreateXmlCode(code, false);
  return Str(code);
}

// A control that counts those that live.
class CCounted final : public ZRDriverControl {
 public:
  explicit CCounted(int& toCount) : living(toCount) { ++living; }
  ~CCounted() override { --living; }
  [[nodiscard]] const wchar_t* Tag() const override { return L"counted"; }
  void WriteXml(XmlDocument::XmlNode& element) const override { element.SetValue(L"x", L"1"); }

 private:
  int& living;
};

TEST(DriverLayout, WithoutContentIsAnEmptyElement) {
  EXPECT_EQ("<form><horizontal></horizontal></form>", Written(ZRDriverLayoutHorizontal(&kMetrics)));
  EXPECT_EQ("<form><vertical></vertical></form>", Written(ZRDriverLayoutVertical(&kMetrics)));
}

TEST(DriverLayout, GapAsLargeAsNeededHasALeastSize) {
  ZRDriverLayoutHorizontal layout(&kMetrics);
  layout.AddGap(ZRDriverLayout::kAsNeeded);
  layout.AddGap(50);
  layout.AddGap(0);
  EXPECT_EQ(
      "<form><horizontal><gap><size>-16777216</size><least>5</least></gap>"
      "<gap><size>50</size></gap><gap><size>0</size></gap></horizontal></form>",
      Written(layout));
}

TEST(DriverLayout, WithoutMetricsTellsNoLeastSize) {
  ZRDriverLayoutVertical layout(nullptr);
  layout.AddGap(ZRDriverLayout::kAsNeeded);
  EXPECT_EQ("<form><vertical><gap><size>-16777216</size></gap></vertical></form>", Written(layout));
}

TEST(DriverLayout, HoldsControlsGapsAndLayoutsInTheirOrder) {
  int living = 0;
  ZRDriverLayoutVertical layout(&kMetrics);
  layout.AddControl(std::make_unique<CCounted>(living).release(), 20, false);
  auto inner = std::make_unique<ZRDriverLayoutHorizontal>(&kMetrics);
  inner->AddControl(std::make_unique<CCounted>(living).release(), 30, true);
  layout.AddLayout(inner.release(), 100);
  layout.AddGap(1);
  EXPECT_EQ(
      "<form><vertical><counted><size>20</size><fill>F</fill><x>1</x></counted>"
      "<horizontal><size>100</size><counted><size>30</size><fill>T</fill><x>1</x></counted>"
      "</horizontal><gap><size>1</size></gap></vertical></form>",
      Written(layout));
}

TEST(DriverLayout, EndsWithWhatWasAddedToIt) {
  int living = 0;
  {
    ZRDriverLayoutVertical layout(&kMetrics);
    auto inner = std::make_unique<ZRDriverLayoutHorizontal>(&kMetrics);
    inner->AddControl(std::make_unique<CCounted>(living).release(), 1, true);
    layout.AddLayout(inner.release(), 1);
    layout.AddControl(std::make_unique<CCounted>(living).release(), 1, true);
    EXPECT_EQ(2, living);
  }
  EXPECT_EQ(0, living);
}

TEST(DriverLayout, BoxIsPlainUntilItIsMadeALabelledOne) {
  ZRDriverLayoutHorizontal layout(nullptr);
  layout.AddControl(std::make_unique<ZRDriverControlCheck>().release(), 1, true);
  auto box = std::make_unique<ZRDriverControlCheck>();
  box->kind = ZRDriverControlCheck::kLabelled;
  box->AddText(L"a & b");
  box->AddVarCheck(L"P.X");
  box->AddVarCheck(L"P.Y");
  layout.AddControl(box.release(), 2, true);
  EXPECT_EQ(
      "<form><horizontal><check><size>1</size><fill>T</fill><kind>0</kind></check>"
      "<check><size>2</size><fill>T</fill><kind>1</kind><text>a &amp; b</text><var>P.X</var>"
      "<var>P.Y</var></check></horizontal></form>",
      Written(layout));
}

TEST(DriverLayout, LabelTellsItsFontInAnyLanguage) {
  ASSERT_TRUE(SetStringLanguage("es"));
  ZRDriverLayoutHorizontal layout(nullptr);
  layout.AddControl(std::make_unique<ZRDriverControlLabel>().release(), 1, true);
  auto label = std::make_unique<ZRDriverControlLabel>();
  label->AddText(L"x");
  label->SetFont(L"Arial", 150.5, -1, 2, 3, 4294967295UL, 65535);
  layout.AddControl(label.release(), 1, true);
  EXPECT_EQ(
      "<form><horizontal><label><size>1</size><fill>T</fill><text></text></label>"
      "<label><size>1</size><fill>T</fill><text>x</text><font><face>Arial</face>"
      "<height>150.5</height><style>-1</style><horizontal>2</horizontal><vertical>3</vertical>"
      "<colour>4294967295</colour><set>65535</set></font></label></horizontal></form>",
      Written(layout));
  ASSERT_TRUE(SetStringLanguage("en"));
}

}  // namespace
