// Layouts of a form.
#pragma once

#include <memory>
#include <vector>

#include "host/tools/xmldocument.h"
#include "host/xmlsupport/zrdrivercontrol.h"
#include "host/xmlsupport/zrdriverlayoutmetrics.h"

// A row or a column of controls, gaps and further layouts, which writes itself as XML.
//
// A size is a share of the room that is left, or kAsNeeded.
//
// Threads   one at a time.
// Owns      what was added to it.
class ZRDriverLayout {
 public:
  static constexpr int kAsNeeded = -16777216;  // 0xFF000000

  virtual ~ZRDriverLayout() = default;
  ZRDriverLayout(const ZRDriverLayout&) = delete;
  ZRDriverLayout& operator=(const ZRDriverLayout&) = delete;

  // Each is put behind what is there. Control and layout are taken over. A control that fills is
  // as large as its place.
  void AddControl(ZRDriverControl* control, int size, bool fills);
  void AddGap(int size);
  void AddLayout(ZRDriverLayout* layout, int size);

  // Appends an element of the layout, with all it holds, to `node`.
  void CreateXmlDocument(XmlDocument::XmlNode* node) const;

 protected:
  // `metrics` outlives the layout; null for none. `elementTag` is a literal.
  ZRDriverLayout(const ZRDriverLayoutMetrics* sharedMetrics, const wchar_t* elementTag)
      : metrics(sharedMetrics), tag(elementTag) {}

 private:
  // A control, a layout, or a gap, which is neither.
  struct tagSEntry {
    std::unique_ptr<ZRDriverControl> control;
    std::unique_ptr<ZRDriverLayout> layout;
    int size = 0;
    bool fills = false;
  };

  void WriteXml(XmlDocument::XmlNode& element) const;
  void WriteEntry(const tagSEntry& entry, XmlDocument::XmlNode& element) const;

  const ZRDriverLayoutMetrics* const metrics;
  const wchar_t* const tag;
  std::vector<tagSEntry> entries;
};
