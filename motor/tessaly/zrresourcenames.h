// The groups and drivers that rights are granted on.
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "host/user/zrrights.h"
#include "zrevents/zreventsystem.h"

// Their ids, which the engine asks with, and their names.
//
// Threads   one.
class ZRResourceNames {
 public:
  enum class tagAnswer { kFound, kUnknown, kSeveral };

  // Of all groups in the store, those that are always there included, and of all drivers that are
  // registered. After loading.
  explicit ZRResourceNames(const ZREventSystem& system);

  // The id of what has `text` as its id or, if nothing has, as its name; kAll for kAll. kSeveral
  // for a name that more than one has.
  [[nodiscard]] tagAnswer Find(const ZRResourceKind& kind, const std::string& text,
                               std::string& id) const;
  // The name of what has that id; false if nothing has.
  [[nodiscard]] bool NameOf(const ZRResourceKind& kind, std::string_view id,
                            std::string& name) const;

 private:
  using tagNames = std::vector<std::pair<std::string, std::string>>;  // of an id its name

  [[nodiscard]] const tagNames& Names(const ZRResourceKind& kind) const {
    return kind.isOfDrivers ? drivers : groups;
  }

  tagNames groups;
  tagNames drivers;
};

// "there is no group 'x'", in words for a person.
[[nodiscard]] std::string MissingText(const ZRResourceKind& kind, const std::string& text);
