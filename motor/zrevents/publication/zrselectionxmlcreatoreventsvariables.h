// The form in which a client selects variables of an event's device.
#pragma once

#include <bitset>
#include <memory>
#include <vector>

#include "host/driversupport/zrtessalyflags.h"
#include "host/tools/xmldocument.h"
#include "host/tools/zrbasicstring.h"
#include "host/xmlsupport/zrdriverlayout.h"
#include "zrevents/zreventsexport.h"

class ZRDriver;

// Describes a form of check boxes: of six fixed variables those that the driver has, and that
// match the wanted flags.
//
// Threads   one at a time.
// Owns      nothing: driver and metrics outlive it.
class ZREVENTS_API ZRSelectionXmlCreatorEventsVariables {
 public:
  ZRSelectionXmlCreatorEventsVariables(ZRDriver* ofDriver,
                                       const ZRDriverLayoutMetrics* sharedMetrics)
      : driver(ofDriver), metrics(sharedMetrics) {}
  ZRSelectionXmlCreatorEventsVariables(const ZRSelectionXmlCreatorEventsVariables&) = default;
  ZRSelectionXmlCreatorEventsVariables& operator=(const ZRSelectionXmlCreatorEventsVariables&) =
      default;
  virtual ~ZRSelectionXmlCreatorEventsVariables() = default;

  // Replaces the content of `document` by the form, or by a text if there is nothing to select.
  // Always true.
  bool CreateSelection(XmlDocument& document, const tagVariableFlags& wanted);

 private:
  using tagLayout = std::unique_ptr<ZRDriverLayout>;
  // A variable of the form.
  struct tagSRow {
    ZRWString fullName;
    int label = 0;  // number of a host string
  };

  // Null without a row.
  [[nodiscard]] tagLayout CreateGeneralLayout();
  [[nodiscard]] std::vector<tagSRow> FindRows();
  [[nodiscard]] bool ReadVariable(const wchar_t* name, ZRWString& fullName);
  [[nodiscard]] tagLayout CreateRow(const tagSRow& row) const;
  [[nodiscard]] tagLayout CreateSelectAll(const std::vector<tagSRow>& rows) const;
  void AddNothingToSelect(ZRDriverLayout& layout) const;

  ZRDriver* driver;
  tagVariableFlags flags;  // of the selection that is made
  const ZRDriverLayoutMetrics* metrics;
};
