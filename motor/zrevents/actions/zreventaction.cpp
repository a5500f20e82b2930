#include "zrevents/actions/zreventaction.h"

#include "host/tools/zrcoreexception.h"
#include "host/tools/zrtext.h"
#include "host/tools/zruuid.h"

ZREventAction::ZREventAction(ZREventDriver* owner) : parent(owner) {
  uuid drawn;
  NewGUID(&drawn);
  std::array<char, kUuidTextLength + 1> text{};
  guidtoc(drawn, text.data());
  id = text.data();
}

ZREventAction::~ZREventAction() = default;

ZREventDriver* ZREventAction::Parent() const {
  using Domain::CoreExceptionNS::CoreException;
  using Domain::CoreExceptionNS::ExceptionType;
  if (parent == nullptr) throw CoreException(ExceptionType::General);
  return parent;
}

bool ZREventAction::LoadXml(const XmlDocument::XmlNode* node) {
  const ZRWString given = node->Value(L"id", L"");
  if (!given.IsEmpty()) Utf16ToUtf8(id, given);
  return true;
}

bool ZREventAction::ProcessHttpServiceEventsActions(ZRBasicString<char>& xml) {
  xml += "<id>";
  xml += id;
  xml += "</id>";
  return true;
}
