#include "zrevents/zrdriverpath.h"

#include <algorithm>

bool LeadsThrough(const ZRWString& path, const std::list<ZRWString>& drivers) {
  ZRWString::tagView rest = path.View();
  for (std::size_t point = rest.find(L'.'); point != ZRWString::tagView::npos;
       point = rest.find(L'.')) {
    const ZRWString driver(rest.substr(0, point));
    if (std::find(drivers.begin(), drivers.end(), driver) != drivers.end()) return true;
    rest.remove_prefix(point + 1);
  }
  return false;
}
