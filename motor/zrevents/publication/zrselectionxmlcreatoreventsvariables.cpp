#include "zrevents/publication/zrselectionxmlcreatoreventsvariables.h"

#include <array>
#include <utility>

#include "host/driversupport/zrdriver.h"
#include "host/tools/zrstringtable.h"
#include "host/tools/zrtext.h"
#include "host/xmlsupport/zrdrivercontrolcheck.h"
#include "host/xmlsupport/zrdrivercontrollabel.h"
#include "host/xmlsupport/zrdriverlayouthorizontal.h"
#include "host/xmlsupport/zrdriverlayoutvertical.h"

namespace {

// In the order of the form. Both times have the same label.
struct tagSVariable {
  const wchar_t* name;
  int label;
};
constexpr std::array<tagSVariable, 6> kVariables = {{
    {L"ST", zrstring::kVariableState},
    {L"TACT", zrstring::kVariableTime},
    {L"CACT", zrstring::kVariableActivations},
    {L"CDIS", zrstring::kVariableDeactivations},
    {L"CACK", zrstring::kVariableAcknowledgements},
    {L"CTIM", zrstring::kVariableTime},
}};

constexpr int kAsNeeded = ZRDriverLayout::kAsNeeded;
constexpr int kWhole = 100;
constexpr int kMost = 80;    // of a row, for its text
constexpr int kLittle = 20;  // of a row, for its box
constexpr int kMargin = 50;  // above and below the rows

ZRWString Text(int number) {
  ZRWString text;
  (void)StringId2String(number, text);
  return text;
}

void AddBox(ZRDriverLayout& layout, std::unique_ptr<ZRDriverControlCheck> box, int size) {
  layout.AddControl(box.release(), size, true);
}

}  // namespace

bool ZRSelectionXmlCreatorEventsVariables::CreateSelection(XmlDocument& document,
                                                           const tagVariableFlags& wanted) {
  flags = wanted;
  document.Create(L"varsSelection");
  std::array<wchar_t, kUuidTextLength + 1> id{};
  guidtow(driver->Uuid(), id.data(), id.size());
  document.Root()->SetValue(L"id", id.data());
  document.Root()->SetValue(L"device", driver->Name());

  tagLayout form = CreateGeneralLayout();
  ZRDriverLayoutHorizontal whole(metrics);
  whole.AddGap(kAsNeeded);
  if (form != nullptr) {
    whole.AddLayout(form.release(), kWhole);
  } else {
    AddNothingToSelect(whole);
  }
  whole.AddGap(kAsNeeded);
  whole.CreateXmlDocument(document.Root());
  return true;
}

void ZRSelectionXmlCreatorEventsVariables::AddNothingToSelect(ZRDriverLayout& layout) const {
  auto label = std::make_unique<ZRDriverControlLabel>();
  label->AddText(Text(zrstring::kNothingToSelect).Text());
  label->SetFont(L"Arial", 150.0, 1, 16, 16, 200, 60);  // NOLINT(readability-magic-numbers)
  layout.AddControl(label.release(), kWhole, true);
}

ZRSelectionXmlCreatorEventsVariables::tagLayout
ZRSelectionXmlCreatorEventsVariables::CreateGeneralLayout() {
  const std::vector<tagSRow> rows = FindRows();
  if (rows.empty()) return nullptr;

  auto column = std::make_unique<ZRDriverLayoutVertical>(metrics);
  const auto add = [&column](tagLayout row) {
    column->AddGap(kAsNeeded);
    column->AddLayout(row.release(), kAsNeeded);
  };
  column->AddGap(kMargin);
  const tagVariableFlags& together = ZRTessalyFlags::get().getFlags(ZRTessalyFlags::kTogether);
  if ((flags & together).any()) add(CreateSelectAll(rows));
  for (const tagSRow& row : rows)
    add(CreateRow(row));
  column->AddGap(kAsNeeded);
  column->AddGap(kMargin);

  auto form = std::make_unique<ZRDriverLayoutHorizontal>(metrics);
  form->AddGap(kAsNeeded);
  form->AddLayout(column.release(), kWhole);
  form->AddGap(kAsNeeded);
  return form;
}

std::vector<ZRSelectionXmlCreatorEventsVariables::tagSRow>
ZRSelectionXmlCreatorEventsVariables::FindRows() {
  std::vector<tagSRow> rows;
  for (const tagSVariable& variable : kVariables) {
    tagSRow row;
    row.label = variable.label;
    if (ReadVariable(variable.name, row.fullName)) rows.push_back(std::move(row));
  }
  return rows;
}

// The full name of a variable that the driver has and that is wanted; false for any other.
bool ZRSelectionXmlCreatorEventsVariables::ReadVariable(const wchar_t* name, ZRWString& fullName) {
  tagSVariableHandle handle;
  if (!driver->FindVariable(name, handle)) return false;
  tagSVariableInfo info;
  const bool isTold = driver->VariableInfo(handle, info, 0);
  driver->ReleaseVariable(handle, 0);
  if (!isTold || (flags & info.flags).none()) return false;
  // At most 255 units: the form's names have always had a buffer of 256.
  const ZRWString whole = FormatWide(L"%ls.%ls", driver->Name().Text(), info.name.Text());
  fullName = FormatWide(L"%.255ls", whole.Text());
  return true;
}

// The box with its text, and behind it the box alone.
ZRSelectionXmlCreatorEventsVariables::tagLayout ZRSelectionXmlCreatorEventsVariables::CreateRow(
    const tagSRow& row) const {
  auto plain = std::make_unique<ZRDriverControlCheck>();
  plain->AddVarCheck(row.fullName.Text());
  auto labelled = std::make_unique<ZRDriverControlCheck>();
  labelled->kind = ZRDriverControlCheck::kLabelled;
  labelled->AddVarCheck(row.fullName.Text());
  labelled->AddText(Text(row.label).Text());

  auto layout = std::make_unique<ZRDriverLayoutHorizontal>(metrics);
  AddBox(*layout, std::move(labelled), kMost);
  layout->AddGap(kAsNeeded);
  AddBox(*layout, std::move(plain), kLittle);
  return layout;
}

// One box for the variables of all rows.
ZRSelectionXmlCreatorEventsVariables::tagLayout
ZRSelectionXmlCreatorEventsVariables::CreateSelectAll(const std::vector<tagSRow>& rows) const {
  auto box = std::make_unique<ZRDriverControlCheck>();
  box->kind = ZRDriverControlCheck::kLabelled;
  box->AddText(Text(zrstring::kSelectAll).Text());
  for (const tagSRow& row : rows)
    box->AddVarCheck(row.fullName.Text());

  auto layout = std::make_unique<ZRDriverLayoutHorizontal>(metrics);
  layout->AddGap(kMost);
  layout->AddGap(kAsNeeded);
  AddBox(*layout, std::move(box), kLittle);
  return layout;
}
