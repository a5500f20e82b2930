#include "host/remote/zrwebrequest.h"

#include <microhttpd.h>

#include "host/remote/zrquerytext.h"

ZRString ZRWebRequest::Parameter(std::string_view name) const {
  const char* value = nullptr;
  std::size_t size = 0;
  const auto found = MHD_lookup_connection_value_n(connection, MHD_GET_ARGUMENT_KIND, name.data(),
                                                   name.size(), &value, &size);
  return found == MHD_YES && value != nullptr ? UndoPercents({value, size}) : ZRString();
}
